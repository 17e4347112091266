#include "agent/JavaMachine.h"

#include "agent/AgentVariables.h"
#include "agent/GuestHooks.h"
#include "agent/Say.h"
#include "include/ClassPath.h"

#include <climits>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <string>
#include <unistd.h>
#include <vector>

namespace {
/// Where a Java directory keeps its JVM: now, and up to Java 8 in a JRE and in a JDK.
constexpr const char* places[] = {"/lib/server/libjvm.so", "/lib/amd64/server/libjvm.so",
                                  "/jre/lib/amd64/server/libjvm.so"};

/// Lists the JREs to use, with ":" between them. When it is set no other is taken.
constexpr const char* jreVariable = "TALVERN_GX_JRE";

std::string libjvmIn(const std::string& directory)
{
    for (const char* const place : places)
        if (auto path = directory + place; !directory.empty() && access(path.c_str(), R_OK) == 0)
            return path;
    return {};
}

/// Asks `use` for each part of a list with ":" between them until it answers something.
template <class Use> std::string firstIn(const char* list, Use&& use)
{
    while (list && *list) {
        const char* const end = strchrnul(list, ':');
        if (std::string answer = use(std::string(list, end)); !answer.empty())
            return answer;
        list = *end ? end + 1 : end;
    }
    return {};
}

/// The Java directory that a command belongs to: /usr/bin/java is a link to a link to <directory>/bin/java.
std::string javaDirectoryOf(const std::string& binaries)
{
    char real[PATH_MAX];
    if (!realpath((binaries + "/java").c_str(), real))
        return {};
    for (int level = 0; level < 2; ++level)
        if (char* const slash = std::strrchr(real, '/'))
            *slash = '\0';
    return real;
}

std::string findLibjvm()
{
    if (const char* const list = std::getenv(jreVariable))
        return firstIn(list, libjvmIn);
    const char* const home = std::getenv("JAVA_HOME");
    std::string found = home ? libjvmIn(home) : std::string();
    if (found.empty())
        found = firstIn(std::getenv("PATH"),
                        [](const std::string& part) { return libjvmIn(javaDirectoryOf(part)); });
    return found.empty() ? libjvmIn("/usr/lib/jvm/default-java") : found;
}

/// What the JVM itself has to say is lost: the program's output is not the place for it.
jint swallow(FILE*, const char*, va_list)
{
    return 0;
}

std::vector<std::string> options()
{
    const char* const list = std::getenv("CLASSPATH");
    const std::string further = withoutEmptyParts(list ? list : "");
    const std::string library = CAgentVariables::value(AgentVariable::library);
    std::string classPath = CAgentVariables::value(AgentVariable::jar);
    if (!further.empty())
        classPath += ":" + further;
    return {"-Djava.class.path=" + classPath,
            "-Djava.library.path=" + library.substr(0, library.rfind('/')),
            "-Djava.awt.headless=true",     // geometry classes are used, no windows
            "-Xrs",                         // signals that end a program stay the program's
            "-XX:-MaxFDLimit",              // the limit of open files is inherited by children
            "-XX:+DisableAttachMechanism",  // no thread and no socket in /tmp for debuggers
            "-XX:-UsePerfData",             // no file in /tmp
            "-XX:+DisplayVMOutputToStderr", // should it die, never on standard output
            "-XX:+UseSerialGC",             // no crowd of threads
            "-XX:TieredStopAtLevel=1",      // quick to start; requests wait for the toolkit, not for code
            "-Xmx128m",
            "-Xmn1m", // the program does not grow by garbage that waits to be collected
            "--enable-native-access=ALL-UNNAMED"}; // newer ones warn on standard error otherwise
}

JNIEnv* create(decltype(&JNI_CreateJavaVM) entry)
{
    auto texts = options();
    std::vector<JavaVMOption> table{{const_cast<char*>("vfprintf"), reinterpret_cast<void*>(&swallow)}};
    for (auto& text : texts)
        table.push_back({text.data(), nullptr});
    JavaVMInitArgs arguments{JNI_VERSION_1_8, static_cast<jint>(table.size()), table.data(), JNI_TRUE};
    JavaVM* vm = nullptr;
    void* env = nullptr;
    const CGuest guest;
    return entry(&vm, &env, &arguments) == JNI_OK ? static_cast<JNIEnv*>(env) : nullptr;
}

/// @return null when the process has no JVM
JNIEnv* attach(void* libjvm)
{
    const auto created =
        reinterpret_cast<decltype(&JNI_GetCreatedJavaVMs)>(dlsym(libjvm, "JNI_GetCreatedJavaVMs"));
    JavaVM* vm = nullptr;
    jsize count = 0;
    void* env = nullptr;
    if (!created || created(&vm, 1, &count) != JNI_OK || count == 0)
        return nullptr;
    return vm->AttachCurrentThreadAsDaemon(&env, nullptr) == JNI_OK ? static_cast<JNIEnv*>(env) : nullptr;
}

JNIEnv* createFrom(const std::string& path)
{
    void* const libjvm = dlopen(path.c_str(), RTLD_LAZY | RTLD_GLOBAL);
    const auto entry =
        libjvm ? reinterpret_cast<decltype(&JNI_CreateJavaVM)>(dlsym(libjvm, "JNI_CreateJavaVM")) : nullptr;
    JNIEnv* const env = entry ? create(entry) : nullptr;
    if (!env)
        say("the Java virtual machine of %s does not start: no agent in this program", path.c_str());
    return env;
}
} // namespace

std::string JavaMachine::textOf(JNIEnv* env, jstring text)
{
    const char* const characters = text ? env->GetStringUTFChars(text, nullptr) : nullptr;
    if (!characters)
        return {};
    std::string copy = characters;
    env->ReleaseStringUTFChars(text, characters);
    return copy;
}

JNIEnv* JavaMachine::bring(bool& isOwn)
{
    void* const loaded = dlopen("libjvm.so", RTLD_LAZY | RTLD_NOLOAD);
    if (JNIEnv* const env = loaded ? attach(loaded) : nullptr) {
        isOwn = false;
        return env;
    }
    isOwn = true;
    const std::string path = findLibjvm();
    if (!path.empty())
        return createFrom(path);
    if (const char* const list = std::getenv(jreVariable))
        say("no Java virtual machine in %s (%s): no agent in this program", jreVariable, list);
    else
        say("no Java virtual machine in JAVA_HOME, PATH or /usr/lib/jvm/default-java: no agent in this program");
    return nullptr;
}

std::string JavaMachine::takeException(JNIEnv* env)
{
    const jthrowable pending = env->ExceptionOccurred();
    env->ExceptionClear();
    if (!pending || env->PushLocalFrame(8) != 0)
        return "unknown failure";
    const jmethodID toString =
        env->GetMethodID(env->GetObjectClass(pending), "toString", "()Ljava/lang/String;");
    const auto made = static_cast<jstring>(env->CallObjectMethod(pending, toString));
    std::string text = env->ExceptionCheck() ? "unknown failure" : textOf(env, made);
    env->ExceptionClear();
    env->PopLocalFrame(nullptr);
    env->DeleteLocalRef(pending);
    return text;
}
