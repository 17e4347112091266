/// The subcommands of gx. Reading of arguments, usage texts, manual and completion all go by this one table.
#pragma once

#include <span>
#include <string>
#include <vector>

struct CCall;

/// What a word on the command line is, for those who complete it.
enum class EWord { Text, File, Command };

struct COption {
    const char* name;     ///< without the two dashes
    const char* argument; ///< as usage texts call it; null for none
    EWord word;           ///< what that is
    const char* what;     ///< in one sentence, without its full stop
};

struct CSubcommand {
    const char* name;
    const char* arguments; ///< as usage texts show them, options left out
    const char* line;      ///< what it is for, in one line
    const char* text;      ///< what else there is to know
    int least;             ///< arguments that it wants
    int most;              ///< and takes; -1: any number
    EWord word;            ///< what they are
    bool answersData;      ///< takes --json
    bool passesOn;         ///< all words go to another program as they stand, which reads them
    std::vector<COption> options;
    int (*run)(const CCall& call); ///< @return the exit status

    /// With those that every subcommand has, or all that answer data.
    std::vector<COption> allOptions() const;
    std::string synopsis() const;
};

std::span<const CSubcommand> subcommands();
const CSubcommand* subcommandCalled(const std::string& name); ///< null for none
