/// One call of gx, read by the table of subcommands, and how it fails.
#pragma once

#include "gx/Table.h"

#include <map>
#include <stdexcept>
#include <string>
#include <vector>

/// Exit statuses. A program that `gx run` or `gx session` has started ends with its own.
enum EStatus : int { StatusFine = 0, StatusNotSo = 1, StatusWrongUse = 2, StatusLauncherFailed = 125 };

/// What was asked for is not there, or not so.
class CNotSo : public std::runtime_error {
public:
    /// @param asked   what was asked, of whom
    /// @param came    what came back
    /// @param remedy  what to do; empty when the other two say so
    CNotSo(const std::string& asked, const std::string& came, const std::string& remedy)
        : std::runtime_error(asked + ": " + came + (remedy.empty() ? "" : "; " + remedy))
    {
    }
    /// @param complaint  says all of that
    explicit CNotSo(const std::string& complaint) : std::runtime_error(complaint) {}
};

/// The command line makes no sense.
class CWrongUse : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

struct CCall {
    const CSubcommand& subcommand;
    std::vector<std::string> words;     ///< as they were given
    std::vector<std::string> arguments; ///< without options
    std::map<std::string, std::string> options;

    /// @throws CWrongUse
    static CCall read(const CSubcommand& subcommand, std::vector<std::string> words);

    bool has(const char* option) const { return options.count(option) != 0; }
    bool json() const { return has("json"); }
    std::string option(const char* name, const char* otherwise = "") const;
    /// An argument, or the value of an option, as a whole number. @throws CWrongUse it is none
    int number(size_t argument) const;
    int number(const char* option, int otherwise) const;
    /// Seconds, perhaps with a fraction, as milliseconds. @throws CWrongUse
    int milliseconds(const char* option, int otherwise) const;
};
