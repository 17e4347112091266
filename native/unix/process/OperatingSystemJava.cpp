// The native methods of com.talvern.test.gx.sys.OperatingSystem and OSProcess that mean something here.
#include "com_talvern_test_gx_sys_OSProcess.h"
#include "com_talvern_test_gx_sys_OperatingSystem.h"

#include "Browsers.h"
#include "CRegistryInformation.h"
#include "CTracer.h"
#include "CodeSet.h"
#include "Environment.h"
#include "ErrorString.h"
#include "FileTransfer.h"
#include "GxGlobals.h"
#include "GxInstallOptions.h"
#include "JniDataTypes.h"
#include "JniEntry.h"
#include "OperatingSystem.h"
#include "ProcessInformation.h"
#include "ProcessStart.h"

#include <pthread.h>
#include <sstream>
#include <string>

namespace {
jstring toJava(JNIEnv* env, const char* text)
{
    return text ? static_cast<jstring>(CJString(env, text)) : nullptr;
}

jstring toJava(JNIEnv* env, const std::optional<std::string>& text)
{
    return text ? toJava(env, text->c_str()) : nullptr;
}

/// Stores how a child ended. @return the answer of the two waits
jint store(CProcessInformation& process, const CProcessEnd& end)
{
    switch (end.kind) {
    case CProcessEnd::noChild:
        process.setNoProcess(true);
        return 0;
    case CProcessEnd::exited:
        process.setExitCode(end.code);
        break;
    case CProcessEnd::killed:
        // Engines know the text of an error with the signal's number, not the signal's name.
        process.setErrorMessage(CErrorString(end.code).text());
        break;
    case CProcessEnd::expired:
        break;
    }
    return 1;
}

jstring variable(JNIEnv* env, const char* function, jstring name)
{
    return jniEntry(env, function,
                    [&] { return toJava(env, CEnvironment::get(CJString(env, name).ansiString())); });
}

using Directory = bool (*)(char*, unsigned) noexcept;

jstring directory(JNIEnv* env, const char* function, Directory getter)
{
    return jniEntry(env, function, [&] {
        char path[CRegistryInformation::bufferSize];
        return toJava(env, getter(path, sizeof path) ? path : nullptr);
    });
}

/// What the environment says, or, once it names no existing path any more, what it said before: the look-up
/// cuts the list.
bool installDirectory(char* path, unsigned size) noexcept
{
    if (CRegistryInformation::getMarloInstall(path, size))
        return true;
    const bool isSet = CEnvironment::get("QUESSA_TALVERN_VTX_INSTALL_DIR") ||
                       CEnvironment::get("TALVERN_GX_INSTALL_DIRECTORY");
    const char* known = isSet ? GxInstallOptions::GetInstallDir() : nullptr;
    return known && snprintf(path, size, "%s", known) < static_cast<int>(size);
}

/// Whether the text has a Java form.
bool isInCodeSet(const std::string& text)
{
    const CEnvironmentLocale locale;
    std::string converted;
    return convertText(nativeUtf16, locale.codeSet(), text, converted) == Conversion::complete;
}

/// A path that is no text in the code set of the locale would take the others with it: it is left out.
jstring browsers(JNIEnv* env, const char* directory)
{
    std::istringstream all(getAllBrowsers(directory));
    std::string found;
    for (std::string path; std::getline(all, path);)
        if (isInCodeSet(path))
            found.append(found.empty() ? "" : "\n").append(path);
    return toJava(env, found.empty() ? nullptr : found.c_str());
}

using Operation = bool (*)(const char*);

jboolean onPath(JNIEnv* env, const char* function, Operation operation, jstring path)
{
    return jniEntry(env, function,
                    [&] { return static_cast<jboolean>(operation(CJString(env, path).ansiString())); });
}

using Transfer = bool (*)(const char*, const char*);

jboolean transfer(JNIEnv* env, const char* function, Transfer operation, jstring from, jstring to)
{
    return jniEntry(env, function, [&] {
        const CJString source(env, from), target(env, to);
        return static_cast<jboolean>(operation(source.ansiString(), target.ansiString()));
    });
}
} // namespace

JNIEXPORT jobject JNICALL
Java_com_talvern_test_gx_sys_OperatingSystem_exec(JNIEnv* env, jclass, jstring command, jstring workingDir,
                                                  jstring stdoutPath, jstring stderrPath, jboolean keepFds)
{
    return jniEntry(env, __func__, [&]() -> jobject {
        const CJString text(env, command), where(env, workingDir), output(env, stdoutPath),
            errors(env, stderrPath);
        const CProcessStart start{text.ansiString(), where.ansiString(), output.ansiString(),
                                  errors.ansiString(), keepFds == JNI_TRUE};
        CProcessInformation process(env);
        std::string error;
        const pid_t pid = start.start(error);
        CTracer::debugTrace("Process: %s has pid: %d", start.command ? start.command : "", pid);
        if (pid < 0)
            process.setErrorMessage(error.c_str());
        process.setProcessId(pid);
        process.setCreationTime(0, 0);
        return process;
    });
}

JNIEXPORT jint JNICALL Java_com_talvern_test_gx_sys_OperatingSystem_wait(JNIEnv* env, jclass, jobject process)
{
    return jniEntry(env, __func__, [&] {
        CProcessInformation child(env, process);
        return store(child, COperatingSystem::wait(child.getProcessId()));
    });
}

JNIEXPORT jint JNICALL Java_com_talvern_test_gx_sys_OperatingSystem_waitWithTimeout(JNIEnv* env, jclass,
                                                                                    jobject process,
                                                                                    jint timeoutMs)
{
    return jniEntry(env, __func__, [&] {
        CProcessInformation child(env, process);
        return store(child, COperatingSystem::waitWithTimeout(child.getProcessId(), timeoutMs));
    });
}

JNIEXPORT jboolean JNICALL Java_com_talvern_test_gx_sys_OperatingSystem_isAlive(JNIEnv* env, jclass,
                                                                                jobject object)
{
    return jniEntry(env, __func__, [&] {
        CProcessInformation process(env, object);
        process.setErrorMessage("");
        const bool alive = COperatingSystem::isAlive(process.getProcessId());
        if (!alive)
            process.setNoProcess(true);
        return static_cast<jboolean>(alive);
    });
}

JNIEXPORT jobject JNICALL Java_com_talvern_test_gx_sys_OperatingSystem_getCurrentProcess(JNIEnv* env, jclass)
{
    return jniEntry(env, __func__, [&]() -> jobject { return CProcess(env); });
}

JNIEXPORT jlong JNICALL Java_com_talvern_test_gx_sys_OperatingSystem_getCurrentThreadId(JNIEnv* env, jclass)
{
    return jniEntry(env, __func__, [] { return static_cast<jlong>(pthread_self()); });
}

JNIEXPORT jint JNICALL Java_com_talvern_test_gx_sys_OperatingSystem_getppid(JNIEnv* env, jclass, jint pid)
{
    return jniEntry(env, __func__, [&] { return static_cast<jint>(COperatingSystem::getppid(pid)); });
}

JNIEXPORT jstring JNICALL Java_com_talvern_test_gx_sys_OperatingSystem_getVersion(JNIEnv* env, jclass)
{
    return jniEntry(env, __func__, [&] { return toJava(env, COperatingSystem::getVersion()); });
}

JNIEXPORT jstring JNICALL Java_com_talvern_test_gx_sys_OperatingSystem_getEnvironment(JNIEnv* env, jclass,
                                                                                      jstring name)
{
    return variable(env, __func__, name);
}

JNIEXPORT jstring JNICALL Java_com_talvern_test_gx_sys_OperatingSystem_getenvNative(JNIEnv* env, jclass,
                                                                                    jstring name)
{
    return variable(env, __func__, name);
}

JNIEXPORT void JNICALL Java_com_talvern_test_gx_sys_OperatingSystem_setenv(JNIEnv* env, jclass, jstring name,
                                                                           jstring value)
{
    jniEntry(env, __func__, [&] {
        const CJString variableName(env, name), text(env, value);
        CEnvironment::set(variableName.ansiString(), text.ansiString());
    });
}

JNIEXPORT void JNICALL Java_com_talvern_test_gx_sys_OperatingSystem_unsetenv(JNIEnv* env, jclass,
                                                                             jstring name)
{
    jniEntry(env, __func__, [&] { CEnvironment::unset(CJString(env, name).ansiString()); });
}

JNIEXPORT jboolean JNICALL Java_com_talvern_test_gx_sys_OperatingSystem_isFileWriteable(JNIEnv* env, jclass,
                                                                                        jstring path)
{
    return onPath(env, __func__, COperatingSystem::isFileWriteable, path);
}

JNIEXPORT jboolean JNICALL Java_com_talvern_test_gx_sys_OperatingSystem_copyFile(JNIEnv* env, jclass,
                                                                                 jstring from, jstring to)
{
    return transfer(env, __func__, copyFile, from, to);
}

JNIEXPORT jboolean JNICALL Java_com_talvern_test_gx_sys_OperatingSystem_moveFile(JNIEnv* env, jclass,
                                                                                 jstring from, jstring to)
{
    return transfer(env, __func__, moveFile, from, to);
}

JNIEXPORT void JNICALL Java_com_talvern_test_gx_sys_OperatingSystem_setSUTVars(JNIEnv* env, jclass,
                                                                               jboolean sut,
                                                                               jboolean recordMode)
{
    jniEntry(env, __func__, [&] {
        gx_MarloSUT = sut == 1;
        gx_MarloRecordMode = recordMode == 1;
    });
}

JNIEXPORT jstring JNICALL Java_com_talvern_test_gx_sys_OperatingSystem_getAllBrowsers__(JNIEnv* env, jclass)
{
    return jniEntry(env, __func__, [&] { return browsers(env, ""); });
}

JNIEXPORT jstring JNICALL Java_com_talvern_test_gx_sys_OperatingSystem_getAllBrowsers__Ljava_lang_String_2(
    JNIEnv* env, jclass, jstring start)
{
    return jniEntry(env, __func__, [&] { return browsers(env, CJString(env, start).ansiString()); });
}

JNIEXPORT jboolean JNICALL Java_com_talvern_test_gx_sys_OperatingSystem_MozillaEnable(JNIEnv* env, jclass,
                                                                                      jstring path)
{
    return onPath(env, __func__, MozillaEnable, path);
}

JNIEXPORT jboolean JNICALL Java_com_talvern_test_gx_sys_OperatingSystem_MozillaDisable(JNIEnv* env, jclass,
                                                                                       jstring path)
{
    return onPath(env, __func__, MozillaDisable, path);
}

#define DIRECTORIES(X)                                                                                       \
    X(getMarloInstallNative, installDirectory)                                                               \
    X(getPlandeckInstallNative, CRegistryInformation::getPlandeckInstall)                                    \
    X(getCustomizationDirNative, CRegistryInformation::getCustomizationDir)                                  \
    X(getConfigurationDirNative, CRegistryInformation::getConfigurationDir)                                  \
    X(getInputFiles, CRegistryInformation::getInputFiles)                                                    \
    X(getEclipseDirNative, CRegistryInformation::getEclipseDir)                                              \
    X(getIdeDir, CRegistryInformation::getEclipseDir)                                                        \
    X(getDefaultJRENative, CRegistryInformation::getDefaultJRE)                                              \
    X(getPlaybackJRENative, CRegistryInformation::getPlaybackJRE)                                            \
    X(getBrowserJavaPluginFilePath, CRegistryInformation::getBrowserJavaPluginFilePath)                      \
    X(getBrowsers, CRegistryInformation::getBrowsers)                                                        \
    X(getJREs, CRegistryInformation::getJREs)
#define EXPORT_DIRECTORY(Name, Getter)                                                                       \
    JNIEXPORT jstring JNICALL Java_com_talvern_test_gx_sys_OperatingSystem_##Name(JNIEnv* env, jclass)       \
    {                                                                                                        \
        return directory(env, __func__, Getter);                                                             \
    }
DIRECTORIES(EXPORT_DIRECTORY)

JNIEXPORT void JNICALL Java_com_talvern_test_gx_sys_OSProcess_kill(JNIEnv* env, jobject self)
{
    jniEntry(env, __func__,
             [&] { COperatingSystem::kill(CJniJObject(env, self, nullptr).getInt("processId")); });
}
