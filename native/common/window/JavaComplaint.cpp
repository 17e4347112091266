// The native methods of com.talvern.test.gx.engine.Complaint.
#include "com_talvern_test_gx_engine_Complaint.h"

#include "CTracer.h"
#include "CodeSet.h"
#include "GxDebug.h"
#include "JniDataTypes.h"
#include "JniEntry.h"
#include "ServerComplaint.h"

namespace {
constinit GxDebug EngineNative("Engine");
} // namespace

JNIEXPORT void JNICALL Java_com_talvern_test_gx_engine_Complaint_trace(JNIEnv* env, jclass, jbyteArray text)
{
    jniEntry(env, __func__, [&] {
        if (!text)
            return;
        std::string utf8(static_cast<size_t>(env->GetArrayLength(text)), '\0');
        env->GetByteArrayRegion(text, 0, static_cast<jsize>(utf8.size()),
                                reinterpret_cast<jbyte*>(utf8.data()));
        CTracer::traceFailure(EngineNative, inLocale(utf8));
    });
}

JNIEXPORT jstring JNICALL Java_com_talvern_test_gx_engine_Complaint_aboutServer(JNIEnv* env, jclass)
{
    return jniEntry(env, __func__,
                    [&]() -> jstring { return CJString(env, ServerComplaint::text().c_str()); });
}
