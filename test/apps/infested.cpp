// An application that becomes one under test. Everything it is to do comes from the environment, so that it
// does the same when it is started anew without arguments:
//   INFESTED_LIBRARY  path of the library; INFESTED_DOMAIN  name of the test domain
//   INFESTED_JVM      "create" for a JVM of its own beforehand, "load" for the JVM library only
//   INFESTED_STACK    KiB of the stack of its GUI thread, which is another than the first then
//   INFESTED_POSTER   a Java class: start(threadId, spyPort) runs on the GUI thread, which then delivers
//                     requests until report() answers a text
#include <jni.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <poll.h>
#include <pthread.h>
#include <string>
#include <thread>

namespace {
std::string setting(const char* name)
{
    const char* const value = std::getenv(name);
    return value ? value : "";
}

template <class Function> Function* entry(void* library, const char* name)
{
    return reinterpret_cast<Function*>(dlsym(library, name));
}

/// The answer of a call into Java; what it threw is shown.
template <class Answer> Answer shown(JNIEnv* env, Answer answer)
{
    if (env->ExceptionCheck())
        env->ExceptionDescribe();
    return answer;
}

void createJvm(void* libjvm)
{
    std::string texts[] = {"-Djava.class.path=" + setting("CLASSPATH"), "-Xcheck:jni",
                           "-Dcom.talvern.test.gx.library=" + setting("INFESTED_LIBRARY")};
    JavaVMOption options[] = {
        {texts[0].data(), nullptr}, {texts[1].data(), nullptr}, {texts[2].data(), nullptr}};
    JavaVMInitArgs arguments{JNI_VERSION_10, 3, options, JNI_FALSE};
    JavaVM* vm;
    void* env;
    if (entry<decltype(JNI_CreateJavaVM)>(libjvm, "JNI_CreateJavaVM")(&vm, &env, &arguments) != JNI_OK)
        std::exit(2);
    vm->DetachCurrentThread();
}

/// Of the calling thread; null when it is not attached to a JVM.
JNIEnv* currentEnv(jsize& jvms)
{
    JavaVM* vm = nullptr;
    void* env = nullptr;
    jvms = 0;
    void* const libjvm = dlopen("libjvm.so", RTLD_LAZY | RTLD_NOLOAD);
    if (const auto created = entry<decltype(JNI_GetCreatedJavaVMs)>(libjvm, "JNI_GetCreatedJavaVMs");
        libjvm && created)
        created(&vm, 1, &jvms);
    if (vm)
        vm->GetEnv(&env, JNI_VERSION_10);
    return static_cast<JNIEnv*>(env);
}

std::string takePending(JNIEnv* env)
{
    const jthrowable thrown = env ? env->ExceptionOccurred() : nullptr;
    if (!thrown)
        return "nothing";
    env->ExceptionClear();
    const jmethodID toString =
        env->GetMethodID(env->GetObjectClass(thrown), "toString", "()Ljava/lang/String;");
    return env->GetStringUTFChars(static_cast<jstring>(shown(env, env->CallObjectMethod(thrown, toString))),
                                  nullptr);
}

/// The GUI thread's main loop: woken by the descriptors alone.
void deliverUntilReported(void* library, JNIEnv* env, void* port)
{
    const auto deliver = entry<int()>(library, "gxDeliverRequests");
    const jclass poster = env->FindClass(setting("INFESTED_POSTER").c_str());
    const jmethodID start = env->GetStaticMethodID(poster, "start", "(JJ)V");
    env->CallStaticVoidMethod(poster, start, static_cast<jlong>(pthread_self()),
                              reinterpret_cast<jlong>(port));
    shown(env, true);
    const jmethodID report = env->GetStaticMethodID(poster, "report", "()Ljava/lang/String;");
    pollfd watched[2]{};
    int descriptors[2];
    const int count = entry<int(int*, int)>(library, "gxRequestDescriptors")(descriptors, 2);
    for (int i = 0; i < count; ++i)
        watched[i] = {descriptors[i], POLLIN, 0};
    for (;;) {
        const bool woken = poll(watched, static_cast<nfds_t>(count), 10000) > 0;
        if (woken)
            deliver();
        const auto text = static_cast<jstring>(shown(env, env->CallStaticObjectMethod(poster, report)));
        if (text || !woken) {
            std::printf("report %s\n", text ? env->GetStringUTFChars(text, nullptr) : "late");
            return;
        }
    }
}

/// The application's GUI thread; @return its exit status
int run()
{
    const std::string jvm = setting("INFESTED_JVM");
    void* const libjvm = jvm.empty() ? nullptr : dlopen(GX_LIBJVM, RTLD_LAZY);
    if (jvm == "create")
        createJvm(libjvm);
    void* const library = dlopen(setting("INFESTED_LIBRARY").c_str(), RTLD_NOW);
    if (!library) {
        std::printf("no library: %s\n", dlerror());
        return 1;
    }
    static const std::string domain = setting("INFESTED_DOMAIN");
    const auto infest = entry<void*(const char*)>(library, "infestCurrentThread");
    void* const port = infest(domain.c_str());
    jsize jvms;
    JNIEnv* const env = currentEnv(jvms);
    const std::string pending = takePending(env);
    void* elsewhere = port;
    std::thread([&] { elsewhere = infest(domain.c_str()); }).join();
    std::printf("port %d same %d elsewhere %d jvms %d attached %d pending %s\n", port != nullptr,
                infest(domain.c_str()) == port, elsewhere != nullptr, jvms, env != nullptr, pending.c_str());
    if (env && !setting("INFESTED_POSTER").empty())
        deliverUntilReported(library, env, port);
    JavaVM* vm;
    if (env && env->GetJavaVM(&vm) == JNI_OK)
        vm->DestroyJavaVM(); // at exit -Xcheck:jni takes the end of its own tables for somebody else's doing
    std::printf("end\n");
    return 0;
}

int runOnStack(size_t bytes)
{
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, bytes);
    int status = 1;
    pthread_t thread;
    const auto entry = [](void* result) -> void* {
        *static_cast<int*>(result) = run();
        return nullptr;
    };
    if (pthread_create(&thread, &attributes, entry, &status) == 0)
        pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
    return status;
}
} // namespace

int main(int argc, char**)
{
    setvbuf(stdout, nullptr, _IOLBF, 0);
    std::printf("start %d\n", argc - 1);
    const std::string stack = setting("INFESTED_STACK");
    return stack.empty() ? run() : runOnStack(std::stoul(stack) * 1024);
}
