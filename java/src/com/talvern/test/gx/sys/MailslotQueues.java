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
