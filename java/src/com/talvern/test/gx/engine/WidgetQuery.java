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

/** A {@link Query}, which further roles and names can be asked of as well. A query never changes: it answers others. */
public final class WidgetQuery implements Query {
    static final WidgetQuery NONE_YET = new WidgetQuery(List.of(), "", null, null);
    /** Texts of these are what a user has put there; they are called by what stands beside them. */
    private static final Set<Role> CALLED_BY_LABEL = EnumSet.of(Role.TEXT_FIELD, Role.TEXT_AREA, Role.SPIN_BUTTON,
        Role.COMBO_BOX, Role.OPTION_MENU, Role.SCALE, Role.PROGRESS_BAR, Role.LIST, Role.TABLE, Role.TREE);

    private static final Set<Role> IN_PARTS = EnumSet.of(Role.PUSH_BUTTON, Role.TOGGLE, Role.CHECK_BOX, Role.RADIO_BUTTON,
        Role.TOOL_ITEM, Role.ITEM, Role.TAB);

    /** One thing that is asked for; takes from candidates in order. */
    private interface Step extends Function<List<WidgetView>, List<WidgetView>> {}

    private final List<Step> steps;
    private final String source;
    private final WidgetQuery around;
    private final Integer index;

    private WidgetQuery(List<Step> steps, String source, WidgetQuery around, Integer index) {
        this.steps = steps;
        this.source = source;
        this.around = around;
        this.index = index;
    }

    private WidgetQuery with(String call, Step step) {
        List<Step> more = new ArrayList<>(steps);
        more.add(step);
        return new WidgetQuery(more, joined(call), around, index);
    }

    private WidgetQuery where(String call, Predicate<WidgetView> asked) {
        return with(call, candidates -> candidates.stream().filter(asked).toList());
    }

    private String joined(String call) {
        return source.isEmpty() ? "Query." + call : source + "." + call;
    }

    /**
     * @param role the role of the widgets
     * @param others or one of these
     * @return this query, for widgets of these roles
     */
    public WidgetQuery role(Role role, Role... others) {
        Set<Role> roles = EnumSet.of(role, others);
        String names = String.join(", ", Stream.concat(Stream.of(role), Arrays.stream(others))
            .map(each -> "Role." + each.name()).toList());
        return where("role(" + names + ")", view -> roles.contains(view.role()));
    }

    WidgetQuery any() {
        return with("any()", candidates -> candidates);
    }

    /** For this package, which gives such queries names of their own. */
    static WidgetQuery that(String what, Predicate<WidgetView> asked) {
        return NONE_YET.where("that(" + literal(what) + ")", asked);
    }

    /**
     * @param name what the program calls it, exactly
     * @return this query, for widgets of that name
     */
    public WidgetQuery name(String name) {
        return where("name(" + literal(name) + ")", view -> view.name().equals(name));
    }

    @Override
    public WidgetQuery named(String name) {
        return name(name);
    }

    @Override
    public WidgetQuery text(String text) {
        return with("text(" + literal(text) + ")", tiers(text, WidgetView::text));
    }

    @Override
    public WidgetQuery text(Pattern text) {
        return where("text(" + literal(text) + ")", view -> matches(text, view.text()));
    }

    @Override
    public WidgetQuery label(String label) {
        return with("label(" + literal(label) + ")", tiers(label, WidgetView::label));
    }

    @Override
    public WidgetQuery label(Pattern label) {
        return where("label(" + literal(label) + ")", view -> matches(label, view.label()));
    }

    @Override
    public WidgetQuery called(String name) {
        return with("called(" + literal(name) + ")", ranked(name, List.of(view -> List.of(callName(view)),
            WidgetQuery::saidInParts, view -> List.of(view.label()), view -> List.of(view.tip()),
            view -> List.of(view.name()))));
    }

    @Override
    public WidgetQuery called(Pattern name) {
        return where("called(" + literal(name) + ")", view -> matches(name, callName(view))
            || saidInParts(view).stream().anyMatch(part -> matches(name, part)));
    }

    @Override
    public WidgetQuery at(int position) {
        if (position < 0) {
            throw new IllegalArgumentException(Complaint.of("no query at(" + position + ")", "there is no such position",
                "count from 0"));
        }
        return new WidgetQuery(steps, joined("at(" + position + ")"), around, position);
    }

    @Override
    public WidgetQuery in(Query place) {
        return new WidgetQuery(steps, joined("in(" + place + ")"), of(place), index);
    }

    /** All that this package asks of a query. */
    static WidgetQuery of(Query query) {
        return (WidgetQuery) query;
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
