#include "gx/Manual.h"

#include <algorithm>
#include <cctype>
#include <set>
#include <string_view>
#include <utility>

namespace {
constexpr const char* statuses =
    "0 it is so or was done; 1 not found or not so; 2 wrong use. gx run and gx session end as the program does, and with "
    "125 to 127 when they could not start it.";

/// A line for each word that fits: files and programs may have blanks in them.
constexpr const char* completionFrame = R"(# bash completion for gx
_gx()
{
    local word="${COMP_WORDS[COMP_CWORD]}" before="${COMP_WORDS[COMP_CWORD-1]}" options= kind=
    COMPREPLY=()
    if [ "$COMP_CWORD" -eq 1 ]; then
        mapfile -t COMPREPLY < <(compgen -W "@NAMES@" -- "$word")
        return
    fi
    case "${COMP_WORDS[1]}" in
@CASES@    esac
    case "$before" in
        @FILES@) mapfile -t COMPREPLY < <(compgen -f -- "$word"); return ;;
        @VALUES@) return ;;
    esac
    case "$word" in
        -*) mapfile -t COMPREPLY < <(compgen -W "$options" -- "$word") ;;
        *) [ -z "$kind" ] || mapfile -t COMPREPLY < <(compgen "$kind" -- "$word" | sort -u) ;;
    esac
}
complete -o filenames -F _gx gx
)";

std::string padded(std::string text, size_t width)
{
    text.resize(std::max(text.size() + 1, width), ' ');
    return text;
}

std::string sentence(std::string text)
{
    text[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(text[0])));
    return text + '.';
}

/// Breaks at blanks, so that no line is longer than a terminal is wide.
std::string wrapped(const std::string& text)
{
    constexpr size_t width = 100;
    std::string out, line;
    for (size_t at = 0; at < text.size();) {
        const size_t end = std::min(text.find(' ', at), text.size());
        if (!line.empty() && line.size() + end - at + 1 > width) {
            out += line + '\n';
            line.clear();
        }
        if (!line.empty())
            line += ' ';
        line.append(text, at, end - at);
        at = end + 1;
    }
    return line.empty() ? out : out + line + '\n';
}

std::string named(const COption& option)
{
    return std::string("--") + option.name + (option.argument ? std::string(" ") + option.argument : "");
}

/// Text as roff shows it: no requests at the start of lines, no minus taken for a hyphen.
std::string roff(const std::string& text)
{
    std::string out;
    for (const char each : text)
        out += each == '\\' ? "\\e" : each == '-' ? "\\-" : each == '\'' ? "\\(aq" : std::string(1, each);
    return out.starts_with('.') ? std::string("\\&").append(out) : out;
}

std::string roffOf(const CSubcommand& command)
{
    std::string out = ".SS " + roff("gx " + command.synopsis()) + "\n" + roff(sentence(command.line)) + "\n";
    if (*command.text)
        out += roff(command.text) + "\n";
    for (const COption& option : command.options)
        out += ".TP\n.B " + roff(named(option)) + "\n" + roff(sentence(option.what)) + "\n";
    return out;
}

std::string optionsFor(const CSubcommand& command)
{
    std::string words;
    for (const COption& option : command.allOptions())
        words += std::string(words.empty() ? "" : " ") + "--" + option.name;
    return words;
}

/// The options that take such a word, or any, as a pattern of bash's case.
std::string optionsThatTake(EWord word, bool isAny)
{
    std::set<std::string> names;
    for (const CSubcommand& command : subcommands())
        for (const COption& option : command.options)
            if (option.argument && (isAny || option.word == word))
                names.insert(option.name);
    std::string pattern;
    for (const std::string& name : names)
        pattern.append(pattern.empty() ? "--" : "|--").append(name);
    return pattern;
}

const char* generatorOf(const CSubcommand& command)
{
    return command.word == EWord::File ? "-f" : command.word == EWord::Command ? "-c" : "";
}
} // namespace

std::string Manual::usage()
{
    std::string out = "usage: gx COMMAND [ARGUMENT ...]\n";
    for (const CSubcommand& command : subcommands())
        out += padded(std::string("  ") + command.name, 11) + command.line + "\n";
    return out + "gx COMMAND --help says more, and so does the manual page gx(1).\n";
}

std::string Manual::usageOf(const CSubcommand& command)
{
    std::string out =
        "usage: gx " + command.synopsis() + "\n" + sentence(command.line) + "\n" + wrapped(command.text);
    for (const COption& option : command.allOptions())
        out += padded(std::string("  ").append(named(option)), 22) + option.what + "\n";
    return out;
}

std::string Manual::page()
{
    std::string out = ".TH GX 1 \"\" \"gxsys " GX_VERSION "\" \"User Commands\"\n.SH NAME\n"
                      "gx \\- see and drive the windows of a display\n.SH SYNOPSIS\n";
    for (const CSubcommand& command : subcommands())
        out += ".B gx " + roff(command.synopsis()) + "\n.br\n";
    out +=
        ".SH DESCRIPTION\nWhere a caption is asked for, it is the whole text of a title bar, or what stands there in front "
        "of or behind a dash, or the id of a window as\n.B gx windows\nshows it; of several windows the topmost counts. "
        "With\n.B \\-\\-json\nan answer is one JSON text in UTF\\-8.\n.SH COMMANDS\n";
    for (const CSubcommand& command : subcommands())
        out += roffOf(command);
    return out + ".SH EXIT STATUS\n" + roff(statuses) + "\n.SH SEE ALSO\n.BR Xvfb (1),\n.BR xwininfo (1)\n";
}

std::string Manual::completion()
{
    std::string names, cases;
    for (const CSubcommand& command : subcommands()) {
        names += std::string(names.empty() ? "" : " ") + command.name;
        cases += std::string("        ") + command.name + ") options=\"" + optionsFor(command) +
                 "\" kind=" + generatorOf(command) + " ;;\n";
    }
    const std::string files = optionsThatTake(EWord::File, false), any = optionsThatTake(EWord::Text, true);
    std::string script = completionFrame;
    const std::pair<const char*, std::string> holes[] = {
        {"@NAMES@", names},
        {"@CASES@", cases},
        {"@FILES@", optionsThatTake(EWord::File, false)},
        {"@VALUES@", optionsThatTake(EWord::Text, true)},
    };
    for (const auto& [hole, text] : holes)
        script.replace(script.find(hole), std::string_view(hole).size(), text);
    return script;
}
