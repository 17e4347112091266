package com.talvern.test.gx.engine;

import java.awt.Rectangle;
import java.util.Comparator;
import java.util.EnumSet;
import java.util.HashMap;
import java.util.IdentityHashMap;
import java.util.List;
import java.util.Map;
import java.util.Optional;
import java.util.Set;
import java.util.stream.Stream;

/** Finds the labels that stand beside fields, where the toolkit does not tell whose they are. */
final class FieldLabels {
    /** What people put a label in front of or above. */
    private static final Set<Role> LABELLED = EnumSet.of(Role.TEXT_FIELD, Role.TEXT_AREA, Role.COMBO_BOX,
        Role.OPTION_MENU, Role.SPIN_BUTTON, Role.SCALE, Role.PROGRESS_BAR, Role.LIST, Role.TABLE, Role.TREE);
    /** Pixels that a label may lap over its field, as the frames of some do. */
    private static final int LAP = 4;

    /** How far around a field a label above it lies: a list may have a frame and scroll bars around it. */
    private static final int AROUND = 3;

    private final List<WidgetView> labels;
    private final List<WidgetView> boxes;
    private final List<WidgetView> fields;
    private final Map<WidgetView, WidgetView> parents = new IdentityHashMap<>();

    private FieldLabels(WidgetView window) {
        labels = telling(window, EnumSet.of(Role.LABEL));
        boxes = telling(window, EnumSet.of(Role.CHECK_BOX, Role.RADIO_BUTTON));
        fields = window.all().filter(each -> LABELLED.contains(each.role()) && each.seen() != null).toList();
        window.all().forEach(each -> each.children().forEach(child -> parents.put(child, each)));
    }

    private static List<WidgetView> telling(WidgetView window, Set<Role> roles) {
        return window.all().filter(each -> roles.contains(each.role()) && each.seen() != null && !each.text().isBlank())
            .toList();
    }

    /** @return the window with labels for those fields that have none */
    static WidgetView completed(WidgetView window) {
        FieldLabels finder = new FieldLabels(window);
        Map<Long, String> found = new HashMap<>();
        for (WidgetView field : finder.fields) {
            if (field.label().isEmpty()) {
                finder.labelOf(field).ifPresent(label -> found.put(field.id(), label.text()));
            }
        }
        window.all().filter(FieldLabels::isMute).forEach(toggle ->
            finder.leftOf(toggle).ifPresent(label -> found.put(toggle.id(), label.text())));
        return found.isEmpty() ? window : window.withLabels(found);
    }

    /** Switches have their text beside them, as check boxes in some forms have. */
    private static boolean isMute(WidgetView view) {
        return (view.role() == Role.TOGGLE || view.role() == Role.CHECK_BOX) && view.seen() != null
            && view.text().isEmpty() && view.label().isEmpty() && view.tip().isEmpty();
    }

    private Optional<WidgetView> leftOf(WidgetView field) {
        return nearest(labels.stream().filter(label -> isLeftOf(label, field)));
    }

    private static Optional<WidgetView> nearest(Stream<WidgetView> leftOfField) {
        return leftOfField.max(Comparator.comparingInt(label -> label.bounds().x + label.bounds().width));
    }

    private Optional<WidgetView> above(WidgetView field) {
        return labels.stream().filter(label -> isAbove(label.bounds(), field.bounds()) && isBeside(label, field))
            .max(Comparator.comparingInt(label -> label.bounds().y));
    }

    /** The box to tick that has the field enabled. */
    private Optional<WidgetView> boxOf(WidgetView field) {
        return nearest(boxes.stream().filter(box -> isLeftOf(box, field) && isBeside(box, field)));
    }

    private Optional<WidgetView> labelOf(WidgetView field) {
        return leftOf(field).or(() -> above(field)).or(() -> boxOf(field));
    }

    private boolean isBeside(WidgetView label, WidgetView field) {
        WidgetView around = field;
        for (int step = 0; step < AROUND && around != null; ++step) {
            around = parents.get(around);
            if (around == parents.get(label)) {
                return true;
            }
        }
        return false;
    }

    /** In the field's line, with no other field between. */
    private boolean isLeftOf(WidgetView label, WidgetView field) {
        Rectangle text = label.bounds();
        Rectangle place = field.bounds();
        int end = text.x + text.width;
        return text.x < place.x && end <= place.x + LAP && (isInFirstLine(text, place) || isHalfDown(label, field))
            && hasNoField(new Rectangle(end, middle(text), place.x - end, 1));
    }

    private static boolean isInFirstLine(Rectangle label, Rectangle field) {
        return middle(label) >= field.y
            && middle(label) < field.y + Math.min(field.height, 2 * label.height + 2 * LAP);
    }

    /** Where forms of GTK put the label of a high field unless they are told otherwise. */
    private boolean isHalfDown(WidgetView label, WidgetView field) {
        return Math.abs(middle(label.bounds()) - middle(field.bounds())) <= 2 * LAP && isBeside(label, field);
    }

    private static int middle(Rectangle box) {
        return box.y + box.height / 2;
    }

    private boolean isAbove(Rectangle label, Rectangle field) {
        int gap = field.y - (label.y + label.height);
        return gap >= -LAP && gap <= label.height && label.x >= field.x - 4 * LAP && label.x < field.x + field.width
            && hasNoField(new Rectangle(label.x, label.y + label.height, 1, Math.max(gap, 0)));
    }

    private boolean hasNoField(Rectangle gap) {
        return fields.stream().noneMatch(other -> other.bounds().intersects(gap));
    }
}
