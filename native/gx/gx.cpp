// gx COMMAND ...: the windows of a display, its store and its programs, from the command line.
#include "CommandLine.h"
#include "Commands.h"
#include "Manual.h"
#include "QuietStart.h"

#include <cstdio>
#include <exception>

namespace {
int complain(const std::string& command, const std::string& message, int status)
{
    std::fflush(stdout);
    std::fprintf(stderr, "gx%s: %s\n", command.empty() ? "" : (" " + command).c_str(), message.c_str());
    return status;
}

int runCommand(const CSubcommand& command, std::vector<std::string> words)
try {
    const CCall call = CCall::read(command, std::move(words));
    if (call.has("help")) {
        std::fputs(Manual::usageOf(command).c_str(), stdout);
        return StatusFine;
    }
    return command.run(call);
} catch (const CWrongUse& e) {
    complain(command.name, e.what(), StatusWrongUse);
    std::fprintf(stderr, "usage: gx %s\n", command.synopsis().c_str());
    return StatusWrongUse;
} catch (const std::exception& e) {
    return complain(command.name, e.what(), StatusNotSo);
} catch (...) {
    return complain(command.name, storeFailure(), StatusNotSo);
}

int runNamed(const std::string& name, std::vector<std::string> words)
{
    if (name == "--help" || name == "-h")
        return runNamed("help", std::move(words));
    if (name == "--version") {
        std::puts("gx " GX_VERSION);
        return StatusFine;
    }
    if (const CSubcommand* const command = subcommandCalled(name))
        return runCommand(*command, std::move(words));
    return complain("", "there is no command \"" + name + "\"; gx help lists those there are",
                    StatusWrongUse);
}
} // namespace

int main(int argc, char** argv)
{
    endQuietStart();
    if (argc < 2) {
        std::fputs(Manual::usage().c_str(), stderr);
        return StatusWrongUse;
    }
    const int status = runNamed(argv[1], {argv + 2, argv + argc});
    // A full disk, or a reader that has gone.
    const bool isWritten = std::fflush(stdout) == 0;
    return isWritten || status != StatusFine
               ? status
               : complain(argv[1], "its answer could not be written", StatusNotSo);
}
