// gx run, session, help, and what is asked of the engine: tree, menu, click --text, inspect.
#include "agent/ProgramFile.h"
#include "gx/CommandLine.h"
#include "gx/Commands.h"
#include "gx/JavaProgram.h"
#include "gx/Manual.h"
#include "gx/Seen.h"
#include "session/Program.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <unistd.h>

#include "unix/window/XErrors.h"

namespace fs = std::filesystem;

namespace {
/// Becomes another program. @return the exit status when it cannot
int become(const std::string& program, const std::vector<std::string>& words)
{
    std::vector<char*> arguments{const_cast<char*>(program.c_str())};
    for (const std::string& word : words)
        arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);
    std::fflush(stdout);
    execvp(program.c_str(), arguments.data());
    const int error = CNotStarted::causeOf(program, errno);
    std::fprintf(stderr, "gx: %s cannot be started: %s; install gxsys whole, or name it in PATH\n",
                 program.c_str(), std::strerror(error));
    return error == ENOENT ? 127 : 126;
}

fs::path ownDirectory()
{
    return fs::read_symlink("/proc/self/exe").parent_path();
}

/// Beside gx; the system looks for it in PATH when it is not there.
std::string beside(const char* program)
{
    const fs::path place = ownDirectory() / program;
    return access(place.c_str(), X_OK) == 0 ? place.string() : program;
}

/// The window that keys go to.
CSeenWindow activeWindow()
{
    const unsigned long front = CWindow::getForeground().getHandle();
    takeXError(); // where nothing has the focus, that is asked for its parent all the same
    const std::vector<CSeenWindow> all = Seen::all();
    for (const CSeenWindow& window : all)
        if (window.id == front || CWindow(static_cast<long>(window.id)).getTopLevelHandle() == front)
            return window;
    throw CNotSo("no active window", Seen::list(all), "name a caption or a process");
}

/// Whom the engine is to ask, as options: a process, and a window when that was named.
/// @param named  a process, a window or nothing
std::vector<std::string> whom(const std::string& named)
{
    if (!named.empty() && named.find_first_not_of("0123456789") == std::string::npos)
        return {"--pid=" + named};
    const CSeenWindow window = named.empty() ? activeWindow() : Seen::demand(named);
    if (window.process == 0)
        throw CNotSo("no process of \"" + Seen::shown(window.caption) + "\"",
                     "the X server does not say which one shows it", "name the process; gx doctor says more");
    return {"--pid=" + std::to_string(window.process), "--xwindow=" + std::to_string(window.id)};
}

int runJava(const std::string& mainClass, const std::vector<std::string>& words)
{
    const std::string java = JavaProgram::find();
    if (java.empty())
        throw CNotSo("no Java, which asks programs for their widgets",
                     std::string(JavaProgram::places) + " have none",
                     "install default-jre-headless, or set JAVA_HOME");
    const fs::path own = ownDirectory();
    const std::string jar = ProgramFile::firstOf(own, {"../" GX_JARDIR "/gxsys.jar", "../gxsys.jar"});
    const std::string library = ProgramFile::firstOf(own, {"../" GX_LIBDIR "/libgxsys.so", "../libgxsys.so"});
    for (const std::string& file : {jar, library})
        if (access(file.c_str(), R_OK) != 0)
            throw CNotSo(file + " cannot be read", std::strerror(errno), "install gxsys whole");
    std::vector<std::string> command{"-XX:+UseSerialGC",
                                     "-XX:TieredStopAtLevel=1",
                                     "-Xshare:auto",
                                     "-Djava.awt.headless=true",
                                     "-Dcom.talvern.test.gx.library=" + library,
                                     "-cp",
                                     jar,
                                     mainClass};
    command.insert(command.end(), words.begin(), words.end());
    return become(java, command) == 0 ? StatusFine : StatusNotSo;
}
} // namespace

int runRun(const CCall& call)
{
    return become(beside("gxrun"), call.words);
}

int runSession(const CCall& call)
{
    return become(beside("gxsession"), call.words);
}

/// Options as NAME=VALUE, then the arguments: what was read once is not read anew.
int runInEngine(const CCall& call)
{
    Seen::requireServer();
    const std::string command = call.subcommand.name;
    std::vector<std::string> words{command}, arguments = call.arguments;
    const bool isNamedFirst = command == "tree" || command == "menu";
    const std::string named = isNamedFirst ? (arguments.empty() ? "" : arguments[0])
                                           : call.option(command == "click" ? "in" : "window");
    if (isNamedFirst && !arguments.empty())
        arguments.erase(arguments.begin());
    for (const std::string& word : whom(named))
        words.push_back(word);
    for (const auto& [name, value] : call.options)
        words.push_back(std::string("--").append(name).append("=").append(value));
    words.emplace_back("--");
    words.insert(words.end(), arguments.begin(), arguments.end());
    return runJava("com.talvern.test.gx.cli.Main", words);
}

int runInspect(const CCall& call)
{
    Seen::requireServer();
    return runJava("com.talvern.test.gx.inspect.Inspector", call.words);
}

int runHelp(const CCall& call)
{
    if (call.has("manual"))
        std::fputs(Manual::page().c_str(), stdout);
    else if (call.has("completion"))
        std::fputs(Manual::completion().c_str(), stdout);
    else if (call.arguments.empty())
        std::fputs(Manual::usage().c_str(), stdout);
    else if (const CSubcommand* const command = subcommandCalled(call.arguments[0]))
        std::fputs(Manual::usageOf(*command).c_str(), stdout);
    else
        throw CWrongUse("there is no command \"" + call.arguments[0] + "\"; gx help lists those there are");
    return StatusFine;
}
