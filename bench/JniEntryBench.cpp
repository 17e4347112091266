// The frame of exported functions with tracing off. Aim: at most 1.5 times an empty native method, or 50 ns
// more.
#include "Compare.h"
#include "Jvm.h"

#include <cstdlib>

namespace {
jint JNICALL empty(JNIEnv*, jobject)
{
    return 0;
}

struct CCalls {
    CCalls()
    {
        CJvm::startUnchecked(GX_BENCH_JAR);
        env = CJvm::env();
        type = env->FindClass("JniCalls");
        JNINativeMethod method{const_cast<char*>("empty"), const_cast<char*>("()I"),
                               reinterpret_cast<void*>(&empty)};
        const jclass windowType = env->FindClass("com/talvern/test/gx/sys/graphical/NativeWindow");
        if (!type || env->RegisterNatives(type, &method, 1) != 0 || !windowType)
            fail();
        object = env->AllocObject(type);
        window = env->NewObject(windowType, env->GetMethodID(windowType, "<init>", "(J)V"), jlong{1});
        empties = env->GetStaticMethodID(type, "empties", "(LJniCalls;I)I");
        controlIds = env->GetStaticMethodID(type, "controlIds",
                                            "(Lcom/talvern/test/gx/sys/graphical/NativeWindow;I)I");
        if (!object || !window || !empties || !controlIds)
            fail();
    }
    [[noreturn]] void fail()
    {
        env->ExceptionDescribe();
        std::exit(1);
    }

    JNIEnv* env;
    jclass type;
    jobject object;
    jobject window;
    jmethodID empties;
    jmethodID controlIds;
};

/// A thousand calls each, so the microseconds reported are nanoseconds a call.
void exportedAgainstEmptyCall(benchmark::State& state)
{
    constexpr jint calls = 1000;
    static CCalls s_calls;
    JNIEnv* const env = s_calls.env;
    compare(
        state, [&] { env->CallStaticIntMethod(s_calls.type, s_calls.controlIds, s_calls.window, calls); },
        [&] { env->CallStaticIntMethod(s_calls.type, s_calls.empties, s_calls.object, calls); });
    state.counters["more_ns"] = state.counters["ours_us"] - state.counters["peer_us"];
}
BENCHMARK(exportedAgainstEmptyCall)->UseManualTime()->MinTime(2);
} // namespace
