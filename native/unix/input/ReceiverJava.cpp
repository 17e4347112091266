// Waiting for who receives what was played, for an engine that plays at a pace that programs can follow.
#include "JniEntry.h"
#include "KeyReceiver.h"
#include "com_talvern_test_gx_engine_UserInput.h"

#include <chrono>
#include <thread>

namespace {
/// GTK 3 reads events at once and looks at motions, and at what comes behind them, when its next frame
/// begins.
constexpr auto frame = std::chrono::milliseconds(20);
} // namespace

extern "C" JNIEXPORT void JNICALL Java_com_talvern_test_gx_engine_UserInput_awaitClickTaken(JNIEnv* env,
                                                                                            jclass)
{
    jniEntry(env, __func__, [] {
        CKeyReceiver receiver(nullptr);
        receiver.aimAtFrameUnderPointer();
        receiver.awaitRead();
        receiver.aimUnderPointer();
        receiver.awaitRead();
        std::this_thread::sleep_for(frame);
    });
}

extern "C" JNIEXPORT void JNICALL Java_com_talvern_test_gx_engine_UserInput_awaitKeysTaken(JNIEnv* env,
                                                                                           jclass)
{
    jniEntry(env, __func__, [] {
        CKeyReceiver receiver(nullptr);
        receiver.aim();
        receiver.awaitRead();
    });
}
