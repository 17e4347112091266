package com.talvern.test.gx.engine;

import com.talvern.test.gx.protocol.TextMatch;
import java.util.Comparator;
import java.util.HashMap;
import java.util.List;
import java.util.Locale;
import java.util.Map;
import java.util.regex.Matcher;
import java.util.regex.Pattern;

/** Brings those to the front that somebody may have meant who asked for what there is not. */
final class NearTexts {
    private static final int COMPARED = 40;
    private static final Pattern WANTED = Pattern.compile("\"((?:[^\"\\\\]|\\\\.)*)\"");

    private NearTexts() {}

    /**
     * @param call what was asked, with the wanted text in quotes
     * @return the widgets that say something, the nearest first
     */
    static List<WidgetView> sorted(String call, List<WidgetView> views) {
        Matcher quoted = WANTED.matcher(call);
        String wanted = quoted.find() ? normal(quoted.group(1)) : "";
        Map<WidgetView, Integer> distances = new HashMap<>();
        for (WidgetView view : views) {
            String name = Query.callName(view);
            if (!name.isBlank() || !view.text().isBlank()) {
                distances.put(view, distance(wanted, normal(name.isBlank() ? view.text() : name)));
            }
        }
        return views.stream().filter(distances::containsKey).sorted(Comparator.comparing(distances::get)).toList();
    }

    private static String normal(String text) {
        String loose = TextMatch.loose(text).toLowerCase(Locale.ROOT);
        return loose.length() > COMPARED ? loose.substring(0, COMPARED) : loose;
    }

    /** How many letters have to be put in, left out or changed. */
    private static int distance(String one, String other) {
        int[] row = new int[other.length() + 1];
        for (int j = 0; j < row.length; ++j) {
            row[j] = j;
        }
        for (int i = 1; i <= one.length(); ++i) {
            int diagonal = row[0];
            row[0] = i;
            for (int j = 1; j < row.length; ++j) {
                int changed = diagonal + (one.charAt(i - 1) == other.charAt(j - 1) ? 0 : 1);
                diagonal = row[j];
                row[j] = Math.min(changed, Math.min(row[j], row[j - 1]) + 1);
            }
        }
        return row[other.length()];
    }
}
