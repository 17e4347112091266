package com.talvern.test.gx.cli;

import com.talvern.test.gx.engine.MenuView;
import com.talvern.test.gx.engine.WidgetView;
import java.awt.Rectangle;
import java.util.LinkedHashMap;
import java.util.Map;

/** Widgets by the names of what they have, for JSON. */
final class Members {
    private Members() {}

    static Map<String, Object> of(MenuView.Item item) {
        Map<String, Object> members = new LinkedHashMap<>();
        members.put("text", item.text());
        members.put("enabled", item.enabled());
        members.put("shown", item.shown());
        members.put("checked", item.checked());
        return members;
    }

    static Map<String, Object> of(WidgetView view) {
        Map<String, Object> members = new LinkedHashMap<>();
        members.put("role", view.role().toString());
        members.put("class", view.toolkitClass());
        members.put("name", view.name());
        members.put("text", view.text());
        members.put("label", view.label());
        members.put("tip", view.tip());
        members.put("value", view.value());
        members.put("checked", view.checked());
        members.put("bounds", of(view.bounds()));
        members.put("window", view.window());
        members.put("enabled", view.enabled());
        members.put("showing", view.showing());
        members.put("focused", view.focused());
        members.put("editable", view.editable());
        members.put("secret", view.secret());
        members.put("selected", view.selected());
        members.put("columns", view.columns());
        members.put("rows", view.rows().stream().map(Members::of).toList());
        members.put("children", view.children().stream().map(Members::of).toList());
        return members;
    }

    private static Map<String, Object> of(WidgetView.Row row) {
        Map<String, Object> members = new LinkedHashMap<>();
        members.put("path", row.path());
        members.put("selected", row.selected());
        members.put("open", row.open());
        members.put("cells", row.cells());
        return members;
    }

    private static Map<String, Object> of(Rectangle box) {
        Map<String, Object> members = new LinkedHashMap<>();
        members.put("x", box.x);
        members.put("y", box.y);
        members.put("width", box.width);
        members.put("height", box.height);
        return members;
    }
}
