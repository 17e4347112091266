#include "gx/Table.h"

#include "gx/Commands.h"

#include <algorithm>

namespace {
constexpr EWord text = EWord::Text;
const COption helpOption{"help", nullptr, text, "this text"};
const COption jsonOption{"json", nullptr, text, "answers with one JSON text in UTF-8"};
const COption windowOption{"window", "CAPTION", text, "the window"};
const COption limitOption{"limit", "SECONDS", text, "the longest wait (10)"};

/// The order is that of usage texts.
// NOLINTNEXTLINE(readability-function-size): it is all data
const std::vector<CSubcommand>& table()
{
    // clang-format off
    static const std::vector<CSubcommand> s_table{
        {"windows", "[PATTERN]", "lists the windows that a user sees",
         "Each with its id, the process that shows it, place and size without its frame, class and caption, the bottom of the "
         "stack first. PATTERN is an extended regular expression, looked for in captions and classes in any case.", 0, 1, text,
         true, false, {}, runWindows},
        {"at", "X Y", "tells the window at a point of the screen",
         "The innermost window there, and the program's window around it.", 2, 2, text, true, false, {}, runAt},
        {"wait", "", "waits for a window to come or go, or for quiet",
         "With --window alone until it is on the screen, with --gone as well until it no longer is, with --idle until its program "
         "rests. --idle alone waits until nothing on the screen has changed for a quarter of a second.", 0, 0, text, true,
         false, {windowOption, {"gone", nullptr, text, "until the window has gone"},
         {"idle", nullptr, text, "until nothing is drawn any more"}, limitOption}, runWait},
        {"click", "[X Y]", "clicks at a point, or on what says a text",
         "Returns when the program has taken the click. --text looks for what can be clicked in programs that gx run has started: "
         "buttons, toggles, tabs, labels, in the active window unless --in names one.", 0, 2, text, false, false,
         {{"text", "TEXT", text, "what to click on, by what it says"}, {"in", "CAPTION", text, "the window it is in"},
         {"button", "NAME", text, "left, middle or right (left)"}, {"count", "N", text, "clicks (1)"},
         {"limit", "SECONDS", text, "the longest wait for what --text names (5)"}}, runClick},
        {"type", "TEXT", "types a text into the window with the focus",
         "As it stands, in the code set of the locale. Returns when the program has taken it.", 1, 1, text, false, false, {},
         runType},
        {"keys", "KEYSTRING", "types keys into the window with the focus",
         "For example ^s{ENTER}{DOWN 20}: ^ + % hold Control, Shift and Alt for the next key, names stand in braces. Nothing is typed "
         "when there is a mistake in it.", 1, 1, text, false, false, {}, runKeys},
        {"run", "PROGRAM [ARGUMENT ...]", "starts a program that can be asked for its widgets",
         "The program is not changed, and behaves as it does without; gx tree, menu, click --text and inspect work with it. The same "
         "as gxrun. Ends as the program does; 125 to 127 when it could not be started.", 0, -1, EWord::Command, false, true,
         {{"follow", nullptr, text, "the programs that it starts can be asked, too"},
         {"library", "FILE", EWord::File, "libgxsys.so to use"}, {"jar", "FILE", EWord::File, "gxsys.jar to use"},
         {"domain", "NAME", text, "test domain to load in the program"},
         {"end-with", "PID", text, "the program ends when that process does"}}, runRun},
        {"tree", "[PID|CAPTION]", "shows the widgets of a program",
         "Of a program that gx run has started: by its process, by one of its windows, which then is all that is shown, or that of "
         "the active window.", 0, 1, text, true, false, {}, runInEngine},
        {"menu", "PID|CAPTION ITEM ...", "chooses an item of a menu",
         "As a user does, by clicks on the items on the way: gx menu 4711 File Open... With --look it only opens the menus, says "
         "whether the item is enabled, and closes them.", 2, -1, text, true, false,
         {{"look", nullptr, text, "how the item is, without choosing it"}, limitOption}, runInEngine},
        {"shot", "FILE", "takes a picture of the screen or of a window",
         "As a PNG file; - stands for standard output. Frames of gx are not in it, and what covers a window is.", 1, 1,
         EWord::File, false, false, {windowOption}, runShot},
        {"frame", "X Y WIDTH HEIGHT", "shows a red frame around a part of the screen", "And returns when it has gone.", 4, 4,
         text, false, false, {{"for", "SECONDS", text, "how long it shows (3)"}}, runFrame},
        {"session", "[OPTION ...] -- COMMAND ...", "runs a command on a display of its own",
         "With a window manager, and where allowed System V IPC of its own. All that the command has started ends with it. The same "
         "as gxsession; ends as the command does.", 0, -1, EWord::Command, false, true,
         {{"screen", "WIDTHxHEIGHTxDEPTH", text, "of the screen (1280x1024x24)"},
         {"wm", "PROGRAM|none", text, "the window manager"},
         {"check", nullptr, text, "fails when System V objects are left behind"},
         {"environment", nullptr, text, "says what is found for sessions on this machine"}}, runSession},
        {"inspect", "[OPTION ...] PROGRAM [ARGUMENT ...]|PID", "shows widgets and how to find them, in a browser",
         "Starts the program, or looks into a process that gx run has started, and says at which address of this machine a browser "
         "finds the page.", 0, -1, EWord::Command, false, true,
         {{"follow", nullptr, text, "the programs that it starts can be asked, too"},
         {"port", "PORT", text, "of the page; any that is free without it"}}, runInspect},
        {"store", "", "shows what processes share on this display",
         "Heaps, names, mutexes and who holds them, mailslots and who receives there, and what dead processes have left. Nothing is "
         "made or changed by looking. --sweep removes what dead processes of this user have left: never what belongs to a process "
         "that lives or cannot be seen from here, nor to another user.", 0, 0, text, true, false,
         {{"sweep", nullptr, text, "removes what dead processes of this user have left"}}, runStore},
        {"doctor", "", "says what keeps tests from running here",
         "One line for each thing looked at, and for what is wrong what to do about it. Ends with 1 when something keeps tests from "
         "running; what only disturbs them is told and ends with 0.", 0, 0, text, true, false, {}, runDoctor},
        {"help", "[COMMAND]", "explains a command", "", 0, 1, text, false, false,
         {{"manual", nullptr, text, "the manual page, in roff"}, {"completion", nullptr, text, "the completion for bash"}},
         runHelp},
    };
    // clang-format on
    return s_table;
}
} // namespace

std::span<const CSubcommand> subcommands()
{
    return table();
}

const CSubcommand* subcommandCalled(const std::string& name)
{
    const auto found =
        std::ranges::find_if(table(), [&](const CSubcommand& each) { return each.name == name; });
    return found == table().end() ? nullptr : &*found;
}

std::vector<COption> CSubcommand::allOptions() const
{
    std::vector<COption> all = options;
    if (answersData)
        all.push_back(jsonOption);
    all.push_back(helpOption);
    return all;
}

std::string CSubcommand::synopsis() const
{
    std::string out = name;
    for (const COption& option : passesOn ? std::vector<COption>() : allOptions())
        if (std::string(option.name) != "help")
            out += std::string(" [--") + option.name +
                   (option.argument ? std::string(" ") + option.argument : "") + "]";
    return *arguments ? out + " " + arguments : out;
}
