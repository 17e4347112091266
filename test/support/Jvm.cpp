#include "Jvm.h"

#include <cstdarg>
#include <cstdio>
#include <dlfcn.h>
#include <mutex>
#include <stdexcept>
#include <vector>

namespace {
std::mutex s_mutex;
bool s_checked = true;
std::string s_classPath = GX_JAR;
std::string s_output; // of the JVM itself, since the last takeComplaints()

/// Takes what the JVM prints; -Xcheck:jni prints nowhere else. Called by the JVM's threads.
jint take(FILE*, const char* format, va_list values)
{
    char text[4096];
    const int length = std::vsnprintf(text, sizeof text, format, values);
    const std::lock_guard lock(s_mutex);
    s_output += text;
    return length;
}

/// Loaded at run time: test programs that want no JVM do not carry one.
decltype(&JNI_CreateJavaVM) entryOfLibjvm()
{
    void* const libjvm = dlopen(GX_LIBJVM, RTLD_NOW | RTLD_GLOBAL);
    void* const entry = libjvm ? dlsym(libjvm, "JNI_CreateJavaVM") : nullptr;
    if (!entry)
        throw std::runtime_error(std::string("no Java virtual machine: ") + dlerror());
    return reinterpret_cast<decltype(&JNI_CreateJavaVM)>(entry);
}

JavaVM* createJvm()
{
    std::vector<std::string> texts{"-Djava.class.path=" + s_classPath,
                                   "-Dcom.talvern.test.gx.library=" GX_LIBRARY, "-Djava.awt.headless=true",
                                   "-Xmx256m"};
    if (s_checked)
        texts.emplace_back("-Xcheck:jni");
    std::vector<JavaVMOption> options{{const_cast<char*>("vfprintf"), reinterpret_cast<void*>(&take)}};
    for (auto& text : texts)
        options.push_back({text.data(), nullptr});
    JavaVMInitArgs arguments{JNI_VERSION_10, static_cast<jint>(options.size()), options.data(), JNI_FALSE};
    JavaVM* vm = nullptr;
    void* env = nullptr;
    if (entryOfLibjvm()(&vm, &env, &arguments) != JNI_OK)
        throw std::runtime_error("the Java virtual machine does not start");
    return vm;
}

JavaVM* vm()
{
    static JavaVM* const s_vm = createJvm();
    return s_vm;
}

/// Detaches the thread from the JVM when it ends.
struct CAttached {
    ~CAttached()
    {
        if (attached)
            vm()->DetachCurrentThread();
    }
    bool attached = false;
};
} // namespace

JNIEnv* CJvm::env()
{
    thread_local CAttached t_attached;
    void* env = nullptr;
    if (vm()->GetEnv(&env, JNI_VERSION_10) == JNI_EDETACHED) {
        if (vm()->AttachCurrentThread(&env, nullptr) != JNI_OK)
            throw std::runtime_error("the Java virtual machine takes no further thread");
        t_attached.attached = true;
    }
    return static_cast<JNIEnv*>(env);
}

void CJvm::startUnchecked(const std::string& jar)
{
    s_classPath += ":" + jar;
    s_checked = false;
    vm();
}

std::string CJvm::takeComplaints()
{
    const std::lock_guard lock(s_mutex);
    std::string output;
    output.swap(s_output);
    for (const char* mark : {"WARNING in native method", "WARNING: JNI local refs", "FATAL ERROR"})
        if (output.find(mark) != std::string::npos)
            return output.substr(0, 4000);
    return {};
}

namespace {
std::string takeUtf(JNIEnv* env, jstring text)
{
    const char* const characters = text ? env->GetStringUTFChars(text, nullptr) : nullptr;
    std::string copy = characters ? characters : "";
    if (characters)
        env->ReleaseStringUTFChars(text, characters);
    return copy;
}
} // namespace

std::string takePendingException(JNIEnv* env)
{
    const jthrowable pending = env->ExceptionOccurred();
    if (!pending)
        return {};
    env->ExceptionClear();
    env->PushLocalFrame(8);
    const jclass throwable = env->FindClass("java/lang/Throwable");
    const jmethodID toString = env->GetMethodID(throwable, "toString", "()Ljava/lang/String;");
    const auto made = static_cast<jstring>(env->CallObjectMethod(pending, toString));
    auto text = env->ExceptionCheck() ? std::string("no text") : takeUtf(env, made);
    env->ExceptionClear();
    env->PopLocalFrame(nullptr);
    env->DeleteLocalRef(pending);
    return text;
}

jstring javaString(JNIEnv* env, const std::u16string& text)
{
    return env->NewString(reinterpret_cast<const jchar*>(text.data()), static_cast<jsize>(text.size()));
}

// The JVM handles SIGSEGV on purpose, and the leak checker does not survive walking through its memory.
extern "C" [[gnu::visibility("default")]] const char* __asan_default_options()
{
    return "handle_segv=0:detect_leaks=0";
}
