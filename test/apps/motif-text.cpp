// A Motif text field. Prints "ready <window id of the field>", and then, on SIGUSR1, "text <what it holds>"
// in UTF-8.
#include <clocale>
#include <csignal>
#include <cstdio>
#include <memory>
#include <unistd.h>

#include <Xm/TextF.h>
#include <Xm/Xm.h>

namespace {
int s_pipe[2];

void onSignal(int)
{
    [[maybe_unused]] const auto told = write(s_pipe[1], "", 1);
}

void report(XtPointer field, int* source, XtInputId*)
{
    char byte;
    [[maybe_unused]] const auto got = read(*source, &byte, 1);
    char* text = XmTextFieldGetString(static_cast<Widget>(field));
    std::printf("text %s\n", text);
    std::fflush(stdout);
    XtFree(text);
}
} // namespace

int main(int argc, char** argv)
{
    std::setlocale(LC_ALL, "");
    XtSetLanguageProc(nullptr, nullptr, nullptr);
    XtAppContext context;
    const Widget shell =
        XtVaOpenApplication(&context, const_cast<char*>("MotifText"), nullptr, 0, &argc, argv, nullptr,
                            applicationShellWidgetClass, XmNwidth, 600, XmNheight, 60, nullptr);
    const Widget field = XmCreateTextField(shell, const_cast<char*>("field"), nullptr, 0);
    XtVaSetValues(field, XmNmaxLength, 100000, nullptr);
    XtManageChild(field);
    XtRealizeWidget(shell);
    if (pipe(s_pipe) != 0)
        return 1;
    XtAppAddInput(context, s_pipe[0], reinterpret_cast<XtPointer>(XtInputReadMask), report, field);
    std::signal(SIGUSR1, onSignal);
    while (!XtWindow(field))
        XtAppProcessEvent(context, XtIMAll);
    XSync(XtDisplay(field), False);
    std::printf("ready %lu\n", XtWindow(field));
    std::fflush(stdout);
    XtAppMainLoop(context);
}
