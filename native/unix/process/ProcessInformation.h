/// The Java objects that stand for processes, as native code fills and reads them.
#pragma once

#include "common/jni/jniobject.h"

#include <string>

/// A com.talvern.test.gx.sys.ProcessInformation. Lives like every wrapper of a Java object on the stack of
/// one call. Around a null object the setters do nothing and the getters answer 0, false or "".
class CProcessInformation : public CJniJObject {
public:
    explicit CProcessInformation(JNIEnv* env); ///< a new Java object
    CProcessInformation(JNIEnv* env, jobject object) : CJniJObject(env, object, nullptr) {}

    void setProcessId(int id) { set("processId", id); }
    int getProcessId() const { return getInt("processId"); }
    /// Always 0, 0 here: other platforms tell processes with the same id apart by it.
    void setCreationTime(int low, int high);
    int getCreationTimeLow() const { return getInt("creationTimeLow"); }
    int getCreationTimeHigh() const { return getInt("creationTimeHigh"); }
    void setExitCode(int code) { set("exitCode", code); }
    int getExitCode() const { return getInt("exitCode"); }
    /// @param text  in the code set of the locale; empty clears the message
    void setErrorMessage(const char* text);
    std::string getErrorMessage() const;
    void setNoProcess(bool noProcess) { set("noProcess", noProcess); }
    bool getNoProcess() const { return getBoolean("noProcess"); }
};

/// A new com.talvern.test.gx.sys.OSProcess that stands for this process.
class CProcess : public CJniJObject {
public:
    explicit CProcess(JNIEnv* env);
};
