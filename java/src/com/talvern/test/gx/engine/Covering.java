package com.talvern.test.gx.engine;

import com.talvern.test.gx.sys.graphical.NativeWindow;
import java.awt.Point;
import java.util.List;
import java.util.Optional;

/** Says what lies at a point instead of what was looked for there. */
final class Covering {
    /** Stands for what takes presses and does not show. */
    private static final long NOBODYS = 0;

    private Covering() {}

    /** @param there ids of the application's widgets at the point, from the innermost */
    static String describe(Point point, List<Long> there, WidgetView tree) {
        if (there.contains(NOBODYS)) {
            return "something of the program that does not show, and has a grab,";
        }
        Optional<WidgetView> known = there.stream()
            .flatMap(id -> tree.all().filter(view -> view.id() == id)).findFirst();
        return known.map(WidgetView::line).orElseGet(() -> foreign(point));
    }

    private static String foreign(Point point) {
        NativeWindow window = NativeWindow.nativeWindowAtPoint(point);
        if (window == null) {
            return "nothing, as the X server has gone,";
        }
        long root = NativeWindow.nativeGetRootNativeWindow().getHandle();
        if (window.getHandle() == root) {
            return "the desktop";
        }
        NativeWindow top = Windows.topOf(window);
        return String.format("the window \"%s\" (%s, 0x%x)", Windows.caption(top), window.nativeGetWindowClassname(),
            top.getHandle());
    }
}
