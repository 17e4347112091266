/// Runs what users type.
#pragma once

#include "include/Within.h"
#include "session/Program.h"

#include <filesystem>
#include <stdexcept>
#include <string>

/// A command for the shell, run to its end; `gx` is that of this build, and the directory one of the
/// session's.
struct CCommand {
    explicit CCommand(const std::string& command, std::chrono::seconds limit = std::chrono::seconds(60))
    {
        std::filesystem::current_path(getenv("HOME"));
        CProgram shell({"sh", "-c",
                        "PATH=" + std::filesystem::path(GX_COMMAND).parent_path().string() +
                            ":$PATH; export PATH; exec 2>&1; " + command});
        while (const auto line = shell.line(limit))
            output += *line + "\n";
        status = shell.wait(limit).value_or(-1);
    }
    int status;
    std::string output; ///< standard error, too
};

/// A window manager, which manages from the start.
class CManager {
public:
    CManager() : m_program({"openbox", "--sm-disable"})
    {
        if (!within(std::chrono::seconds(20), [] {
                return CCommand("xprop -root _NET_SUPPORTING_WM_CHECK").output.find('#') != std::string::npos;
            }))
            throw std::runtime_error("openbox does not run");
    }

private:
    CProgram m_program;
};
