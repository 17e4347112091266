// gxrun [options] PROGRAM [ARGUMENT ...]: becomes PROGRAM, with the agent preloaded.
#include "agent/Companion.h"
#include "agent/AgentVariables.h"
#include "agent/ProgramFile.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <filesystem>
#include <getopt.h>
#include <optional>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {
constexpr char usage[] =
    "usage: gxrun [options] PROGRAM [ARGUMENT ...]\n"
    "Starts a Motif, GTK 2 or GTK 3 program as an application under test: a test engine can ask it for its\n"
    "menus, lists and dialogs. The program is not changed, and behaves as it does without.\n"
    "  --follow        the programs that it starts become applications under test, too\n"
    "  --library FILE  libgxsys.so to use, instead of the one that belongs to gxrun\n"
    "  --jar FILE      gxsys.jar to use, likewise\n"
    "  --domain NAME   test domain to load in the program\n"
    "  --end-with PID  the program and what it starts end when that process does\n"
    "  --help          this text\n"
    "The Java runtime is the first that is found of: the directories in TALVERN_GX_JRE, JAVA_HOME, the one of java\n"
    "in PATH, /usr/lib/jvm/default-java.\n";

struct COptions {
    bool follow = false;
    std::string library, jar, domain;
    pid_t master = 0; ///< the process to end with; 0 for none
};

/// @return what to exit with; nothing to go on
std::optional<int> parse(int argc, char** argv, COptions& options)
{
    const option known[] = {{"follow", no_argument, nullptr, 'f'},
                            {"library", required_argument, nullptr, 'l'},
                            {"jar", required_argument, nullptr, 'j'},
                            {"domain", required_argument, nullptr, 'd'},
                            {"end-with", required_argument, nullptr, 'e'},
                            {"help", no_argument, nullptr, 'h'},
                            {nullptr, 0, nullptr, 0}};
    for (int found; (found = getopt_long(argc, argv, "+h", known, nullptr)) != -1;)
        switch (found) {
        case 'f':
            options.follow = true;
            break;
        case 'l':
            options.library = fs::absolute(optarg);
            break;
        case 'j':
            options.jar = fs::absolute(optarg);
            break;
        case 'd':
            options.domain = optarg;
            break;
        case 'e':
            options.master = std::atoi(optarg);
            break;
        case 'h':
            std::fputs(usage, stdout);
            return 0;
        default:
            std::fputs(usage, stderr);
            return 125;
        }
    if (optind < argc)
        return std::nullopt;
    std::fprintf(stderr, "gxrun: no program is named\n%s", usage);
    return 125;
}

/// The library announces on standard error that it writes a user's first preference file. It does so here,
/// where nobody hears it, rather than in the program.
void writePreferences(const fs::path& library)
{
    const char* const home = std::getenv("HOME");
    std::error_code error; // of a name that is too long, say
    if (!home || fs::exists(fs::path(home) / "Quessa/ZEMO/vtx_log_trace.properties", error))
        return;
    const pid_t child = fork();
    if (child == 0) {
        const int nowhere = open("/dev/null", O_WRONLY);
        dup2(nowhere, STDOUT_FILENO);
        dup2(nowhere, STDERR_FILENO);
        dlopen(library.c_str(), RTLD_NOW);
        _exit(0);
    }
    waitpid(child, nullptr, 0);
}

void appendToPreload(const std::string& agent)
{
    const char* const others = std::getenv("LD_PRELOAD");
    setenv("LD_PRELOAD", (others ? others + (":" + agent) : agent).c_str(), 1);
}

/// Lets the program find the agent and the agent what it needs; see Environment.h.
void prepare(const COptions& options, const fs::path& own)
{
    const auto agent =
        ProgramFile::firstOf(own, {"../" GX_LIBDIR "/libgxagent.so", "../libgxagent.so", "libgxagent.so"});
    if (access(agent.c_str(), R_OK) != 0 || agent.find_first_of(": ") != std::string::npos) {
        std::fprintf(stderr, "gxrun: %s cannot be preloaded: the program runs without an agent\n",
                     agent.c_str());
        return;
    }
    const fs::path library =
        options.library.empty() ? fs::path(agent).replace_filename("libgxsys.so") : fs::path(options.library);
    const fs::path jar =
        options.jar.empty()
            ? ProgramFile::firstOf(own, {"../" GX_JARDIR "/gxsys.jar", "../gxsys.jar", "gxsys.jar"})
            : options.jar;
    writePreferences(library);
    appendToPreload(agent);
    setenv(AgentVariable::pid, std::to_string(getpid()).c_str(), 1);
    setenv(AgentVariable::library, library.c_str(), 1);
    setenv(AgentVariable::jar, jar.c_str(), 1);
    if (!options.domain.empty())
        setenv(AgentVariable::domain, options.domain.c_str(), 1);
    if (options.follow)
        setenv(AgentVariable::follow, "1", 1);
}

/// Shells leave in "_" the path of what they start.
void correctUnderscore(const char* own, const std::string& path)
{
    const char* const started = std::getenv("_");
    if (started && fs::path(started).filename() == fs::path(own).filename())
        setenv("_", path.c_str(), 1);
}
} // namespace

int main(int argc, char** argv)
{
    COptions options;
    if (const auto status = parse(argc, argv, options))
        return *status;
    char** const command = argv + optind;
    const std::string path = ProgramFile::find(command[0]);
    if (path.empty()) {
        std::fprintf(stderr, "gxrun: %s: not found\n", command[0]);
        return 127;
    }
    if (ProgramFile::takesPreload(path))
        prepare(options, fs::read_symlink("/proc/self/exe").parent_path());
    if (options.master != 0 && !Companion::endWith(options.master))
        std::fprintf(stderr, "gxrun: the program does not end with process %d, which is not to be seen\n",
                     options.master);
    correctUnderscore(argv[0], path);
    execvp(path.c_str(), command);
    const int failure = errno;
    std::fprintf(stderr, "gxrun: %s: %s\n", command[0], std::strerror(failure));
    return failure == ENOENT ? 127 : 126;
}
