// gx COMMAND ...: the windows of a display, its store and its programs, from the command line.
#include "common/trace/CTracer.h"
#include "common/trace/GxDebug.h"
#include "gx/CommandLine.h"
#include "gx/Commands.h"
#include "gx/Manual.h"
#include "gx/QuietStart.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <exception>

#include "unix/window/XErrors.h"

namespace {
constinit GxDebug CommandLine("gx");

/// What failed, with what the X server has refused on the way; the trace has it, too.
int complain(const std::string& command, std::string message, int status)
{
    if (const std::string refused = takeXError(); !refused.empty())
        message += " (on the way the X server has answered " + refused + ")";
    message = "gx" + (command.empty() ? "" : " " + command) + ": " + message;
    std::fflush(stdout);
    std::fprintf(stderr, "%s\n", message.c_str());
    CTracer::traceFailure(CommandLine, message);
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
               : complain(argv[1], std::string("its answer could not be written: ") + std::strerror(errno),
                          StatusNotSo);
}
