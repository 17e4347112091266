package com.talvern.test.gx.application;

import com.talvern.test.gx.protocol.FileDialogValues;
import com.talvern.test.gx.protocol.ListValues;
import com.talvern.test.gx.protocol.MenuValues;
import com.talvern.test.gx.protocol.Values;
import com.talvern.test.gx.sys.graphical.Captions;
import com.talvern.test.gx.sys.graphical.ListBox;
import com.talvern.test.gx.sys.graphical.Menu;
import com.talvern.test.gx.sys.graphical.NativeTopLevelWindow;
import com.talvern.test.gx.sys.graphical.NativeWindow;
import java.awt.Point;
import java.awt.Rectangle;
import java.nio.ByteBuffer;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.BitSet;
import java.util.Comparator;
import java.util.List;
import java.util.stream.Stream;

/** Looks at this application's widgets. On the GUI thread only; null stands for a widget that there is not. */
final class Widgets {
    /** Of {@link MenuItems#look} for the menu and for each item. */
    private static final int NUMBERS = 6;

    private Widgets() {}

    /**
     * A menu bar that can be clicked on: a program that starts has one before its window is on the screen.
     *
     * @param window the first menu bar in it, or of all when there is none, is wanted; 0 for the first of all
     */
    static MenuValues menuBar(long window) {
        NativeWindow place = window == 0 ? NativeWindow.nativeGetRootNativeWindow() : new NativeWindow(window);
        Menu bar = place.nativeGetMenuBar();
        return bar != null && new NativeWindow(bar.getHandle()).nativeIsShowing() ? valuesOf(bar) : null;
    }

    static MenuValues menu(long window) {
        return valuesOf(new Menu(window, 0));
    }

    static List<MenuValues> openMenus() {
        List<MenuValues> menus = new ArrayList<>();
        for (NativeWindow pane : NativeWindow.nativeGetPopupWindows()) {
            menus.add(menu(pane.getHandle()));
        }
        return menus;
    }

    static MenuValues contextMenu() {
        NativeWindow pane = NativeWindow.nativeGetTopContextMenu();
        return pane == null ? null : menu(pane.getHandle());
    }

    private static MenuValues valuesOf(Menu menu) {
        if (menu == null || menu.getItemCount() < 0) {
            return null;
        }
        String[] texts = MenuItems.texts(menu.getHandle());
        long[] seen = MenuItems.look(menu.getHandle());
        boolean isOpen = (seen[0] & MenuItems.SHOWN) != 0;
        int count = Math.min(texts.length, seen.length / NUMBERS - 1);
        List<MenuValues.Item> items = new ArrayList<>(count);
        for (int index = 0; index < count; ++index) {
            items.add(itemOf(texts[index], seen, NUMBERS * (index + 1), isOpen));
        }
        return new MenuValues(menu.getHandle(), seen[NUMBERS - 1], boxAt(seen, 1), items);
    }

    /** An item of a menu that is not open has a place, too, where nobody would find it. */
    private static MenuValues.Item itemOf(String text, long[] seen, int at, boolean isOpen) {
        Boolean checked = (seen[at] & MenuItems.CHECKABLE) == 0 ? null : (seen[at] & MenuItems.CHECKED) != 0;
        return new MenuValues.Item(text, isOpen ? boxAt(seen, at + 1) : null, seen[at + 5],
            (seen[at] & MenuItems.SHOWN) != 0, (seen[at] & MenuItems.ENABLED) != 0, checked);
    }

    private static Rectangle boxAt(long[] seen, int at) {
        Rectangle box = new Rectangle((int) seen[at], (int) seen[at + 1], (int) seen[at + 2], (int) seen[at + 3]);
        return box.isEmpty() ? null : box;
    }

    static ListValues list(long window) {
        return valuesOf(new ListBox(window));
    }

    static ListValues listAt(Point place) {
        return valuesOf(ListBox.listBoxAtPoint(place));
    }

    static ListValues listIn(Rectangle box) {
        return valuesOf(ListBox.listBoxAtRectangle(box));
    }

    private static ListValues valuesOf(ListBox list) {
        int count = list == null || list.getHandle() == 0 ? -1 : list.getCount();
        if (count < 0) {
            return null;
        }
        Rectangle bounds = list.nativeGetRectangle();
        String[] texts = ListItems.texts(list.getHandle());
        BitSet selected = new BitSet();
        Arrays.stream(ListItems.selection(list.getHandle())).forEach(selected::set);
        int top = list.getTopIndex();
        List<ListValues.Item> items = new ArrayList<>(texts.length);
        boolean shows = false;
        for (int index = 0; index < texts.length; ++index) {
            shows = index == top || shows; // what shows lies in one piece
            Rectangle box = shows ? onScreen(list.getRectangle(index), bounds) : null;
            shows = box != null;
            items.add(new ListValues.Item(texts[index], selected.get(index), box));
        }
        return new ListValues(list.getHandle(), bounds, top, items);
    }

    /** An item out of sight has no size. */
    private static Rectangle onScreen(Rectangle box, Rectangle list) {
        if (box.isEmpty()) {
            return null;
        }
        box.translate(list.x, list.y);
        return box;
    }

    /** @return the bottom of the stack first */
    static List<FileDialogValues> fileDialogs() {
        List<FileDialogValues> dialogs = Values.of(ByteBuffer.wrap(WidgetTree.fileDialogs())).nextAll(FileDialogValues::read);
        List<Long> stack = dialogs.isEmpty() ? List.of()
            : Stream.of(new NativeTopLevelWindow(0).getOwnedWindows()).map(NativeWindow::getHandle).toList();
        return dialogs.stream().sorted(Comparator.comparing(dialog -> stack.indexOf(dialog.window())))
            .map(Widgets::withCaption).toList();
    }

    /** A program may set its title past its toolkit. */
    private static FileDialogValues withCaption(FileDialogValues dialog) {
        return dialog.withCaption(Captions.of(new NativeWindow(dialog.window())));
    }
}
