#include "unix/process/ProcessInformation.h"

#include "common/jni/JniDataTypes.h"

#include <unistd.h>

CProcessInformation::CProcessInformation(JNIEnv* env)
    : CJniJObject(env, "com/talvern/test/gx/sys/ProcessInformation", true)
{
}

void CProcessInformation::setCreationTime(int low, int high)
{
    set("creationTimeLow", low);
    set("creationTimeHigh", high);
}

void CProcessInformation::setErrorMessage(const char* text)
{
    set("errorMessage", CJString(env(), text), "java/lang/String");
}

std::string CProcessInformation::getErrorMessage() const
{
    char text[1024] = {};
    getString("errorMessage", text, sizeof text - 1);
    return text;
}

CProcess::CProcess(JNIEnv* env) : CJniJObject(env, "com/talvern/test/gx/sys/OSProcess", true)
{
    set("processId", static_cast<int>(getpid()));
}
