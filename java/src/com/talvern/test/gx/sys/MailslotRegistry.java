package com.talvern.test.gx.sys;

/** Where the mailslots of a display are found by their names: a map of spy memory. The callers hold the lock. */
final class MailslotRegistry {
    static {
        NativeLibrary.load();
    }

    private static final String NAME = name();

    private MailslotRegistry() {}

    /** @return by which native code finds it, too: it takes out what a process at its end has in it */
    private static native String name();

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
