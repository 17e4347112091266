package com.talvern.test.gx.engine;

import java.util.regex.Pattern;

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
public sealed interface Query permits WidgetQuery {
    /**
     * @param role the role of the widgets
     * @param others or one of these
     * @return a query for them
     */
    static WidgetQuery role(Role role, Role... others) {
        return WidgetQuery.NONE_YET.role(role, others);
    }

    /** @return a query for all widgets */
    static WidgetQuery any() {
        return WidgetQuery.NONE_YET.any();
    }

    /**
     * @param name what the program calls it, exactly
     * @return a query for widgets of that name
     */
    static WidgetQuery name(String name) {
        return WidgetQuery.NONE_YET.name(name);
    }

    /**
     * @param name what the program calls it, exactly
     * @return this query, for widgets of that name
     */
    WidgetQuery named(String name);

    /**
     * @param text what it says
     * @return this query, for widgets that say that
     */
    WidgetQuery text(String text);

    /**
     * @param text what it says
     * @return this query, for widgets that say that
     */
    WidgetQuery text(Pattern text);

    /**
     * @param label what stands beside it
     * @return this query, for widgets with that label
     */
    WidgetQuery label(String label);

    /**
     * @param label what stands beside it
     * @return this query, for widgets with that label
     */
    WidgetQuery label(Pattern label);

    /**
     * What people call it: the label of a field, a choice or a list, the text of anything else; where none is called so,
     * another of the texts in a button, the label, what shows when the pointer rests on it, or its name.
     *
     * @param name as people see it
     * @return this query, for widgets that are called so
     */
    WidgetQuery called(String name);

    /**
     * As {@link #called(String)}.
     *
     * @param name as people see it
     * @return this query, for widgets that are called so
     */
    WidgetQuery called(Pattern name);

    /**
     * Of several that match, one.
     *
     * @param position in the order of the tree, from 0
     * @return this query, for that one
     */
    WidgetQuery at(int position);

    /**
     * @param place what they lie in
     * @return this query, for widgets in what matches that
     */
    WidgetQuery in(Query place);
}
