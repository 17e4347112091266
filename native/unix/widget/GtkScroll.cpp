#include "unix/widget/GtkScroll.h"

#include "unix/widget/GtkObjects.h"

namespace {
constexpr int horizontal = 0; // GTK_ORIENTATION_HORIZONTAL

Rect movedInto(const Rect& widget, const _GtkAllocation& part)
{
    return {widget.getTop() + part.y, widget.getLeft() + part.x, part.height, part.width};
}
} // namespace

std::optional<CScrollBar> gtkScrollBar(_GtkWidget* widget)
{
    void* const adjustment = isA(widget, "GtkScrollbar") ? gtk::adjustment(widget) : nullptr;
    if (!adjustment || !gtk::isMapped(widget))
        return std::nullopt;
    CGdkPlaces places;
    const Rect box = places.boxOf(widget);
    _GtkAllocation way{};
    int begin = 0, end = 0;
    gtk::rangeBox(widget, &way);
    gtk::thumbOf(widget, &begin, &end);
    const bool lies = gtk::orientation(widget) == horizontal;
    const _GtkAllocation thumb = lies ? _GtkAllocation{begin, way.y, end - begin, way.height}
                                      : _GtkAllocation{way.x, begin, way.width, end - begin};
    CScrollBar bar;
    bar.way = movedInto(box, way);
    bar.thumb = movedInto(box, thumb);
    bar.least = numberOf(adjustment, "lower").value_or(0);
    bar.most = numberOf(adjustment, "upper").value_or(0) - numberOf(adjustment, "page-size").value_or(0);
    bar.fromFarEnd = gtk::isInverted(widget) != (lies && isMirrored(widget));
    return bar;
}
