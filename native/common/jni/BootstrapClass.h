/// The Java object through which native code loads classes of the engine by name, whatever class loader it
/// lives in.
#pragma once

#include "common/jni/jniobject.h"

#include <memory>

/// Failures are traced and answered by null; an exception that Java raised stays pending.
class CBootstrap : public CJniJObject {
public:
    /// Fetches the bootstrap object; invalid when there is none.
    /// @param className  a class to load at once, with slashes; null for none
    CBootstrap(JNIEnv* env, const char* className);
    CBootstrap(const CBootstrap&) = delete;

    /// @param className  with slashes. Needs a valid object.
    /// @return the class, deleted by the caller; null when it cannot be loaded
    CJniClass* loadClass(const char* className);

    /// Where the engine's bootstrap file lies is known on other platforms only: leaves `path` as it is.
    void getBootstrapFileLoc(char* path) const { static_cast<void>(path); }

private:
    jobject fetch();
};
