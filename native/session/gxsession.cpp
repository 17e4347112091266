// gxsession [option ...] -- COMMAND ...: runs a command on a display, under a window manager, in an IPC
// namespace where one can be had, and with a home directory of its own. All of it ends with the command.
#include "session/PrivateSession.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <sstream>
#include <unistd.h>

namespace {
constexpr const char* usageText =
    "usage: gxsession [--screen WIDTHxHEIGHTxDEPTH] [--wm PROGRAM|none] [--check] -- COMMAND ...\n"
    "       gxsession --environment\n"
    "Runs a command on a private X display with a window manager, System V IPC namespace (where allowed) and\n"
    "home directory. Its exit status is the command's; all that the command has started ends with it.\n"
    "  --screen       size and depth of the screen (1280x1024x24)\n"
    "  --wm           the window manager; without it the first that is installed of openbox and others\n"
    "  --check        fails when System V objects are left behind, and waits for other sessions where there is\n"
    "                 no namespace for each\n"
    "  --environment  says what is found for sessions on this machine\n"
    "Called as java, it runs the JVM of JAVA_HOME, else that of PATH, in such a session.\n";

int misused(const std::string& why)
{
    std::fprintf(stderr, "gxsession: %s\n%s", why.c_str(), usageText);
    return 2;
}

CPrivateSession::COptions ordinaryOptions()
{
    CPrivateSession::COptions options;
    options.windowManager = CPrivateSession::AnyWindowManager;
    options.mayLeave = true;
    options.takesTurns = false;
    return options;
}

bool isProgram(const std::filesystem::path& file)
{
    std::error_code error;
    return access(file.c_str(), X_OK) == 0 && !std::filesystem::equivalent(file, "/proc/self/exe", error);
}

/// The JVM that this program stands for.
std::string jvm()
{
    const char* const home = getenv("JAVA_HOME");
    if (home && isProgram(std::filesystem::path(home) / "bin/java"))
        return std::string(home) + "/bin/java";
    std::istringstream path(getenv("PATH") ? getenv("PATH") : "/usr/bin:/bin");
    for (std::string directory; std::getline(path, directory, ':');)
        if (isProgram(directory + "/java"))
            return directory + "/java";
    return {};
}

int runJvm(int argc, char** argv)
{
    std::vector<std::string> command{jvm()};
    if (command[0].empty()) {
        std::fprintf(stderr, "gxsession: there is no java in JAVA_HOME or PATH\n");
        return 127;
    }
    command.insert(command.end(), argv + 1, argv + argc);
    return CPrivateSession::run(command, ordinaryOptions());
}
} // namespace

int main(int argc, char** argv)
{
    if (argc > 0 && std::filesystem::path(argv[0]).filename() == "java")
        return runJvm(argc, argv);
    auto options = ordinaryOptions();
    int at = 1;
    for (; at < argc && std::strncmp(argv[at], "--", 2) == 0 && argv[at][2]; ++at) {
        const std::string option = argv[at];
        if (option == "--environment")
            return std::printf("%s\n", CPrivateSession::environment().c_str()) < 0;
        if (option == "--help")
            return std::fputs(usageText, stdout) < 0;
        if (option == "--check") {
            options.mayLeave = false;
            options.takesTurns = true;
        } else if (option == "--wm" && at + 1 < argc) {
            const std::string name = argv[++at];
            options.windowManager = name == "none" ? "" : name;
        } else if (option == "--screen" && at + 1 < argc) {
            options.screen = argv[++at];
        } else {
            return misused(option == "--wm" || option == "--screen" ? option + " wants a word behind it"
                                                                    : "there is no option " + option);
        }
    }
    if (at < argc && std::strcmp(argv[at], "--") == 0)
        ++at;
    return at < argc ? CPrivateSession::run({argv + at, argv + argc}, options)
                     : misused("no command is named");
}
