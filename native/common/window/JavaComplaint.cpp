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
