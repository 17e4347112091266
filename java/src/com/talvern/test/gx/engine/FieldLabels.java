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
    private final List<WidgetView> fields;
    private final Map<WidgetView, WidgetView> parents = new IdentityHashMap<>();

    private FieldLabels(WidgetView window) {
        labels = window.all().filter(each -> each.role() == Role.LABEL && each.seen() != null
            && !each.text().isBlank()).toList();
        fields = window.all().filter(each -> LABELLED.contains(each.role()) && each.seen() != null).toList();
        window.all().forEach(each -> each.children().forEach(child -> parents.put(child, each)));
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
        return found.isEmpty() ? window : window.withLabels(found);
    }

    private Optional<WidgetView> labelOf(WidgetView field) {
        Rectangle place = field.bounds();
        Optional<WidgetView> left = labels.stream().filter(label -> isLeftOf(label.bounds(), place))
            .max(Comparator.comparingInt(label -> label.bounds().x + label.bounds().width));
        return left.isPresent() ? left : labels.stream()
            .filter(label -> isAbove(label.bounds(), place) && isBeside(label, field))
            .max(Comparator.comparingInt(label -> label.bounds().y));
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

    /** In the field's line, which for a high field is its first, with no other field between. */
    private boolean isLeftOf(Rectangle label, Rectangle field) {
        int middle = label.y + label.height / 2;
        int end = label.x + label.width;
        boolean inLine = middle >= field.y && middle < field.y + Math.min(field.height, 2 * label.height + 2 * LAP);
        return inLine && label.x < field.x && end <= field.x + LAP && hasNoField(new Rectangle(end, middle, field.x - end, 1));
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
