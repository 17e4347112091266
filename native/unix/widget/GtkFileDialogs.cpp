#include "unix/widget/GtkFileDialogs.h"

#include "common/text/CodeSet.h"
#include "unix/widget/GtkObjects.h"

#include <algorithm>
#include <initializer_list>

namespace {
// Answers of a GtkDialog that GTK knows by number.
constexpr int reject = -2, accept = -3, ok = -5, cancel = -6, closed = -7, yes = -8, no = -9, apply = -10;

/// Whether a widget asks for a file by itself, and not through another in it.
bool isChooser(_GtkWidget* widget)
{
    return isA(widget, "GtkFileChooserWidget") || isA(widget, "GtkFileChooserDefault");
}

template <class Test> _GtkWidget* firstIn(_GtkWidget* widget, Test test)
{
    if (test(widget))
        return widget;
    for (_GtkWidget* const child : childrenOf(widget))
        if (_GtkWidget* const found = firstIn(child, test))
            return found;
    return nullptr;
}

/// What has the keys to open the field for a name: under GTK 2 the innermost of two.
_GtkWidget* chooserIn(_GtkWidget* window)
{
    _GtkWidget* const outer = firstIn(window, isChooser);
    _GtkWidget* const inner =
        outer ? firstIn(outer, [](_GtkWidget* each) { return isA(each, "GtkFileChooserDefault"); }) : nullptr;
    return inner ? inner : outer;
}

_GtkWidget* firstButton(_GtkWidget* window, std::initializer_list<int> answers)
{
    for (const int answer : answers)
        if (_GtkWidget* const button =
                isA(window, "GtkDialog") ? gtk::responseButton(window, answer) : nullptr)
            return button;
    return nullptr;
}

Rect shownBox(_GtkWidget* widget)
{
    CGdkPlaces places;
    return widget && gtk::isMapped(widget) ? places.boxOf(widget) : Rect();
}

bool isField(_GtkWidget* widget)
{
    return isA(widget, "GtkFileChooserEntry");
}

/// Whether a widget is a list that has no rows yet because they are still being read. Under GTK 2 an empty
/// one may look like that, too.
bool isLoading(_GtkWidget* widget)
{
    return isGTK3() && isA(widget, "GtkTreeView") && gtk::isMapped(widget) && !gtk::treeModel(widget);
}

CFileDialog dialogOf(_GtkWidget* window, _GtkWidget* chooser)
{
    _GtkWidget* const answering = firstButton(window, {accept, ok, yes, apply});
    _GtkWidget* const agreeing = answering ? answering : gtk::defaultWidget(window);
    CFileDialog dialog;
    dialog.window = xWindowOf(window);
    dialog.caption = textOf(window, "title");
    dialog.ok = shownBox(agreeing);
    dialog.cancel = shownBox(firstButton(window, {cancel, closed, no, reject}));
    dialog.file = shownBox(firstIn(chooser, isField));
    dialog.ready = !firstIn(chooser, isLoading);
    dialog.enabled = agreeing && _gtk_widget_is_sensitive(agreeing);
    dialog.okId = reinterpret_cast<unsigned long>(agreeing);
    return dialog;
}

/// Calls visit(window, chooser) for all windows that show and ask for a file, the oldest first.
template <class Visit> void visitChoosers(Visit visit)
{
    std::vector<_GtkWidget*> windows = taken<_GtkWidget>(gtk::toplevels());
    std::reverse(windows.begin(), windows.end());
    for (_GtkWidget* const window : windows)
        if (_GtkWidget* const chooser = isOnScreen(window) ? chooserIn(window) : nullptr;
            chooser && gtk::isMapped(chooser))
            visit(window, chooser);
}

/// A value for the time of a call.
class CValue {
public:
    explicit CValue(unsigned long type) { g::initValue(&m_value, type); }
    ~CValue() { g::unsetValue(&m_value); }
    CValue(const CValue&) = delete;
    GxGValue* get() { return &m_value; }

private:
    GxGValue m_value;
};

std::string utf8Of(const CJString& text)
{
    std::string utf8;
    fromUnits("UTF-8", text.units(), utf8);
    return utf8;
}

/// As Control+L and typing do.
void typeIntoField(_GtkWidget* chooser, const std::string& file)
{
    const unsigned signal = g::signalNamed("location-popup", typeOf(chooser));
    if (!signal)
        return;
    CValue self(typeOf(chooser)), text(stringType);
    g::setObject(self.get(), chooser);
    g::setString(text.get(), file.c_str());
    const GxGValue arguments[] = {*self.get(), *text.get()};
    g::emit(arguments, signal, 0, nullptr);
    if (!isGTK3()) // whose first one only leaves the list of files used lately
        g::emit(arguments, signal, 0, nullptr);
}

/// The names that come up below the field would take the next click for themselves.
void keepNamesDown(_GtkWidget* chooser)
{
    _GtkWidget* const field = firstIn(chooser, isField);
    if (void* const completion = field ? gtk::completion(field) : nullptr)
        gtk::setCompletionPopup(completion, 0);
}

/// A file that the program has named is selected once its folder is read, and would take the field back.
void nameFile(_GtkWidget* chooser, const std::string& file)
{
    constexpr int save = 1, createFolder = 3;
    const int action = gtk::chooserAction(chooser);
    gtk::unselectFiles(chooser);
    if (action == save || action == createFolder)
        gtk::setFileName(chooser, file.c_str());
    else
        typeIntoField(chooser, file);
    keepNamesDown(chooser);
}
} // namespace

std::vector<CFileDialog> gtkFileDialogs()
{
    std::vector<CFileDialog> dialogs;
    visitChoosers(
        [&](_GtkWidget* window, _GtkWidget* chooser) { dialogs.push_back(dialogOf(window, chooser)); });
    return dialogs;
}

void setGtkFile(unsigned long window, const CJString& file)
{
    visitChoosers([&](_GtkWidget* each, _GtkWidget* chooser) {
        if (xWindowOf(each) == window)
            nameFile(chooser, utf8Of(file));
    });
}
