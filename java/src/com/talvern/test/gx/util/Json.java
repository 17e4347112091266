package com.talvern.test.gx.util;

import java.awt.Rectangle;
import java.util.Collection;
import java.util.List;
import java.util.Map;

/** Writes JSON. Any thread. */
public final class Json {
    private Json() {}

    /**
     * A value as JSON. Control characters, {@code <} and halves of surrogate pairs are escaped, so that it can stand in a page.
     *
     * @param value null, a text, number, truth value, rectangle (four numbers), collection or map; anything else is the text
     *     that it says
     * @return the JSON text
     */
    public static String of(Object value) {
        StringBuilder out = new StringBuilder();
        write(out, value);
        return out.toString();
    }

    private static void write(StringBuilder out, Object value) {
        if (value instanceof Map<?, ?> map) {
            writeMap(out, map);
        } else if (value instanceof Collection<?> list) {
            writeList(out, list);
        } else if (value instanceof Rectangle box) {
            writeList(out, List.of(box.x, box.y, box.width, box.height));
        } else if (value instanceof Double number) {
            out.append(Double.isFinite(number) ? number.toString() : "null");
        } else if (value == null || value instanceof Number || value instanceof Boolean) {
            out.append(value);
        } else {
            writeText(out, value.toString());
        }
    }

    private static void writeMap(StringBuilder out, Map<?, ?> map) {
        String separator = "{";
        for (Map.Entry<?, ?> entry : map.entrySet()) {
            writeText(out.append(separator), entry.getKey().toString());
            write(out.append(':'), entry.getValue());
            separator = ",";
        }
        out.append(map.isEmpty() ? "{}" : "}");
    }

    private static void writeList(StringBuilder out, Collection<?> list) {
        String separator = "[";
        for (Object each : list) {
            write(out.append(separator), each);
            separator = ",";
        }
        out.append(list.isEmpty() ? "[]" : "]");
    }

    private static void writeText(StringBuilder out, String text) {
        out.append('"');
        for (char each : text.toCharArray()) {
            if (each == '"' || each == '\\') {
                out.append('\\').append(each);
            } else if (each < ' ' || each == 0x7F || each == '<' || Character.isSurrogate(each)) {
                out.append(String.format("\\u%04x", (int) each));
            } else {
                out.append(each);
            }
        }
        out.append('"');
    }
}
