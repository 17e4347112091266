#include "unix/window/ListBox.h"

#include "unix/window/WindowManagerUnix.h"
#include "unix/window/XtGuard.h"

#include <algorithm>
#include <climits>
#include <cstring>

#include <Xm/List.h>
#include <Xm/ScrolledW.h>
#include <Xm/Xm.h>

namespace {
bool isXmList(Widget widget)
{
    return isOfClass(widget, xmListWidgetClass);
}

/// The list widget of a window; null when it is none.
Widget listOf(Window window)
{
    const Widget widget = findWidget(window);
    return isXmList(widget) ? widget : nullptr;
}

/// The first child of a scrolled window that is a list; 0 when there is none.
Window listIn(Window scrolledWindow)
{
    Display* const display = walkDisplay();
    if (!display)
        return 0;
    const auto children = childrenOf(display, scrolledWindow);
    const auto found = std::find_if(children.begin(), children.end(), listOf);
    return found == children.end() ? 0 : *found;
}

Window listOrListIn(Window window)
{
    const Widget widget = findWidget(window);
    if (isXmList(widget))
        return window;
    return isOfClass(widget, xmScrolledWindowWidgetClass) ? listIn(window) : 0;
}

/// An integer resource of a list; -1 without a list.
int resourceOf(Widget list, const char* name)
{
    int value = -1;
    if (list)
        XtVaGetValues(list, name, &value, nullptr);
    return value;
}

/// The positions, counted from 1, of the selected items.
class CSelection {
public:
    explicit CSelection(Widget list)
    {
        int* positions = nullptr;
        if (list && XmListGetSelectedPos(list, &positions, &m_count))
            m_positions.reset(positions);
        else
            m_count = 0;
    }
    const int* begin() const { return m_positions.get(); }
    const int* end() const { return begin() + m_count; }

private:
    XtPtr<int> m_positions;
    int m_count = 0;
};

struct CComponent {
    XmStringComponentType type;
    XtPtr<char> text;

    bool isEnd() const { return type == XmSTRING_COMPONENT_END; }
    /// XmStringGenerate puts an empty text of the locale before the one it was given.
    bool isText() const
    {
        return text &&
               (type == XmSTRING_COMPONENT_TEXT || (type == XmSTRING_COMPONENT_LOCALE_TEXT && *text != '\0'));
    }
};

/// A walk through the components of a compound string.
class CComponents {
public:
    explicit CComponents(XmString text)
    {
        if (!XmStringInitContext(&m_context, text))
            m_context = nullptr;
    }
    ~CComponents()
    {
        if (m_context)
            XmStringFreeContext(m_context);
    }
    CComponents(const CComponents&) = delete;

    /// The next component; what is no text is freed. Ends with a component that isEnd().
    CComponent next()
    {
        if (!m_context)
            return {XmSTRING_COMPONENT_END, nullptr};
        char* text = nullptr;
        XmStringTag tag = nullptr;
        XmStringDirection direction;
        XmStringComponentType otherType;
        unsigned short otherLength;
        unsigned char* other = nullptr;
        const auto type =
            XmStringGetNextComponent(m_context, &text, &tag, &direction, &otherType, &otherLength, &other);
        const XtPtr<char> ownedTag(tag);
        const XtPtr<unsigned char> ownedOther(other);
        return {type, XtPtr<char>(text)};
    }

private:
    XmStringContext m_context = nullptr;
};

/// The first text of a compound string; null when it has none.
XtPtr<char> firstText(XmString item)
{
    CComponents components(item);
    for (CComponent component = components.next(); !component.isEnd(); component = components.next())
        if (component.isText())
            return std::move(component.text);
    return nullptr;
}

/// An item of a list, which stays the owner; null when there is no such item.
XmString itemOf(Widget list, int index)
{
    XmStringTable items = nullptr;
    int count = 0;
    if (list)
        XtVaGetValues(list, XmNitems, &items, XmNitemCount, &count, nullptr);
    return items && index >= 0 && index < count ? items[index] : nullptr;
}

std::string wholeText(XmString item)
{
    const XtPtr<char> text(static_cast<char*>(
        XmStringUnparse(item, nullptr, XmCHARSET_TEXT, XmCHARSET_TEXT, nullptr, 0, XmOUTPUT_ALL)));
    return text ? text.get() : "";
}

/// All zero when the item is not shown.
Rect boundsOf(Widget list, int index)
{
    Position x = 0, y = 0;
    Dimension width = 0, height = 0;
    // Position 0 would stand for the last item.
    if (!list || index < 0 || index == INT_MAX ||
        !XmListPosToBounds(list, index + 1, &x, &y, &width, &height))
        return {};
    return {y, x, height, width};
}
} // namespace

ListBox::ListBox(Point* point)
{
    const CWindow window(point);
    if (listOf(window.getHandle()))
        setHandle(window.getHandle());
}

ListBox::ListBox(Rect* rect)
{
    setHandle(listOrListIn(CWindow(rect).getHandle()));
}

int ListBox::getCount() const
{
    return resourceOf(listOf(getHandle()), XmNitemCount);
}

int ListBox::getTopIndex() const
{
    const int position = resourceOf(listOf(getHandle()), XmNtopItemPosition);
    return position < 0 ? -1 : position - 1;
}

int ListBox::getSelCount() const
{
    return resourceOf(listOf(getHandle()), XmNselectedItemCount);
}

int ListBox::getCurSel() const
{
    const CSelection selection(listOf(getHandle()));
    const auto lowest = std::min_element(selection.begin(), selection.end());
    return lowest == selection.end() ? -1 : *lowest - 1;
}

bool ListBox::isSelected(int index) const
{
    const CSelection selection(listOf(getHandle()));
    return std::any_of(selection.begin(), selection.end(),
                       [index](int position) { return position - 1 == index; });
}

void ListBox::getText(int index, char* buffer, int length) const
{
    const XmString item = itemOf(listOf(getHandle()), index);
    if (!item || !buffer)
        return;
    if (const auto text = firstText(item))
        copyText(text.get(), buffer, length);
}

std::vector<std::string> ListBox::getWholeTexts() const
{
    XmStringTable items = nullptr;
    int count = 0;
    if (const Widget list = listOf(getHandle()))
        XtVaGetValues(list, XmNitems, &items, XmNitemCount, &count, nullptr);
    std::vector<std::string> texts;
    for (int index = 0; items && index < count; ++index)
        texts.push_back(wholeText(items[index]));
    return texts;
}

std::vector<int> ListBox::getSelection() const
{
    std::vector<int> indexes;
    for (const int position : CSelection(listOf(getHandle())))
        indexes.push_back(position - 1);
    return indexes;
}

void ListBox::getRectangle(int index, Rect* out) const
{
    *out = boundsOf(listOf(getHandle()), index);
}

int ListBox::getItemAtPoint(Point* point) const
{
    const Widget list = listOf(getHandle());
    const int count = point ? resourceOf(list, XmNitemCount) : -1;
    for (int index = 0; index < count; ++index)
        if (boundsOf(list, index).pointInRect(*point))
            return index;
    return -1;
}
