package com.talvern.test.gx.engine;

/** Roles that people call by one word. */
final class Kinds {
    static final WidgetQuery BUTTON = Query.role(Role.PUSH_BUTTON, Role.TOGGLE, Role.TOOL_ITEM);
    static final WidgetQuery TOGGLE = Query.role(Role.CHECK_BOX, Role.RADIO_BUTTON, Role.TOGGLE, Role.TOOL_ITEM);
    static final WidgetQuery FIELD = WidgetQuery.that("takes or shows typed text",
        view -> view.role() == Role.TEXT_FIELD || view.role() == Role.TEXT_AREA || view.role() == Role.SPIN_BUTTON
            || view.role() == Role.COMBO_BOX && view.editable());
    static final WidgetQuery ROWS = Query.role(Role.LIST, Role.TABLE, Role.TREE);
    static final WidgetQuery SLIDER = Query.role(Role.SCALE);
    static final WidgetQuery CHOICE = Query.role(Role.COMBO_BOX, Role.OPTION_MENU);

    private Kinds() {}
}
