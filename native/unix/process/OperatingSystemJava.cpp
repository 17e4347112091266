// The native methods of com.talvern.test.gx.sys.OperatingSystem and OSProcess that mean something here.
#include "com_talvern_test_gx_sys_OSProcess.h"
#include "com_talvern_test_gx_sys_OperatingSystem.h"

#include "common/jni/JniDataTypes.h"
#include "common/jni/JniEntry.h"
#include "common/text/CodeSet.h"
#include "common/trace/CRegistryInformation.h"
#include "common/trace/CTracer.h"
#include "common/trace/Environment.h"
#include "common/trace/ErrorString.h"
#include "common/trace/GxInstallOptions.h"
#include "include/GxGlobals.h"
#include "unix/process/Browsers.h"
#include "unix/process/FileTransfer.h"
#include "unix/process/OperatingSystem.h"
#include "unix/process/ProcessInformation.h"
#include "unix/process/ProcessStart.h"

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

jstring variable(JNIEnv* env, jstring name)
{
    return toJava(env, CEnvironment::get(CJString(env, name).ansiString()));
}

using Directory = bool (*)(char*, unsigned) noexcept;

jstring directory(JNIEnv* env, Directory getter)
{
    char path[CRegistryInformation::bufferSize];
    return toJava(env, getter(path, sizeof path) ? path : nullptr);
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
    std::u16string units;
    return toUnits(locale.codeSet(), text, units) == Conversion::complete;
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

bool onPath(JNIEnv* env, Operation operation, jstring path)
{
    return operation(CJString(env, path).ansiString());
}

using Transfer = bool (*)(const char*, const char*);

bool transfer(JNIEnv* env, Transfer operation, jstring from, jstring to)
{
    const CJString source(env, from), target(env, to);
    return operation(source.ansiString(), target.ansiString());
}
} // namespace

GX_JNI(jobject, Java_com_talvern_test_gx_sys_OperatingSystem_exec, jclass, jstring command,
       jstring workingDir, jstring stdoutPath, jstring stderrPath, jboolean keepFds)
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

GX_JNI(jint, Java_com_talvern_test_gx_sys_OperatingSystem_wait, jclass, jobject process)
{
    return jniEntry(env, __func__, [&] {
        CProcessInformation child(env, process);
        return store(child, COperatingSystem::wait(child.getProcessId()));
    });
}

GX_JNI(jint, Java_com_talvern_test_gx_sys_OperatingSystem_waitWithTimeout, jclass, jobject process,
       jint timeoutMs)
{
    return jniEntry(env, __func__, [&] {
        CProcessInformation child(env, process);
        return store(child, COperatingSystem::waitWithTimeout(child.getProcessId(), timeoutMs));
    });
}

GX_JNI(jboolean, Java_com_talvern_test_gx_sys_OperatingSystem_isAlive, jclass, jobject object)
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

GX_JNI_ANSWER(jobject, Java_com_talvern_test_gx_sys_OperatingSystem_getCurrentProcess, CProcess(env), jclass)

GX_JNI_ANSWER(jlong, Java_com_talvern_test_gx_sys_OperatingSystem_getCurrentThreadId, pthread_self(), jclass)

GX_JNI_ANSWER(jint, Java_com_talvern_test_gx_sys_OperatingSystem_getppid, COperatingSystem::getppid(pid),
              jclass, jint pid)

GX_JNI_ANSWER(jstring, Java_com_talvern_test_gx_sys_OperatingSystem_getVersion,
              toJava(env, COperatingSystem::getVersion()), jclass)

GX_JNI_ANSWER(jstring, Java_com_talvern_test_gx_sys_OperatingSystem_getEnvironment, variable(env, name),
              jclass, jstring name)

GX_JNI_ANSWER(jstring, Java_com_talvern_test_gx_sys_OperatingSystem_getenvNative, variable(env, name), jclass,
              jstring name)

GX_JNI(void, Java_com_talvern_test_gx_sys_OperatingSystem_setenv, jclass, jstring name, jstring value)
{
    jniEntry(env, __func__, [&] {
        const CJString variableName(env, name), text(env, value);
        CEnvironment::set(variableName.ansiString(), text.ansiString());
    });
}

GX_JNI_ANSWER(void, Java_com_talvern_test_gx_sys_OperatingSystem_unsetenv,
              CEnvironment::unset(CJString(env, name).ansiString()), jclass, jstring name)

GX_JNI_ANSWER(jboolean, Java_com_talvern_test_gx_sys_OperatingSystem_isFileWriteable,
              onPath(env, COperatingSystem::isFileWriteable, path), jclass, jstring path)

GX_JNI_ANSWER(jboolean, Java_com_talvern_test_gx_sys_OperatingSystem_copyFile,
              transfer(env, copyFile, from, to), jclass, jstring from, jstring to)

GX_JNI_ANSWER(jboolean, Java_com_talvern_test_gx_sys_OperatingSystem_moveFile,
              transfer(env, moveFile, from, to), jclass, jstring from, jstring to)

GX_JNI(void, Java_com_talvern_test_gx_sys_OperatingSystem_setSUTVars, jclass, jboolean sut,
       jboolean recordMode)
{
    jniEntry(env, __func__, [&] {
        gx_MarloSUT = sut == 1;
        gx_MarloRecordMode = recordMode == 1;
    });
}

GX_JNI_ANSWER(jstring, Java_com_talvern_test_gx_sys_OperatingSystem_getAllBrowsers__, browsers(env, ""),
              jclass)

GX_JNI_ANSWER(jstring, Java_com_talvern_test_gx_sys_OperatingSystem_getAllBrowsers__Ljava_lang_String_2,
              browsers(env, CJString(env, start).ansiString()), jclass, jstring start)

GX_JNI_ANSWER(jboolean, Java_com_talvern_test_gx_sys_OperatingSystem_MozillaEnable,
              onPath(env, MozillaEnable, path), jclass, jstring path)

GX_JNI_ANSWER(jboolean, Java_com_talvern_test_gx_sys_OperatingSystem_MozillaDisable,
              onPath(env, MozillaDisable, path), jclass, jstring path)

GX_JNI_ANSWER(jstring, Java_com_talvern_test_gx_sys_OperatingSystem_getMarloInstallNative,
              directory(env, installDirectory), jclass)
GX_JNI_ANSWER(jstring, Java_com_talvern_test_gx_sys_OperatingSystem_getPlandeckInstallNative,
              directory(env, CRegistryInformation::getPlandeckInstall), jclass)
GX_JNI_ANSWER(jstring, Java_com_talvern_test_gx_sys_OperatingSystem_getCustomizationDirNative,
              directory(env, CRegistryInformation::getCustomizationDir), jclass)
GX_JNI_ANSWER(jstring, Java_com_talvern_test_gx_sys_OperatingSystem_getConfigurationDirNative,
              directory(env, CRegistryInformation::getConfigurationDir), jclass)
GX_JNI_ANSWER(jstring, Java_com_talvern_test_gx_sys_OperatingSystem_getInputFiles,
              directory(env, CRegistryInformation::getInputFiles), jclass)
GX_JNI_ANSWER(jstring, Java_com_talvern_test_gx_sys_OperatingSystem_getEclipseDirNative,
              directory(env, CRegistryInformation::getEclipseDir), jclass)
GX_JNI_ANSWER(jstring, Java_com_talvern_test_gx_sys_OperatingSystem_getIdeDir,
              directory(env, CRegistryInformation::getEclipseDir), jclass)
GX_JNI_ANSWER(jstring, Java_com_talvern_test_gx_sys_OperatingSystem_getDefaultJRENative,
              directory(env, CRegistryInformation::getDefaultJRE), jclass)
GX_JNI_ANSWER(jstring, Java_com_talvern_test_gx_sys_OperatingSystem_getPlaybackJRENative,
              directory(env, CRegistryInformation::getPlaybackJRE), jclass)
GX_JNI_ANSWER(jstring, Java_com_talvern_test_gx_sys_OperatingSystem_getBrowserJavaPluginFilePath,
              directory(env, CRegistryInformation::getBrowserJavaPluginFilePath), jclass)
GX_JNI_ANSWER(jstring, Java_com_talvern_test_gx_sys_OperatingSystem_getBrowsers,
              directory(env, CRegistryInformation::getBrowsers), jclass)
GX_JNI_ANSWER(jstring, Java_com_talvern_test_gx_sys_OperatingSystem_getJREs,
              directory(env, CRegistryInformation::getJREs), jclass)

GX_JNI_ANSWER(void, Java_com_talvern_test_gx_sys_OSProcess_kill,
              COperatingSystem::kill(CJniJObject(env, self, nullptr).getInt("processId")), jobject self)
