#include "unix/widget/XtObjects.h"

#include "common/text/CodeSet.h"

#include <algorithm>

#include <X11/IntrinsicP.h>

#include <X11/CoreP.h>
#include <X11/StringDefs.h>

std::string taken(char* text)
{
    const XtPtr<char> owner(text);
    std::string utf8;
    if (!text)
        return utf8;
    const CEnvironmentLocale locale;
    if (convertText("UTF-8", locale.codeSet(), text, utf8) == Conversion::complete)
        return utf8;
    utf8.clear();
    convertText("UTF-8", "ISO-8859-1", text, utf8);
    return utf8;
}

namespace {
struct CChildren {
    WidgetList list = nullptr;
    Cardinal count = 0;
};

CChildren childrenOf(Widget widget)
{
    CChildren children;
    guarded([&] {
        if (XtIsComposite(widget))
            XtVaGetValues(widget, XtNchildren, &children.list, XtNnumChildren, &children.count, nullptr);
    });
    return children;
}
} // namespace

std::vector<Widget> livingChildren(Widget widget)
{
    const CChildren children = childrenOf(widget);
    std::vector<Widget> living(children.list, children.list + children.count);
    std::erase_if(living, [](Widget child) { return !child || child->core.being_destroyed; });
    return living;
}

Rect boxOf(Widget widget, const COrigin& around)
{
    return {around.y + widget->core.y + widget->core.border_width,
            around.x + widget->core.x + widget->core.border_width, widget->core.height, widget->core.width};
}

bool isOutAtCorner(Widget widget)
{
    const CorePart& place = widget->core;
    return place.x + place.width <= 0 && place.y + place.height <= 0;
}
