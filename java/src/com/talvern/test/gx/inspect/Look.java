package com.talvern.test.gx.inspect;

import com.talvern.test.gx.engine.Role;
import com.talvern.test.gx.engine.WidgetView;
import com.talvern.test.gx.util.Json;
import java.awt.Rectangle;
import java.util.ArrayList;
import java.util.HashMap;
import java.util.LinkedHashMap;
import java.util.List;
import java.util.Map;
import java.util.stream.Stream;

/**
 * All widgets of a program at one time, and their rows in sight, each with a key that it keeps in later looks. A value.
 *
 * @param tree all of it; null before the program was asked
 * @param json for the page: the widgets in the order of the tree, each with its depth
 * @param parts by their keys
 */
record Look(WidgetView tree, String json, Map<String, Part> parts) {
    /** Before the program was asked. */
    static final Look NONE = new Look(null, Json.of(Map.of("nodes", List.of(), "stack", List.of())), Map.of());

    /** The program's windows and open menus. */
    List<WidgetView> windows() {
        return tree == null ? List.of() : tree.children();
    }

    /**
     * A widget or a row of one.
     *
     * @param view the widget
     * @param row null for the widget itself
     */
    record Part(WidgetView view, WidgetView.Row row) {
        /** What of it is in sight; null for nothing. */
        Rectangle seen() {
            if (row == null) {
                return view.showing() ? view.seen() : null;
            }
            return row.bounds().isEmpty() || view.seen() == null ? null : row.bounds();
        }
    }

    /** Writes a tree down. */
    private static final class Writer {
        private final Map<String, Part> parts = new HashMap<>();
        private final List<Object> nodes = new ArrayList<>();

        void add(WidgetView view, int depth) {
            Part part = new Part(view, null);
            nodes.add(node(part, depth));
            parts.putIfAbsent(keyOf(view), part);
            for (WidgetView.Row row : view.rows()) {
                Part inSight = new Part(view, row);
                nodes.add(rowNode(inSight, depth + 1));
                parts.putIfAbsent(keyOf(view, row), inSight);
            }
            view.children().forEach(child -> add(child, depth + 1));
        }
    }

    /** @param stack X windows of programs, the bottom first */
    static Look of(WidgetView tree, List<Long> stack) {
        Writer writer = new Writer();
        writer.add(tree, 0);
        List<String> order = tree.children().stream().sorted((one, other) -> Integer.compare(height(one, stack),
            height(other, stack))).map(Look::keyOf).toList();
        Map<String, Object> all = new LinkedHashMap<>();
        all.put("stack", order);
        all.put("nodes", writer.nodes);
        return new Look(tree, Json.of(all), writer.parts);
    }

    /** What the window manager does not know, as a menu, lies above all. */
    private static int height(WidgetView window, List<Long> stack) {
        int at = stack.indexOf(window.window());
        return at < 0 ? stack.size() : at;
    }

    static String keyOf(WidgetView view) {
        boolean isCell = view.toolkitClass().isEmpty() && view.role() == Role.ITEM && view.rows().size() == 1;
        String key = Long.toHexString(view.id());
        return isCell ? key + ":" + view.rows().get(0).path() : key;
    }

    private static String keyOf(WidgetView view, WidgetView.Row row) {
        return Long.toHexString(view.id()) + ":" + row.path();
    }

    /** Texts of fields for passwords are empty already. */
    private static Map<String, Object> node(Part part, int depth) {
        WidgetView view = part.view();
        Map<String, Object> node = new LinkedHashMap<>();
        node.put("key", keyOf(view));
        node.put("depth", depth);
        node.put("role", view.role().toString());
        putUnlessEmpty(node, "text", view.text());
        putUnlessEmpty(node, "label", view.label());
        putUnlessEmpty(node, "name", view.name());
        putUnlessEmpty(node, "tip", view.tip());
        putUnlessEmpty(node, "class", view.toolkitClass());
        if (view.value() != null) {
            node.put("value", view.value());
        }
        putUnlessEmpty(node, "columns", String.join(" | ", view.columns()));
        if (view.rowCount() >= 0) {
            node.put("rows", view.rowCount());
        }
        if (view.window() != 0) {
            node.put("xwindow", "0x" + Long.toHexString(view.window()));
        }
        node.put("state", state(view));
        node.put("box", view.bounds());
        node.put("seen", part.seen());
        return node;
    }

    private static Map<String, Object> rowNode(Part part, int depth) {
        Map<String, Object> node = new LinkedHashMap<>();
        node.put("key", keyOf(part.view(), part.row()));
        node.put("depth", depth);
        node.put("role", "row");
        putUnlessEmpty(node, "text", String.join(" | ", part.row().cells()));
        putUnlessEmpty(node, "path", part.row().path());
        List<String> state = new ArrayList<>(part.row().selected() ? List.of("selected") : List.of());
        if (part.row().open() != null) {
            state.add(part.row().open() ? "open" : "closed");
        }
        node.put("state", state);
        node.put("box", part.row().bounds());
        node.put("seen", part.seen());
        return node;
    }

    private static void putUnlessEmpty(Map<String, Object> node, String name, String text) {
        if (!text.isEmpty()) {
            node.put(name, text);
        }
    }

    private static List<String> state(WidgetView view) {
        return Stream.of(flag(view.checked() != null, Boolean.TRUE.equals(view.checked()) ? "checked" : "unchecked"),
            flag(view.selected(), "selected"), flag(!view.enabled(), "disabled"), flag(!view.showing(), "hidden"),
            flag(view.showing() && view.seen() == null, "out of sight"), flag(view.focused(), "focused"),
            flag(view.editable(), "editable"), flag(view.secret(), "secret"), flag(view.textCut(), "text cut"),
            flag(view.childrenCut(), "more in it than is shown")).filter(word -> !word.isEmpty()).toList();
    }

    private static String flag(boolean holds, String word) {
        return holds ? word : "";
    }
}
