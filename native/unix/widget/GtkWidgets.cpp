#include "unix/widget/WidgetTree.h"

#include "include/NeverDestroyed.h"
#include "unix/widget/GtkFileDialogs.h"
#include "unix/widget/GtkObjects.h"
#include "unix/widget/GtkRows.h"
#include "unix/widget/GtkScroll.h"
#include "unix/window/Toolkit.h"
#include "unix/window/WindowManagerUnix.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string_view>
#include <utility>

namespace {
/// What a widget class is to a user, and what it has to tell beyond what all widgets do.
struct CGtkKind {
    const char* type;
    const char* role;
    void (*read)(_GtkWidget* widget, CWidgetNode& node) = nullptr;
    bool takesInnerText = false; ///< what it says stands in a label inside of it
    bool isLeaf = false;         ///< what is in it is of no interest
};

/// Tooltips, and what menus and choices open in, are windows for GTK alone.
void readTitle(_GtkWidget* widget, CWidgetNode& node)
{
    constexpr int popup = 1;
    node.text = textOf(widget, "title");
    if (intOf(widget, "type") == popup)
        node.role = "OTHER";
}

void readLabel(_GtkWidget* widget, CWidgetNode& node)
{
    node.text = textOrNone(_gtk_label_get_text(reinterpret_cast<_GtkLabel*>(widget)));
}

void readCaption(_GtkWidget* widget, CWidgetNode& node)
{
    node.text = textOf(widget, "label");
}

void readActive(_GtkWidget* widget, CWidgetNode& node)
{
    node.checked = truthOf(widget, "active");
}

/// A tool button may show a picture alone; where there is no room for it, a menu shows this.
void readToolButton(_GtkWidget* widget, CWidgetNode& node)
{
    std::string caption = textOf(widget, "label");
    if (truthOf(widget, "use-underline").value_or(false))
        std::erase(caption, '_');
    if (!caption.empty())
        node.label = caption;
}

void readToggleToolButton(_GtkWidget* widget, CWidgetNode& node)
{
    readToolButton(widget, node);
    readActive(widget, node);
}

void readExpander(_GtkWidget* widget, CWidgetNode& node)
{
    node.checked = truthOf(widget, "expanded");
}

/// An item of a GMenu is one button for all kinds; the others are 1, check, and 2, radio. GTK takes the property
/// "text" from a label that the program may have taken out and freed: what is in the button now says it.
void readModelButton(_GtkWidget* widget, CWidgetNode& node)
{
    if (intOf(widget, "role").value_or(0) != 0)
        node.checked = truthOf(widget, "active");
}

/// What is typed for a password or PIN is secret even while the program shows it.
bool isForSecrets(_GtkWidget* widget)
{
    constexpr int password = 8, pin = 9;
    const int purpose = intOf(widget, "input-purpose").value_or(0);
    return purpose == password || purpose == pin;
}

void readEntry(_GtkWidget* widget, CWidgetNode& node)
{
    node.editable = truthOf(widget, "editable").value_or(false);
    node.secret = !truthOf(widget, "visibility").value_or(true) || isForSecrets(widget);
    if (!node.secret)
        node.text = textOf(widget, "text");
}

/// In GTK 3 the middle of one is a button to count down by.
void narrowToField(_GtkWidget* widget, CWidgetNode& node)
{
    _GtkAllocation field{};
    gtk::textArea(widget, &field);
    _GdkDrawable* const window = _gtk_widget_get_window(widget);
    const int scale = window ? std::max(_gdk_window_get_scale_factor(window), 1) : 1;
    if (field.width > 0 && node.box.getWidth() > 0)
        node.box = Rect(node.box.getTop() + field.y * scale, node.box.getLeft() + field.x * scale,
                        field.height * scale, field.width * scale);
}

void readSpinButton(_GtkWidget* widget, CWidgetNode& node)
{
    readEntry(widget, node);
    narrowToField(widget, node);
    if (!node.secret)
        node.value = numberOf(widget, "value");
}

void readTextView(_GtkWidget* widget, CWidgetNode& node)
{
    void* const buffer = gtk::textBuffer(widget);
    node.editable = gtk::isTextEditable(widget) != 0;
    node.secret = isForSecrets(widget);
    if (!buffer || node.secret)
        return;
    constexpr int most = static_cast<int>(CTreeLimits::characters);
    GxTextIter begin, end;
    gtk::textPlace(buffer, &begin, 0);
    gtk::textPlace(buffer, &end, std::min(gtk::characters(buffer), most));
    node.text = takenText(gtk::bufferText(buffer, &begin, &end, 1));
    node.textCut = gtk::characters(buffer) > most;
}

void readRange(_GtkWidget* widget, CWidgetNode& node)
{
    node.value = numberOf(gtk::adjustment(widget), "value");
}

void readProgress(_GtkWidget* widget, CWidgetNode& node)
{
    node.value = numberOf(widget, "fraction");
    node.text = textOf(widget, "text");
}

void readLevel(_GtkWidget* widget, CWidgetNode& node)
{
    node.value = numberOf(widget, "value");
}

void readCellView(_GtkWidget* widget, CWidgetNode& node)
{
    node.text = cellViewText(widget);
}

void readListRow(_GtkWidget* widget, CWidgetNode& node)
{
    node.selected = gtk::isRowSelected(widget) != 0;
}

void readFlowChild(_GtkWidget* widget, CWidgetNode& node)
{
    node.selected = gtk::isChildSelected(widget) != 0;
}

/// A colour to choose says its name to nobody but the blind.
void readSwatch(_GtkWidget* widget, CWidgetNode& node)
{
    constexpr int selected = 1 << 2;
    node.text = textOrNone(atk::name(gtk::accessible(widget)));
    node.checked = (gtk::stateFlags(widget) & selected) != 0;
}

/// The months count from 0 for GTK alone.
void readCalendar(_GtkWidget* widget, CWidgetNode& node)
{
    char date[32];
    std::snprintf(date, sizeof date, "%04d-%02d-%02d", intOf(widget, "year").value_or(0),
                  intOf(widget, "month").value_or(0) + 1, intOf(widget, "day").value_or(0));
    node.text = date;
}

bool isItem(const CWidgetNode& node)
{
    return std::string_view(node.role) == "ITEM" ||
           std::any_of(node.children.begin(), node.children.end(), isItem);
}

/// What shows when the pointer rests on a tool item stands with what fills it.
std::string tipOfItem(const CWidgetNode& item)
{
    return item.tip.empty() && !item.children.empty() ? item.children.front().tip : item.tip;
}

CWidgetNode* firstOf(std::string_view role, CWidgetNode& node)
{
    CWidgetNode* found = role == node.role ? &node : nullptr;
    for (auto child = node.children.begin(); !found && child != node.children.end(); ++child)
        found = firstOf(role, *child);
    return found;
}

/// A combo box is what shows in it: its choice, or an entry to type into.
void readCombo(CWidgetNode& node)
{
    const CWidgetNode* entry = nullptr;
    for (const CWidgetNode& child : node.children)
        if (std::string_view(child.role) == "TEXT_FIELD")
            entry = &child;
    node.text = entry ? entry->text : firstText(node);
    if (entry) {
        node.editable = entry->editable;
        node.secret = entry->secret;
        node.focused = entry->focused;
        if (const CWidgetNode* const arrow = firstOf("TOGGLE", node))
            node.opener = arrow->box;
    }
    node.children.clear();
}

/// A tool button with a menu is two buttons in a box: the first is the one that is called as the whole is.
void readMenuToolButton(_GtkWidget* widget, CWidgetNode& node)
{
    CWidgetNode* const button = firstOf("PUSH_BUTTON", node);
    if (!button)
        return;
    button->role = "TOOL_ITEM";
    readToolButton(widget, *button);
    if (button->label == button->text)
        button->label.clear();
    if (button->tip.empty())
        button->tip = tipOfItem(node);
}

constexpr CGtkKind kinds[] = {
    {"GtkWidget", "OTHER"},
    {"GtkContainer", "CONTAINER"},
    {"GtkWindow", "WINDOW", readTitle},
    {"GtkDialog", "DIALOG", readTitle},
    {"GtkAssistant", "DIALOG", readTitle},
    {"GtkFrame", "CONTAINER", readCaption},
    {"GtkExpander", "TOGGLE", readExpander},
    {"GtkMenuBar", "MENU_BAR"},
    {"GtkMenu", "MENU"},
    {"GtkPopover", "CONTAINER"},
    {"GtkPopoverMenu", "MENU"},
    {"GtkMenuItem", "ITEM", nullptr, true},
    {"GtkCheckMenuItem", "ITEM", readActive, true},
    {"GtkModelButton", "ITEM", readModelButton, true},
    {"GtkListBoxRow", "ITEM", readListRow, true},
    {"GtkFlowBoxChild", "ITEM", readFlowChild, true},
    {"GtkButton", "PUSH_BUTTON", nullptr, true},
    {"GtkToggleButton", "TOGGLE", readActive, true},
    {"GtkSwitch", "TOGGLE", readActive},
    {"GtkCheckButton", "CHECK_BOX", readActive, true},
    {"GtkRadioButton", "RADIO_BUTTON", readActive, true},
    {"GtkColorSwatch", "RADIO_BUTTON", readSwatch},
    {"GtkToolButton", "TOOL_ITEM", readToolButton, true, true},
    {"GtkToggleToolButton", "TOOL_ITEM", readToggleToolButton, true, true},
    {"GtkMenuToolButton", "CONTAINER"},
    {"GtkSeparatorToolItem", "OTHER"},
    {"GtkOptionMenu", "OPTION_MENU", nullptr, true},
    {"GtkEntry", "TEXT_FIELD", readEntry},
    {"GtkSpinButton", "SPIN_BUTTON", readSpinButton},
    {"GtkTextView", "TEXT_AREA", readTextView},
    {"GtkLabel", "LABEL", readLabel},
    {"GtkCellView", "LABEL", readCellView},
    {"GtkImage", "IMAGE"},
    {"GtkArrow", "IMAGE"},
    {"GtkComboBox", "COMBO_BOX"},
    {"GtkTreeView", "TABLE"},
    {"GtkIconView", "LIST"},
    {"GtkListBox", "LIST"},
    {"GtkFlowBox", "LIST"},
    {"GtkScale", "SCALE", readRange},
    {"GtkScrollbar", "SCROLL_BAR", readRange},
    {"GtkProgressBar", "PROGRESS_BAR", readProgress},
    {"GtkLevelBar", "PROGRESS_BAR", readLevel},
    {"GtkCalendar", "OTHER", readCalendar},
};

/// The kind of the nearest class that is known: every widget is at least a GtkWidget.
const CGtkKind& kindOf(unsigned long type)
{
    // Another thread may exit.
    static CNeverDestroyed<std::unordered_map<unsigned long, const CGtkKind*>> s_known;
    const CGtkKind*& kind = (*s_known)[type];
    for (unsigned long each = type; each && !kind; each = g::parentType(each)) {
        const std::string name = textOrNone(g::typeName(each));
        const auto found = std::find_if(std::begin(kinds), std::end(kinds),
                                        [&](const CGtkKind& known) { return name == known.type; });
        kind = found == std::end(kinds) ? nullptr : &*found;
    }
    return kind ? *kind : kinds[0];
}

/// What the program or its builder file calls a widget; GTK names those that nobody has named by their class, and
/// so it does in the builder files of its own classes.
std::string nameOf(_GtkWidget* widget)
{
    constexpr std::string_view automatic = "___object_";
    for (const char* const each : {gtk::builderName(widget), gtk::name(widget)})
        if (std::string name = textOrNone(each);
            !name.empty() && !name.starts_with(automatic) && !g::typeFromName(name.c_str()))
            return name;
    return {};
}

std::string mnemonicLabelOf(_GtkWidget* widget)
{
    std::string text;
    for (_GtkWidget* const label : taken<_GtkWidget>(gtk::mnemonicLabels(widget)))
        if (text.empty() && isGtkInstance(label, _gtk_label_get_type()))
            text = textOrNone(_gtk_label_get_text(reinterpret_cast<_GtkLabel*>(label)));
    return text;
}

/// Reads the widgets below one.
class CGtkReader {
public:
    CWidgetNode readWindow(_GtkWidget* window);
    bool takeWidget() { return m_budget.takeWidget(); }

private:
    CWidgetNode read(_GtkWidget* widget, bool aroundShows, int depth);
    void collectPopovers(_GtkWidget* widget);
    void readFacts(_GtkWidget* widget, const CGtkKind& kind, CWidgetNode& node);
    void readChildren(_GtkWidget* widget, CWidgetNode& node, int depth);
    void readNotebook(_GtkWidget* notebook, CWidgetNode& node, int depth);
    void readExpander(_GtkWidget* expander, _GtkWidget* title, CWidgetNode& node, int depth);
    CWidgetNode* add(_GtkWidget* child, CWidgetNode& node, int depth);

    CGdkPlaces m_places;
    CTreeBudget m_budget;
    std::vector<_GtkWidget*> m_popovers; ///< of the window that is being read, which show
};

/// A popover lies in the window, whose container does not tell; the widget that it points at knows.
void CGtkReader::collectPopovers(_GtkWidget* widget)
{
    void* const table = isGTK3() ? g::dataOf(widget, "gtk-quark-widget-popovers") : nullptr;
    for (_GtkWidget* const popover : table ? taken<_GtkWidget>(g::keysOf(table)) : std::vector<_GtkWidget*>())
        if (gtk::isMapped(popover))
            m_popovers.push_back(popover);
}

/// One that shows an icon keeps its label hidden.
std::string hiddenText(const CWidgetNode& node)
{
    std::string text = node.text;
    for (auto child = node.children.begin(); text.empty() && child != node.children.end(); ++child)
        text = hiddenText(*child);
    return text;
}

CWidgetNode CGtkReader::readWindow(_GtkWidget* window)
{
    m_popovers.clear();
    CWidgetNode node = read(window, true, 0);
    // NOLINTNEXTLINE(modernize-loop-convert): one may have others, which come behind
    for (size_t each = 0; each < m_popovers.size(); ++each)
        add(m_popovers[each], node, 0);
    return node;
}

void CGtkReader::readFacts(_GtkWidget* widget, const CGtkKind& kind, CWidgetNode& node)
{
    node.className = textOrNone(g::typeName(typeOf(widget)));
    node.role = kind.role;
    node.id = reinterpret_cast<unsigned long>(widget);
    node.name = nameOf(widget);
    node.tip = takenText(gtk::tooltip(widget));
    node.label = mnemonicLabelOf(widget);
    node.enabled = _gtk_widget_is_sensitive(widget) != 0;
    node.focused = gtk::hasFocus(widget) != 0;
    node.box = m_places.boxOf(widget);
    node.window = xWindowOf(widget);
    if (kind.read)
        kind.read(widget, node);
}

CWidgetNode CGtkReader::read(_GtkWidget* widget, bool aroundShows, int depth)
{
    const CGtkKind& kind = kindOf(typeOf(widget));
    CWidgetNode node;
    node.showing = aroundShows && gtk::isMapped(widget);
    readFacts(widget, kind, node);
    collectPopovers(widget);
    if (isA(widget, "GtkTreeView"))
        readTreeView(widget, m_places, node);
    if (isA(widget, "GtkIconView"))
        readIconView(widget, m_places, node);
    readChildren(widget, node, depth);
    if (isA(widget, "GtkPopover") && isItem(node))
        node.role = "MENU";
    if (std::string_view(kind.role) == "COMBO_BOX")
        readCombo(node);
    if (kind.takesInnerText) {
        if (node.text.empty())
            node.text = firstText(node);
        if (node.text.empty() && isA(widget, "GtkModelButton"))
            node.text = hiddenText(node);
        dropDecoration(node);
    }
    if (isA(widget, "GtkMenuToolButton"))
        readMenuToolButton(widget, node);
    if (kind.isLeaf) {
        node.tip = tipOfItem(node);
        node.children.clear();
    }
    if (node.label == node.text)
        node.label.clear(); // the mnemonic of what a button says leads to the button
    return node;
}

CWidgetNode* CGtkReader::add(_GtkWidget* child, CWidgetNode& node, int depth)
{
    if (depth >= CTreeLimits::depth || !m_budget.takeWidget()) {
        node.childrenCut = true;
        return nullptr;
    }
    return &node.children.emplace_back(read(child, node.showing, depth + 1));
}

void CGtkReader::readChildren(_GtkWidget* widget, CWidgetNode& node, int depth)
{
    if (isA(widget, "GtkNotebook")) {
        readNotebook(widget, node, depth);
        return;
    }
    if (void* const title = isA(widget, "GtkExpander") ? objectOf(widget, "label-widget") : nullptr) {
        readExpander(widget, static_cast<_GtkWidget*>(title), node, depth);
        return;
    }
    for (_GtkWidget* const child : childrenOf(widget))
        if (gtk::parent(child) && (node.childrenCut || !add(child, node, depth))) // not destroyed meanwhile
            return;
}

/// A press opens and closes it on its title alone; what it hides may be mapped until it has been open once.
void CGtkReader::readExpander(_GtkWidget* expander, _GtkWidget* title, CWidgetNode& node, int depth)
{
    const bool shows = node.showing;
    const std::optional<bool> isOpen = std::exchange(node.checked, std::nullopt);
    node.role = "CONTAINER";
    if (CWidgetNode* const toggle = add(title, node, depth)) {
        toggle->text = firstText(*toggle);
        toggle->role = "TOGGLE";
        toggle->checked = isOpen;
        toggle->focused = std::exchange(node.focused, false);
        dropDecoration(*toggle);
    }
    node.showing = shows && isOpen.value_or(true);
    for (_GtkWidget* const child : childrenOf(expander))
        if (child != title && gtk::parent(child) && !node.childrenCut)
            add(child, node, depth);
    node.showing = shows;
}

/// Whether there is no room for a tab until its page comes to the front.
bool isScrolledAway(_GtkWidget* notebook, _GtkWidget* page, _GtkWidget* label)
{
    return !gtk::isMapped(label) && truthOf(notebook, "show-tabs").value_or(false) &&
           truthOf(notebook, "scrollable").value_or(false) && truthOf(page, "visible").value_or(false) &&
           truthOf(label, "visible").value_or(false);
}

/// What stands on a tab is any widget; the tab itself is none.
void CGtkReader::readNotebook(_GtkWidget* notebook, CWidgetNode& node, int depth)
{
    const int current = gtk::currentPage(notebook);
    for (int index = 0; index < gtk::pageCount(notebook) && !node.childrenCut; ++index) {
        _GtkWidget* const page = gtk::page(notebook, index);
        _GtkWidget* const label = gtk::tabLabel(notebook, page);
        if (CWidgetNode* const tab = label ? add(label, node, depth) : nullptr) {
            tab->text = firstText(*tab);
            tab->role = "TAB";
            tab->selected = index == current;
            dropDecoration(*tab);
            if (node.showing && isScrolledAway(notebook, page, label)) {
                tab->showing = true;
                tab->box = {};
            }
        }
        add(page, node, depth);
    }
}

/// A menu stands in a window that GTK makes for it alone.
CWidgetNode withoutMenuWindow(CWidgetNode node)
{
    if (node.children.size() != 1 || std::string_view(node.children.front().role) != "MENU")
        return node;
    CWidgetNode menu = std::move(node.children.front());
    menu.window = node.window;
    return menu;
}

bool holds(const Rect& box, int x, int y)
{
    return x >= box.getLeft() && y >= box.getTop() && x < box.getLeft() + box.getWidth() &&
           y < box.getTop() + box.getHeight();
}

/// The innermost GdkWindow at a place in another, topmost first, as GDK itself looks for the one that gets a
/// press. Windows that X11 knows were told apart by the server already.
_GdkDrawable* windowAt(_GdkDrawable* window, int x, int y)
{
    for (_GList* each = _gdk_window_peek_children(window); each; each = each->next) {
        auto* const child = static_cast<_GdkDrawable*>(each->data);
        if (_gdk_window_has_native(child) || !gdk::isVisible(child) || gdk::letsPass(child))
            continue;
        int left = 0, top = 0, width = 0, height = 0, depth = 0;
        _gdk_window_get_position(child, &left, &top);
        _gdk_window_get_geometry(child, &depth, &depth, &width, &height, &depth);
        if (holds(Rect(top, left, height, width), x, y))
            return windowAt(child, x - left, y - top);
    }
    return window;
}

/// The innermost of the widgets that are drawn into the window of the one that gets the press.
_GtkWidget* widgetAt(_GtkWidget* widget, CGdkPlaces& places, const Point& point)
{
    const std::vector<_GtkWidget*> children = childrenOf(widget);
    const auto found = std::find_if(children.rbegin(), children.rend(), [&](_GtkWidget* child) {
        return !gtk::hasWindow(child) && gtk::isMapped(child) &&
               holds(places.boxOf(child), point.getx(), point.gety());
    });
    return found == children.rend() ? widget : widgetAt(*found, places, point);
}

std::vector<unsigned long> withThoseAround(_GtkWidget* widget)
{
    std::vector<unsigned long> chain;
    for (; widget; widget = gtk::parent(widget))
        chain.push_back(reinterpret_cast<unsigned long>(widget));
    return chain;
}

/// The widget that takes all presses, that of the window group of a widget.
_GtkWidget* grabAround(_GtkWidget* widget)
{
    void* const group = gtk::groupOf(gtk::toplevel(widget));
    _GtkWidget* const own = group ? gtk::grabOf(group) : nullptr;
    return own ? own : gtk::currentGrab();
}

/// A widget by its address, looked for among all there are; null when it has gone.
_GtkWidget* findIn(const std::vector<_GtkWidget*>& widgets, unsigned long id)
{
    for (_GtkWidget* const each : widgets) {
        if (reinterpret_cast<unsigned long>(each) == id)
            return each;
        if (_GtkWidget* const found = findIn(childrenOf(each), id))
            return found;
    }
    return nullptr;
}

/// @param part  of the widget
void scrollTo(_GtkWidget* scrolled, _GtkWidget* content, _GtkWidget* widget, const _GtkAllocation& part)
{
    int x = 0, y = 0;
    if (!gtk::translate(widget, content, part.x, part.y, &x, &y))
        return;
    gtk::clampPage(gtk::horizontal(scrolled), x, x + part.width);
    gtk::clampPage(gtk::vertical(scrolled), y, y + part.height);
}

/// @return whether anything scrolls around it
bool scrollAround(_GtkWidget* widget, const _GtkAllocation& part)
{
    bool scrolls = false;
    for (_GtkWidget* each = widget; each; each = gtk::parent(each)) {
        _GtkWidget* const scrolled = isA(each, "GtkViewport") ? gtk::parent(each) : nullptr;
        if (isA(gtk::parent(each), "GtkMenu")) { // one that is too long scrolls to what is selected
            gtk::selectItem(gtk::parent(each), each);
            return true;
        }
        if (!scrolled || !isA(scrolled, "GtkScrolledWindow"))
            continue;
        scrolls = true;
        if (_GtkWidget* const content = _gtk_bin_get_child(reinterpret_cast<_GtkBin*>(each)))
            scrollTo(scrolled, content, widget, part);
    }
    return scrolls;
}

/// GTK scrolls to a tab by bringing its page to the front. @return whether it is a tab
bool turnTo(_GtkWidget* label)
{
    _GtkWidget* const notebook = gtk::parent(label);
    for (int index = isA(notebook, "GtkNotebook") ? gtk::pageCount(notebook) - 1 : -1; index >= 0; --index)
        if (gtk::tabLabel(notebook, gtk::page(notebook, index)) == label) {
            gtk::turnToPage(notebook, index);
            return true;
        }
    return false;
}

_GtkWidget* widgetOf(unsigned long id)
{
    return findIn(taken<_GtkWidget>(gtk::toplevels()), id);
}

class CGtkWidgets final : public IWidgetToolkit {
public:
    void hold(const std::function<void()>& work) const override
    {
        const CGHold held;
        work();
    }
    std::vector<CWidgetNode> windows() const override;
    std::vector<unsigned long> at(const Point& point) const override;
    bool reveal(unsigned long id) const override;
    std::vector<CWidgetRow> rows(unsigned long id, size_t first, size_t count) const override;
    std::vector<std::vector<std::string>> texts(unsigned long id, size_t first, size_t count) const override;
    bool revealRow(unsigned long id, const std::string& path, int column) const override;
    std::optional<CScrollBar> scrollBar(unsigned long id) const override;
    std::vector<CFileDialog> fileDialogs() const override { return gtkFileDialogs(); }
    void setFile(unsigned long window, const CJString& file) const override { setGtkFile(window, file); }
};

std::vector<CWidgetNode> CGtkWidgets::windows() const
{
    CGtkReader reader;
    std::vector<CWidgetNode> nodes;
    for (_GtkWidget* const window : taken<_GtkWidget>(gtk::toplevels()))
        if (isOnScreen(window) && reader.takeWidget())
            nodes.push_back(withoutMenuWindow(reader.readWindow(window)));
    return nodes;
}

std::vector<unsigned long> CGtkWidgets::at(const Point& point) const
{
    Display* const display = walkDisplay();
    const Window found = display ? windowFromPoint(display, {rootOf(display), 0, 0}, point) : 0;
    _GdkDrawable* const native = found ? _gdk_window_lookup(found) : nullptr;
    const CPlace place = native ? placeOf(askPlace(display, found).take().get()) : CPlace();
    if (!place.known)
        return {};
    const int scale = std::max(_gdk_window_get_scale_factor(native), 1);
    void* widget = nullptr;
    _GdkDrawable* window =
        windowAt(native, (point.getx() - place.x) / scale, (point.gety() - place.y) / scale);
    for (; window && !widget; window = _gdk_window_get_parent(window))
        _gdk_window_get_user_data(window, &widget);
    if (!isA(widget, "GtkWidget"))
        return {};
    CGdkPlaces places;
    const auto chain = withThoseAround(widgetAt(static_cast<_GtkWidget*>(widget), places, point));
    _GtkWidget* const grab = grabAround(static_cast<_GtkWidget*>(widget));
    const bool isTaken =
        grab && std::find(chain.begin(), chain.end(), reinterpret_cast<unsigned long>(grab)) == chain.end();
    return isTaken ? withThoseAround(grab) : chain;
}

bool CGtkWidgets::reveal(unsigned long id) const
{
    _GtkWidget* const widget = widgetOf(id);
    if (!widget)
        return false;
    _GtkAllocation whole{};
    _gtk_widget_get_allocation(widget, &whole);
    if (!gtk::isMapped(widget) && turnTo(widget))
        return true;
    return scrollAround(widget, {0, 0, whole.width, whole.height});
}

std::vector<CWidgetRow> CGtkWidgets::rows(unsigned long id, size_t first, size_t count) const
{
    _GtkWidget* const widget = widgetOf(id);
    return widget ? rowsOf(widget, first, count) : std::vector<CWidgetRow>();
}

std::vector<std::vector<std::string>> CGtkWidgets::texts(unsigned long id, size_t first, size_t count) const
{
    _GtkWidget* const widget = widgetOf(id);
    return widget ? textsOf(widget, first, count) : std::vector<std::vector<std::string>>();
}

std::optional<CScrollBar> CGtkWidgets::scrollBar(unsigned long id) const
{
    _GtkWidget* const widget = widgetOf(id);
    return widget ? gtkScrollBar(widget) : std::nullopt;
}

bool CGtkWidgets::revealRow(unsigned long id, const std::string& path, int column) const
{
    _GtkWidget* const widget = widgetOf(id);
    _GtkAllocation place{};
    if (!widget || !scrollToRow(widget, path, column, place))
        return false;
    scrollAround(widget, place);
    return true;
}
} // namespace

const IWidgetToolkit& gtkWidgets()
{
    static const CGtkWidgets s_widgets;
    return s_widgets;
}
