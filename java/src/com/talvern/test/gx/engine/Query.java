package com.talvern.test.gx.engine;

import com.talvern.test.gx.protocol.TextMatch;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.EnumSet;
import java.util.List;
import java.util.Set;
import java.util.concurrent.CancellationException;
import java.util.function.Function;
import java.util.function.Predicate;
import java.util.function.Supplier;
import java.util.regex.Pattern;
import java.util.stream.Stream;

/**
 * What to look for among widgets. Each method answers a query that asks for one thing more:
 *
 * <pre>{@code
 * Query zoom = Query.role(Role.PUSH_BUTTON, Role.TOOL_ITEM).called("Zoom in").in(Query.name("toolbar"));
 * }</pre>
 *
 * <p>A text given as it stands means the widgets that say exactly that; when there is none, those that differ in blanks
 * around it, in mnemonic marks, in a colon or in dots at its end. A pattern must match the whole text. What is hidden is
 * found only when nothing that shows is.
 */
public final class Query {
    private static final Query NONE_YET = new Query(List.of(), "", null, null);
    /** Texts of these are what a user has put there; they are called by what stands beside them. */
    private static final Set<Role> CALLED_BY_LABEL = EnumSet.of(Role.TEXT_FIELD, Role.TEXT_AREA, Role.SPIN_BUTTON,
        Role.COMBO_BOX, Role.OPTION_MENU, Role.SCALE, Role.PROGRESS_BAR, Role.LIST, Role.TABLE, Role.TREE);

    private static final Set<Role> IN_PARTS = EnumSet.of(Role.PUSH_BUTTON, Role.TOGGLE, Role.CHECK_BOX, Role.RADIO_BUTTON,
        Role.TOOL_ITEM, Role.ITEM, Role.TAB);

    /** One thing that is asked for; takes from candidates in order. */
    private interface Step extends Function<List<WidgetView>, List<WidgetView>> {}

    private final List<Step> steps;
    private final String source;
    private final Query around;
    private final Integer index;

    private Query(List<Step> steps, String source, Query around, Integer index) {
        this.steps = steps;
        this.source = source;
        this.around = around;
        this.index = index;
    }

    private Query with(String call, Step step) {
        List<Step> more = new ArrayList<>(steps);
        more.add(step);
        return new Query(more, joined(call), around, index);
    }

    private Query where(String call, Predicate<WidgetView> asked) {
        return with(call, candidates -> candidates.stream().filter(asked).toList());
    }

    private String joined(String call) {
        return source.isEmpty() ? "Query." + call : source + "." + call;
    }

    /**
     * @param role the role of the widgets
     * @param others or one of these
     * @return a query for them
     */
    public static Query role(Role role, Role... others) {
        Set<Role> roles = EnumSet.of(role, others);
        String names = String.join(", ", Stream.concat(Stream.of(role), Arrays.stream(others))
            .map(each -> "Role." + each.name()).toList());
        return NONE_YET.where("role(" + names + ")", view -> roles.contains(view.role()));
    }

    /** @return a query for all widgets */
    public static Query any() {
        return NONE_YET.with("any()", candidates -> candidates);
    }

    /** For this package, which gives such queries names of their own. */
    static Query that(String what, Predicate<WidgetView> asked) {
        return NONE_YET.where("that(" + literal(what) + ")", asked);
    }

    /**
     * @param name what the program calls it, exactly
     * @return a query for widgets of that name; behind another query, which Java allows and this forgets, write {@link #named}
     */
    public static Query name(String name) {
        return NONE_YET.named(name);
    }

    /**
     * @param name what the program calls it, exactly
     * @return this query, for widgets of that name
     */
    public Query named(String name) {
        return where((source.isEmpty() ? "name(" : "named(") + literal(name) + ")", view -> view.name().equals(name));
    }

    /**
     * @param text what it says
     * @return this query, for widgets that say that
     */
    public Query text(String text) {
        return with("text(" + literal(text) + ")", tiers(text, WidgetView::text));
    }

    /**
     * @param text what it says
     * @return this query, for widgets that say that
     */
    public Query text(Pattern text) {
        return where("text(" + literal(text) + ")", view -> matches(text, view.text()));
    }

    /**
     * @param label what stands beside it
     * @return this query, for widgets with that label
     */
    public Query label(String label) {
        return with("label(" + literal(label) + ")", tiers(label, WidgetView::label));
    }

    /**
     * @param label what stands beside it
     * @return this query, for widgets with that label
     */
    public Query label(Pattern label) {
        return where("label(" + literal(label) + ")", view -> matches(label, view.label()));
    }

    /**
     * What people call it: the label of a field, a choice or a list, the text of anything else; where none is called so,
     * another of the texts in a button, the label, what shows when the pointer rests on it, or its name.
     *
     * @param name as people see it
     * @return this query, for widgets that are called so
     */
    public Query called(String name) {
        return with("called(" + literal(name) + ")", ranked(name, List.of(view -> List.of(callName(view)), Query::saidInParts,
            view -> List.of(view.label()), view -> List.of(view.tip()), view -> List.of(view.name()))));
    }

    /**
     * As {@link #called(String)}.
     *
     * @param name as people see it
     * @return this query, for widgets that are called so
     */
    public Query called(Pattern name) {
        return where("called(" + literal(name) + ")", view -> matches(name, callName(view))
            || saidInParts(view).stream().anyMatch(part -> matches(name, part)));
    }

    /**
     * Of several that match, one.
     *
     * @param position in the order of the tree, from 0
     * @return this query, for that one
     */
    public Query at(int position) {
        if (position < 0) {
            throw new IllegalArgumentException(Complaint.of("no query at(" + position + ")", "there is no such position",
                "count from 0"));
        }
        return new Query(steps, joined("at(" + position + ")"), around, position);
    }

    /**
     * @param place what they lie in
     * @return this query, for widgets in what matches that
     */
    public Query in(Query place) {
        return new Query(steps, joined("in(" + place + ")"), place, index);
    }

    static String callName(WidgetView view) {
        return CALLED_BY_LABEL.contains(view.role()) ? view.label() : view.text();
    }

    /** Of a button or entry with several texts in it, as a title and what explains it, each. */
    private static List<String> saidInParts(WidgetView view) {
        return IN_PARTS.contains(view.role()) ? view.parts() : List.of();
    }

    /**
     * Some patterns take years for a short text.
     *
     * @throws CancellationException the thread was interrupted, and still is
     */
    static boolean matches(Pattern pattern, String text) {
        return matching(() -> TextMatch.matches(pattern, text));
    }

    /** Says what was interrupted. @param work matches patterns */
    static <T> T matching(Supplier<T> work) {
        try {
            return work.get();
        } catch (CancellationException interrupted) {
            throw Application.interrupted("a pattern was matched");
        }
    }

    private static Step tiers(String wanted, Function<WidgetView, String> name) {
        return ranked(wanted, List.of(view -> List.of(name.apply(view))));
    }

    /** What says exactly that, by the first of the names by which any does; else what nearly does. */
    private static Step ranked(String wanted, List<Function<WidgetView, List<String>>> names) {
        Predicate<String> nearly = TextMatch.nearly(wanted);
        return candidates -> names.stream().flatMap(name -> Stream.<Predicate<WidgetView>>of(
                view -> name.apply(view).contains(wanted),
                view -> name.apply(view).stream().anyMatch(nearly)))
            .map(asked -> candidates.stream().filter(asked).toList())
            .filter(found -> !found.isEmpty()).findFirst().orElse(List.of());
    }

    /** @return what matches in a widget, in the order of the tree */
    List<WidgetView> find(WidgetView scope) {
        List<WidgetView> found = candidates(scope);
        List<WidgetView> showing = found.stream().filter(WidgetView::showing).toList();
        found = narrowed(showing.isEmpty() ? found : showing);
        if (found.isEmpty() && !showing.isEmpty()) {
            found = narrowed(candidates(scope));
        }
        if (index == null) {
            return found;
        }
        return index < found.size() ? List.of(found.get(index)) : List.of();
    }

    private List<WidgetView> candidates(WidgetView scope) {
        Stream<WidgetView> places = around == null ? Stream.of(scope) : around.find(scope).stream();
        return places.flatMap(place -> place.all().skip(1)).distinct().toList();
    }

    private List<WidgetView> narrowed(List<WidgetView> candidates) {
        List<WidgetView> found = candidates;
        for (Step step : steps) {
            found = step.apply(found);
        }
        return found;
    }

    /** A text as Java code, on one line. */
    static String literal(String text) {
        StringBuilder code = new StringBuilder("\"");
        for (char each : text.toCharArray()) {
            switch (each) {
                case '\n' -> code.append("\\n");
                case '\\', '"' -> code.append('\\').append(each);
                default -> code.append(each < ' ' ? String.format("\\%03o", (int) each) : each);
            }
        }
        return code.append('"').toString();
    }

    static String literal(Pattern pattern) {
        return "Pattern.compile(" + literal(pattern.pattern()) + (pattern.flags() == 0 ? "" : ", " + pattern.flags()) + ")";
    }

    /** @return a Java expression for it */
    @Override
    public String toString() {
        return source;
    }
}
