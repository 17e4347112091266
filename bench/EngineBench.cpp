// What an engine waits for: a question that runs on the GUI thread of an application, against bytes that
// another JVM just sends back over a socket; a whole menu, against a question that finds nothing; and 2000
// widgets as plain values, against as many bytes there and back.
#include "Compare.h"
#include "Jvm.h"

#include <cstdlib>
#include <initializer_list>
#include <iostream>
#include <string>

namespace {
class CEngine {
public:
    CEngine()
    {
        CJvm::startUnchecked(GX_BENCH_JAR);
        m_env = CJvm::env();
        m_calls = m_env->FindClass("EngineCalls");
        const std::string jars = GX_JAR ":" GX_BENCH_JAR;
        call(
            "start", "(Ljava/lang/String;Ljava/lang/String;Ljava/lang/String;)I",
            {m_env->NewStringUTF(GX_GXRUN), m_env->NewStringUTF(GX_MENU), m_env->NewStringUTF(jars.c_str())});
    }
    ~CEngine() { call("stop"); }
    void call(const char* method, const char* signature = "()I",
              std::initializer_list<jstring> arguments = {})
    {
        jvalue values[3] = {};
        for (size_t i = 0; i < arguments.size(); ++i)
            values[i].l = arguments.begin()[i];
        if (m_env->CallStaticIntMethodA(m_calls, m_env->GetStaticMethodID(m_calls, method, signature),
                                        values) == 1)
            return;
        std::cerr << method << ": " << takePendingException(m_env) << '\n';
        std::exit(1);
    }

private:
    JNIEnv* m_env;
    jclass m_calls;
};

void compareCalls(benchmark::State& state, const char* ours, const char* peer)
{
    static CEngine s_engine;
    compare(
        state, [=] { s_engine.call(ours); }, [=] { s_engine.call(peer); });
}

void questionOnTheGuiThread(benchmark::State& state)
{
    compareCalls(state, "askNothing", "callEcho");
}
BENCHMARK(questionOnTheGuiThread)->Iterations(500)->UseManualTime();

void menuOfTwentyItems(benchmark::State& state)
{
    compareCalls(state, "askMenu", "askNothing");
}
BENCHMARK(menuOfTwentyItems)->Iterations(500)->UseManualTime();

void treeOfTwoThousandWidgets(benchmark::State& state)
{
    compareCalls(state, "askTree", "callEchoForTree");
}
BENCHMARK(treeOfTwoThousandWidgets)->Iterations(60)->UseManualTime();
} // namespace
