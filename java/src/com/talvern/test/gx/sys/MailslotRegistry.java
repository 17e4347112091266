package com.talvern.test.gx.sys;

/** Where the mailslots of a display are found by their names: a map of spy memory. The callers hold the lock. */
final class MailslotRegistry {
    private static final String NAME = "MailSlots";

    private MailslotRegistry() {}

    /** @return null when no process has made it yet */
    static SpyMap found() {
        return new SpyMemory().locate(NAME) instanceof SpyMap map ? map : null;
    }

    static SpyMap made() {
        SpyMap map = found();
        if (map == null) {
            map = new SpyMap();
            map.create(NAME, 0, 100);
        }
        return map;
    }

    /** @return null for none whose receiver lives; one that a dead process has left is freed then */
    static Mailslot living(SpyMap registry, String name) {
        if (!registry.containsKey(name)) {
            return null;
        }
        if (registry.get(name) instanceof Mailslot slot) {
            if (slot.isReceiving()) {
                return slot;
            }
            slot.discard();
        }
        registry.remove(name);
        return null;
    }
}
