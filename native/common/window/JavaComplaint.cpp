// The native methods of com.talvern.test.gx.engine.Complaint.
#include "com_talvern_test_gx_engine_Complaint.h"

#include "common/jni/JniDataTypes.h"
#include "common/jni/JniEntry.h"
#include "common/text/CodeSet.h"
#include "common/trace/CTracer.h"
#include "common/trace/GxDebug.h"
#include "unix/window/ServerComplaint.h"

namespace {
constinit GxDebug EngineNative("Engine");
} // namespace

GX_JNI(void, Java_com_talvern_test_gx_engine_Complaint_trace, jclass, jbyteArray text)
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

GX_JNI_ANSWER(jstring, Java_com_talvern_test_gx_engine_Complaint_aboutServer,
              CJString(env, ServerComplaint::text().c_str()), jclass)
