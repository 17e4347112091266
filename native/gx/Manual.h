/// The table of subcommands as texts.
#pragma once

#include "gx/Table.h"

#include <string>

namespace Manual {
std::string usage();                             ///< a line for each subcommand
std::string usageOf(const CSubcommand& command); ///< what `gx COMMAND --help` says
std::string page();                              ///< gx(1), in roff
std::string completion();                        ///< for bash, to be sourced
} // namespace Manual
