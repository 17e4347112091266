package com.talvern.test.gx.engine;

import com.talvern.test.gx.protocol.TextMatch;
import java.util.Comparator;
import java.util.EnumSet;
import java.util.HashMap;
import java.util.List;
import java.util.Locale;
import java.util.Map;
import java.util.Set;
import java.util.regex.Matcher;
import java.util.regex.Pattern;
import java.util.stream.Stream;

/** Brings those to the front that somebody may have meant who asked for what there is not. */
final class NearTexts {
    private static final int COMPARED = 40;
    private static final Set<Role> CALLED_BY_NAME = EnumSet.complementOf(EnumSet.of(Role.CONTAINER, Role.OTHER, Role.IMAGE,
        Role.LABEL, Role.SCROLL_BAR, Role.MENU, Role.MENU_BAR));
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
            names(view).mapToInt(name -> distance(wanted, normal(name))).min()
                .ifPresent(nearest -> distances.put(view, nearest));
        }
        return views.stream().filter(distances::containsKey).sorted(Comparator.comparing(distances::get)).toList();
    }

    /** A button with a picture alone is called by its tip, or by the program's name for it. */
    private static Stream<String> names(WidgetView view) {
        String name = WidgetQuery.callName(view);
        String shown = name.isBlank() ? view.text() : name;
        String own = shown.isBlank() && CALLED_BY_NAME.contains(view.role()) ? view.name() : "";
        return Stream.of(shown, view.tip(), own).filter(each -> !each.isBlank());
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
