#include "gx/CommandLine.h"

#include <algorithm>
#include <charconv>

namespace {
const COption& optionCalled(const std::vector<COption>& options, const std::string& name)
{
    const auto found = std::ranges::find_if(options, [&](const COption& each) { return each.name == name; });
    if (found == options.end())
        throw CWrongUse("there is no option --" + name);
    return *found;
}

int numberIn(const std::string& text, const std::string& what)
{
    int number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size())
        throw CWrongUse(what + " is \"" + text + "\" and not a whole number");
    return number;
}

/// Puts one option into the call, with the word behind it where it takes one.
void readOption(CCall& call, const std::vector<COption>& known, size_t& at)
{
    const std::string& word = call.words[at];
    const size_t equals = word.find('=');
    const COption& option =
        optionCalled(known, word.substr(2, equals == std::string::npos ? equals : equals - 2));
    std::string value;
    if (equals != std::string::npos)
        value = word.substr(equals + 1);
    else if (option.argument && at + 1 < call.words.size())
        value = call.words[++at];
    else if (option.argument)
        throw CWrongUse(word + " wants " + option.argument + " behind it");
    if (!option.argument && equals != std::string::npos)
        throw CWrongUse("--" + std::string(option.name) + " takes no value");
    call.options[option.name] = value;
}

void checkCount(const CCall& call)
{
    const auto count = static_cast<int>(call.arguments.size());
    if (count < call.subcommand.least)
        throw CWrongUse(count == 0 ? "an argument is missing" : "too few arguments");
    if (call.subcommand.most >= 0 && count > call.subcommand.most)
        throw CWrongUse("\"" + call.arguments[static_cast<size_t>(call.subcommand.most)] +
                        "\" is one argument too many");
}
} // namespace

CCall CCall::read(const CSubcommand& subcommand, std::vector<std::string> words)
{
    CCall call{subcommand, std::move(words), {}, {}};
    const bool asksForHelp = !call.words.empty() && (call.words[0] == "--help" || call.words[0] == "-h");
    if (asksForHelp || subcommand.passesOn) {
        if (asksForHelp)
            call.options["help"];
        return call;
    }
    const std::vector<COption> known = subcommand.allOptions();
    for (size_t at = 0; at < call.words.size(); ++at) {
        const std::string& word = call.words[at];
        if (word == "--") {
            call.arguments.insert(call.arguments.end(),
                                  call.words.begin() + static_cast<std::ptrdiff_t>(at) + 1, call.words.end());
            break;
        }
        if (word.starts_with("--"))
            readOption(call, known, at);
        else
            call.arguments.push_back(word);
    }
    if (!call.has("help"))
        checkCount(call);
    return call;
}

std::string CCall::option(const char* name, const char* otherwise) const
{
    const auto found = options.find(name);
    return found == options.end() ? otherwise : found->second;
}

int CCall::number(size_t argument) const
{
    return numberIn(arguments.at(argument), "argument " + std::to_string(argument + 1));
}

int CCall::number(const char* option, int otherwise) const
{
    return has(option) ? numberIn(this->option(option), std::string("--") + option) : otherwise;
}

int CCall::milliseconds(const char* option, int otherwise) const
{
    if (!has(option))
        return otherwise;
    const std::string text = this->option(option);
    double seconds = -1;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), seconds);
    constexpr double longest = 2'000'000;
    if (error != std::errc() || end != text.data() + text.size() || !(seconds >= 0 && seconds <= longest))
        throw CWrongUse("--" + std::string(option) + " is \"" + text + "\" and not a number of seconds");
    return static_cast<int>(seconds * 1000);
}
