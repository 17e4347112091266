package com.talvern.test.gx.engine;

import java.util.regex.Pattern;

/**
 * Where widgets are looked for: an application, one of its windows, or a widget with others in it. What these methods
 * answer is a question, asked anew whenever it is used: see {@link Widget}. Names are those that people see, as {@link
 * Query#called(String)} says.
 */
public interface WidgetScope {
    /**
     * @param query what to look for
     * @return the widget that matches
     */
    Widget find(Query query);

    /** @return what there is now, with all that is in it */
    WidgetView tree();

    /**
     * @param name what it says, or what shows when the pointer rests on it
     * @return what a user would call a button: one to push, one that stays pressed, one of a tool bar
     */
    default Widget button(String name) {
        return find(Kinds.BUTTON.called(name)).knownAs("button(" + WidgetQuery.literal(name) + ")");
    }

    /**
     * @param name what it says
     * @return the button
     */
    default Widget button(Pattern name) {
        return find(Kinds.BUTTON.called(name)).knownAs("button(" + WidgetQuery.literal(name) + ")");
    }

    /**
     * @param name what it says
     * @return what can be ticked or switched: check boxes, radio buttons, buttons that stay pressed, switches
     */
    default Widget toggle(String name) {
        return find(Kinds.TOGGLE.called(name)).knownAs("toggle(" + WidgetQuery.literal(name) + ")");
    }

    /**
     * @param name what it says
     * @return what can be ticked or switched
     */
    default Widget toggle(Pattern name) {
        return find(Kinds.TOGGLE.called(name)).knownAs("toggle(" + WidgetQuery.literal(name) + ")");
    }

    /** @return the only field there is */
    default Widget field() {
        return find(Kinds.FIELD).knownAs("field()");
    }

    /**
     * @param label what stands beside it
     * @return what takes or shows typed text: text fields and areas, spin buttons, combo boxes to type into
     */
    default Widget field(String label) {
        return find(Kinds.FIELD.called(label)).knownAs("field(" + WidgetQuery.literal(label) + ")");
    }

    /**
     * @param label what stands beside it
     * @return the field
     */
    default Widget field(Pattern label) {
        return find(Kinds.FIELD.called(label)).knownAs("field(" + WidgetQuery.literal(label) + ")");
    }

    /**
     * @param text what it says
     * @return the label
     */
    default Widget label(String text) {
        return find(Query.role(Role.LABEL).text(text)).knownAs("label(" + WidgetQuery.literal(text) + ")");
    }

    /**
     * @param text what it says
     * @return the label
     */
    default Widget label(Pattern text) {
        return find(Query.role(Role.LABEL).text(text)).knownAs("label(" + WidgetQuery.literal(text) + ")");
    }

    /** @return the only list, table or tree there is */
    default Widget list() {
        return find(Kinds.ROWS).knownAs("list()");
    }

    /**
     * @param label what stands beside it, or its name
     * @return a list, table or tree
     */
    default Widget list(String label) {
        return find(Kinds.ROWS.called(label)).knownAs("list(" + WidgetQuery.literal(label) + ")");
    }

    /**
     * @param label what stands beside it, or its name
     * @return a list, table or tree
     */
    default Widget list(Pattern label) {
        return find(Kinds.ROWS.called(label)).knownAs("list(" + WidgetQuery.literal(label) + ")");
    }

    /** @return the only list, table or tree there is */
    default Widget table() {
        return find(Kinds.ROWS).knownAs("table()");
    }

    /**
     * @param label what stands beside it, or its name
     * @return a list, table or tree
     */
    default Widget table(String label) {
        return find(Kinds.ROWS.called(label)).knownAs("table(" + WidgetQuery.literal(label) + ")");
    }

    /**
     * @param label what stands beside it, or its name
     * @return a list, table or tree
     */
    default Widget table(Pattern label) {
        return find(Kinds.ROWS.called(label)).knownAs("table(" + WidgetQuery.literal(label) + ")");
    }

    /** @return the only combo box or option menu there is */
    default Widget comboBox() {
        return find(Kinds.CHOICE).knownAs("comboBox()");
    }

    /**
     * @param label what stands beside it
     * @return the combo box, or option menu
     */
    default Widget comboBox(String label) {
        return find(Kinds.CHOICE.called(label)).knownAs("comboBox(" + WidgetQuery.literal(label) + ")");
    }

    /**
     * @param label what stands beside it
     * @return the combo box, or option menu
     */
    default Widget comboBox(Pattern label) {
        return find(Kinds.CHOICE.called(label)).knownAs("comboBox(" + WidgetQuery.literal(label) + ")");
    }

    /** @return the only option menu or combo box there is */
    default Widget optionMenu() {
        return find(Kinds.CHOICE).knownAs("optionMenu()");
    }

    /**
     * @param label what stands beside it
     * @return the option menu, or combo box
     */
    default Widget optionMenu(String label) {
        return find(Kinds.CHOICE.called(label)).knownAs("optionMenu(" + WidgetQuery.literal(label) + ")");
    }

    /**
     * @param label what stands beside it
     * @return the option menu, or combo box
     */
    default Widget optionMenu(Pattern label) {
        return find(Kinds.CHOICE.called(label)).knownAs("optionMenu(" + WidgetQuery.literal(label) + ")");
    }

    /** @return the only slider there is */
    default Widget slider() {
        return find(Kinds.SLIDER).knownAs("slider()");
    }

    /**
     * @param label what stands beside it
     * @return the slider, for {@link Widget#set(double)}
     */
    default Widget slider(String label) {
        return find(Kinds.SLIDER.called(label)).knownAs("slider(" + WidgetQuery.literal(label) + ")");
    }

    /**
     * @param label what stands beside it
     * @return the slider
     */
    default Widget slider(Pattern label) {
        return find(Kinds.SLIDER.called(label)).knownAs("slider(" + WidgetQuery.literal(label) + ")");
    }

    /**
     * @param name what it says
     * @return the tab that brings a page to the front
     */
    default Widget tab(String name) {
        return find(Query.role(Role.TAB).called(name)).knownAs("tab(" + WidgetQuery.literal(name) + ")");
    }

    /**
     * @param name what it says
     * @return the tab that brings a page to the front
     */
    default Widget tab(Pattern name) {
        return find(Query.role(Role.TAB).called(name)).knownAs("tab(" + WidgetQuery.literal(name) + ")");
    }
}
