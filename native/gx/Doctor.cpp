// gx doctor: looks at one thing after the other and tells.
#include "gx/Doctor.h"

#include "gx/CommandLine.h"
#include "gx/Commands.h"
#include "gx/Json.h"

#include <cstdio>
#include <cstdlib>
#include <vector>

#include "unix/window/XErrors.h"

namespace {
enum class EState { Fine, NotLookedAt, Disturbs, Stops };

struct CResult {
    const CExamination& row;
    EState state;
    std::string found;
};

bool hasWhat(const CExamination& row)
{
    const char* const display = std::getenv("DISPLAY");
    return row.needs == CExamination::Nothing ||
           (display && *display && (row.needs == CExamination::Display || walkDisplay()));
}

CResult look(const CExamination& row)
{
    if (!hasWhat(row))
        return {row, EState::NotLookedAt, {}};
    const auto found = row.look();
    return {row, !found ? EState::Fine : row.stops ? EState::Stops : EState::Disturbs, found.value_or("")};
}

const char* nameOf(EState state)
{
    constexpr const char* names[] = {"fine", "not looked at", "disturbs", "stops"};
    return names[static_cast<int>(state)];
}

std::string wrongIn(const CResult& result)
{
    return result.row.wrong + (result.found.empty() ? "" : " (" + result.found + ")");
}

void print(const CResult& result)
{
    const bool isWrong = result.state >= EState::Disturbs;
    std::printf("%-13s  %-15s %s\n", nameOf(result.state), result.row.name,
                isWrong ? wrongIn(result).c_str() : result.row.checks);
    if (isWrong)
        std::printf("%-13s  %-15s -> %s\n", "", "", result.row.remedy);
}

void write(CJson& json, const CResult& result)
{
    const bool isWrong = result.state >= EState::Disturbs;
    json.object()
        .member("name", result.row.name)
        .member("checks", result.row.checks)
        .member("state", nameOf(result.state));
    if (isWrong)
        json.member("wrong", result.row.wrong)
            .member("found", result.found)
            .member("remedy", result.row.remedy);
    json.endObject();
}
} // namespace

int runDoctor(const CCall& call)
{
    CJson json;
    json.array();
    bool isStopped = false;
    for (const CExamination& row : examinations()) {
        const CResult result = look(row);
        isStopped = isStopped || result.state == EState::Stops;
        if (call.json())
            write(json, result);
        else
            print(result);
    }
    if (call.json())
        json.endArray().print();
    return isStopped ? StatusNotSo : StatusFine;
}
