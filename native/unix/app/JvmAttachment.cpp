// How a spy port gets its JVM.
#include "common/trace/CTracer.h"
#include "include/ClassPath.h"
#include "include/ThreadStack.h"
#include "unix/app/ExitCondition.h"
#include "unix/app/LibraryPath.h"
#include "unix/app/SpyPort.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <sstream>
#include <string>
#include <unistd.h>
#include <utility>
#include <vector>

namespace {
constexpr size_t PathSize = 4096;
constexpr jsize MostJvms = 10;
constexpr jint WantedVersion = 0x10002;

/// Where a JRE keeps its library, the likeliest place first.
constexpr const char* Places[] = {"/bin/classic/libjvm.so", "/lib/i386/client/libjvm.so",
                                  "/lib/i386/libjvm.so", "/lib/i386/classic/libjvm.so"};

/// @param list  paths with ":" between them
/// @return the first that exists; empty when none does
std::string getFirstAccessibleFile(const char* list)
{
    std::istringstream paths(list);
    for (std::string path; std::getline(paths, path, ':');)
        if (access(path.c_str(), F_OK) == 0)
            return path;
    return {};
}

std::string jreDirectory()
{
    const char* const list = std::getenv("TALVERN_GX_JRE");
    return list ? getFirstAccessibleFile(list) : std::string();
}

void* openTraced(const char* directory, const char* place)
{
    std::array<char, PathSize> path;
    std::snprintf(path.data(), path.size(), "%s%s", directory, place);
    CTracer::debugTrace("Loading JVM from %s", path.data());
    return dlopen(path.data(), RTLD_LAZY);
}

template <class Function> Function* entryOf(void* library, const char* name)
{
    return reinterpret_cast<Function*>(dlsym(library, name));
}

std::vector<std::string> jvmOptions()
{
    const std::string directory = libraryDirectory();
    const char* const classPath = std::getenv("CLASSPATH");
    const std::string places = withoutEmptyParts(classPath ? classPath : "");
    const std::pair<const char*, const char*> given[] = {
        {"-Djava.compiler=NONE", ""},
        {"-Djava.library.path=", directory.empty() ? nullptr : directory.c_str()},
        {"-Djava.class.path=", places.empty() ? nullptr : places.c_str()}};
    std::vector<std::string> options;
    for (const auto& [name, value] : given)
        if (value)
            options.push_back(std::string(name) + value);
    return options;
}

jint create(decltype(JNI_CreateJavaVM)* entry, JavaVM** vm, JNIEnv** env)
{
    std::vector<std::string> texts = jvmOptions();
    std::vector<JavaVMOption> options;
    options.reserve(texts.size());
    for (std::string& text : texts)
        options.push_back({text.data(), nullptr});
    JavaVMInitArgs arguments{WantedVersion, static_cast<jint>(options.size()), options.data(), JNI_TRUE};
    return entry(vm, reinterpret_cast<void**>(env), &arguments);
}
} // namespace

void* CSpyPort::loadJVM(const char* jreDirectory) const
{
    CTracer::debugTrace("Loading JVM from default library path");
    if (void* const loaded = dlopen("libjvm.so", RTLD_LAZY | RTLD_NOLOAD)) {
        CTracer::debugTrace("Got handle to libjvm");
        return loaded;
    }
    CTracer::debugTrace("Did't get handle to libjvm");
    if (!jreDirectory || *jreDirectory == 0)
        return nullptr;
    for (const char* const place : Places)
        if (void* const library = openTraced(jreDirectory, place))
            return library;
    return nullptr;
}

void* CSpyPort::findJVM() const
{
    void* const library = loadJVM(jreDirectory().c_str());
    if (!library)
        CTracer::debugTrace("Could not load libjvm.so");
    return library;
}

bool CSpyPort::attachToJVM()
{
    if (!m_libjvm && !(m_libjvm = findJVM()))
        return false;
    CExitCondition::watch();
    const auto createdVMs = entryOf<decltype(JNI_GetCreatedJavaVMs)>(m_libjvm, "JNI_GetCreatedJavaVMs");
    if (!createdVMs) {
        CTracer::debugTrace("Could not get JNI_GetCreatedJavaVMs in libjvm.so");
        return false;
    }
    JavaVM* running[MostJvms];
    jsize count = 0;
    if (createdVMs(running, MostJvms, &count) != JNI_OK)
        return false;
    CExitCondition::isJVMok = true;
    return count > 0 ? attachToFirst(running[0]) : createJVM();
}

bool CSpyPort::attachToFirst(JavaVM* vm)
{
    void* env = nullptr;
    if (vm->AttachCurrentThread(&env, nullptr) != JNI_OK) {
        CTracer::debugTrace("Attach failed!");
        return false;
    }
    m_vm = vm;
    m_env = static_cast<JNIEnv*>(env);
    CTracer::debugTrace("Attached to current JVM!");
    return true;
}

bool CSpyPort::createJVM()
{
    if (const size_t stack = stackOfThisThread(); stack < LeastStackForJava) {
        CTracer::debugTrace("The thread has a stack of %zu KiB, a JVM needs %zu", stack / 1024,
                            LeastStackForJava / 1024);
        return false;
    }
    const auto entry = entryOf<decltype(JNI_CreateJavaVM)>(m_libjvm, "JNI_CreateJavaVM");
    if (!entry) {
        CTracer::debugTrace("CreateJVM entry point not found in libjvm.so");
        return false;
    }
    if (create(entry, &m_vm, &m_env) != JNI_OK) {
        CTracer::debugTrace("JNI_CreateJavaVM failed!");
        m_vm = nullptr;
        m_env = nullptr;
        return false;
    }
    CTracer::debugTrace("JNI_CreateJavaVM called ...");
    return true;
}
