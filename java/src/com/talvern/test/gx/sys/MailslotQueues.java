package com.talvern.test.gx.sys;

import java.util.ArrayList;
import java.util.List;

/** What waits at a mailslot, in spy memory: posted messages as they are, and requests, each a vector of its own. */
final class MailslotQueues {
    private MailslotQueues() {}

    static SpyVector make(int increment) {
        SpyVector vector = new SpyVector();
        vector.create(null, 0, increment, increment);
        return vector;
    }

    static void add(SpyVector vector, Object value) {
        if (value == null) {
            vector.addElement((String) null);
        } else if (value instanceof String text) {
            vector.addElement(text);
        } else if (value instanceof Integer number) {
            vector.addElement(number.intValue());
        } else if (value instanceof Long number) {
            vector.addElement(number.longValue());
        } else if (value instanceof Boolean truth) {
            vector.addElement(truth.booleanValue());
        } else if (value instanceof Double number) {
            vector.addElement(number.doubleValue());
        } else if (value instanceof Float number) {
            vector.addElement(number.floatValue());
        } else if (value instanceof Short number) {
            vector.addElement(number.shortValue());
        } else if (value instanceof Byte number) {
            vector.addElement(number.byteValue());
        } else if (value instanceof Character character) {
            vector.addElement(character.charValue());
        } else if (value instanceof SpyMemory object) {
            vector.addElement(object);
        } else {
            throw new IllegalArgumentException("A mailslot does not carry objects of " + value.getClass());
        }
    }

    static List<SpyVector> requestsIn(SpyVector queue) {
        List<SpyVector> requests = new ArrayList<>();
        int count = queue.size();
        for (int i = 0; i < count; i++) {
            if (queue.get(i) instanceof SpyVector request) {
                requests.add(request);
            }
        }
        return requests;
    }

    /** @param memory null, and what somebody else has freed, too */
    static void freeQuietly(SpyMemory memory) {
        try {
            if (memory != null) {
                memory.free();
            }
        } catch (InvalidSpyMemReference e) {
            // Somebody else did so.
        }
    }
}
