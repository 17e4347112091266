package com.talvern.test.gx.demo;

import com.talvern.test.gx.engine.Windows;
import com.talvern.test.gx.sys.graphical.NativeTopLevelWindow;
import com.talvern.test.gx.sys.graphical.NativeWindow;
import java.awt.Point;
import java.awt.Rectangle;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.List;

/** Questions about all that is on the screen. */
final class Desktop {
    private Desktop() {}

    /** Every window that a program opened for its user, the bottom of the stack first. */
    static List<NativeTopLevelWindow> topLevelWindows() {
        return List.of(new NativeTopLevelWindow(0).getOwnedWindows());
    }

    static boolean isListed(NativeWindow window) {
        return topLevelWindows().contains(window);
    }

    /** The innermost window that shows at a point of the screen. */
    static NativeWindow windowAt(int x, int y) {
        return NativeWindow.nativeWindowAtPoint(new Point(x, y));
    }

    /** A window and all windows that it lies in, the root window last. */
    static List<NativeWindow> withParents(NativeWindow window) {
        final List<NativeWindow> chain = new ArrayList<>();
        // The root window is its own parent, and so is one that has gone.
        for (NativeWindow next = window; next != null && !chain.contains(next); next = next.nativeGetParentWindow()) {
            chain.add(next);
        }
        return chain;
    }

    /** Whether a window is `outer` or lies somewhere in it. */
    static boolean isWithin(NativeWindow window, NativeWindow outer) {
        return withParents(window).contains(outer);
    }

    /** The frame that the window manager put around a window, or the window itself when it has none. */
    static NativeWindow frameOf(NativeWindow window) {
        final List<NativeWindow> chain = withParents(window);
        return chain.size() < 2 ? window : chain.get(chain.size() - 2);
    }

    /** A line about a window, such as {@code 0xc0000c  XTerm xterm  "Terminal"  at 1,20, 612 x 344}. */
    static String describe(NativeWindow window) {
        final String name = window.nativeGetWindowClassname();
        final String caption = name.isEmpty() ? "" : '"' + Windows.caption(window) + '"';
        return String.format("0x%-7x  %-18s  %-24s  %s", window.getHandle(), name, caption,
            describe(window.nativeGetRectangle()));
    }

    static String describe(Rectangle box) {
        return String.format("at %d,%d, %d x %d", box.x, box.y, box.width, box.height);
    }

    /** Saves what the screen shows as a picture. */
    static String picture(Path file) throws Exception {
        Program.run("import", "-window", "root", file.toString());
        return file.toString();
    }
}
