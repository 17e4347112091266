/// What keeps tests from running here, or disturbs them: one row for each thing that is looked at.
#pragma once

#include <optional>
#include <span>
#include <string>

struct CExamination {
    enum ENeeds { Nothing, Display, Server };

    const char* name;   ///< by which scripts know it; stays
    const char* checks; ///< what is so when all is well
    const char* wrong;  ///< what it means when it is not, in plain words
    const char* remedy; ///< what to do then
    bool stops;         ///< it keeps tests from running; else it disturbs them
    ENeeds needs;       ///< without it, it is not looked at
    /// What was found; nothing when all is well.
    std::optional<std::string> (*look)();
};

std::span<const CExamination> examinations();
