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

    /**
     * @param id of a widget; 0 when it is not known
     * @return what takes a press at a point instead of it; empty when nothing does, or it is not known
     */
    static Optional<String> instead(Application application, long id, Point point) {
        if (id == 0) {
            return Optional.empty();
        }
        List<Long> there = application.widgetsAt(point);
        return there.contains(id) ? Optional.empty() : Optional.of(takesThePress(point, there, application.tree()));
    }

    /** @param there ids of the application's widgets at the point, from the innermost */
    static String takesThePress(Point point, List<Long> there, WidgetView tree) {
        return "it cannot be pressed" + Pointer.at(point) + ", where " + describe(point, there, tree) + " takes the press";
    }

    private static String describe(Point point, List<Long> there, WidgetView tree) {
        if (there.contains(NOBODYS)) {
            return "something of the program that does not show, and has a grab,";
        }
        Optional<WidgetView> known = there.stream()
            .flatMap(id -> tree.all().filter(view -> view.id() == id)).findFirst();
        return known.map(view -> view.line() + windowOf(view, tree)).orElseGet(() -> foreign(point));
    }

    private static String windowOf(WidgetView view, WidgetView tree) {
        return tree.children().stream().filter(top -> top.all().skip(1).anyMatch(each -> each == view)).findFirst()
            .map(top -> " of the window " + WidgetView.quoted(AppWindow.captionOf(top))).orElse("");
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
        String kind = window.nativeGetWindowClassname();
        return String.format("the window \"%s\" (%s0x%x)", Windows.caption(top), kind.isEmpty() ? "" : kind + ", ",
            top.getHandle());
    }
}
