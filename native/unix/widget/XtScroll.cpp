#include "unix/widget/XtScroll.h"

#include <X11/IntrinsicP.h>

#include <X11/CoreP.h>
#include <Xm/PrimitiveP.h>
#include <Xm/ScrollBarP.h>

bool readXtScrollBar(Widget widget, CScrollBar& bar)
{
    if (!XtIsSubclass(widget, xmScrollBarWidgetClass))
        return false;
    const XmScrollBarPart& part = reinterpret_cast<const XmScrollBarRec*>(widget)->scrollBar;
    bar.thumb = Rect(part.slider_y, part.slider_x, part.slider_height, part.slider_width);
    bar.way = Rect(part.slider_area_y, part.slider_area_x, part.slider_area_height, part.slider_area_width);
    bar.least = part.minimum;
    bar.most = part.maximum - part.slider_size;
    bar.fromFarEnd = part.processing_direction == XmMAX_ON_TOP || part.processing_direction == XmMAX_ON_LEFT;
    return part.editable;
}
