package com.talvern.test.gx.sys;

/** Where the mailslots of a display are found by their names: a map of spy memory. */
final class MailslotRegistry {
    static {
        NativeLibrary.load();
    }

    private static final String NAME = name();

    private MailslotRegistry() {}

    /** @return by which native code finds it, too: it takes out what a process at its end has in it */
    private static native String name();

    /** As {@link Mailslot#open}. */
    static Mailslot open(String name) {
        Mailslot slot = new Mailslot();
        slot.enter();
        try {
            SpyMap registry = made();
            if (living(registry, name) != null) {
                throw new IllegalStateException("Mailslot is in use: " + name);
            }
            enter(registry, name, slot);
            return slot;
        } finally {
            slot.leave();
        }
    }

    /** As {@link Mailslot#find}. */
    static Mailslot find(String name) {
        Mailslot any = new Mailslot();
        any.enter();
        try {
            SpyMap registry = found();
            return registry == null ? null : living(registry, name);
        } finally {
            any.leave();
        }
    }

    /** Takes a mailslot out, and frees it. */
    static void remove(Mailslot slot) {
        slot.enter();
        try {
            SpyMap registry = found();
            if (registry != null && registry.containsKey(slot.getName())) {
                registry.remove(slot.getName());
            }
            discard(slot);
        } finally {
            slot.leave();
        }
    }

    // The callers of what follows hold the lock.

    /** @return null when no process has made it yet */
    private static SpyMap found() {
        return new SpyMemory().locate(NAME) instanceof SpyMap map ? map : null;
    }

    private static SpyMap made() {
        SpyMap map = found();
        if (map == null) {
            map = new SpyMap();
            map.create(NAME, 0, 100);
        }
        return map;
    }

    /** Makes a mailslot, or nothing of it. */
    private static void enter(SpyMap registry, String name, Mailslot slot) {
        boolean made = false;
        try {
            slot.sendMessageQueue = MailslotQueues.make(8);
            slot.postMessageQueue = MailslotQueues.make(64);
            if (!slot.create(name)) {
                throw new IllegalStateException("No semaphores are left for mailslot " + name);
            }
            // A wait that ends at once makes this process the owner, before anybody finds the mailslot: one that
            // nobody owns passes for alive for ever.
            made = slot.sendIPC(false) && slot.waitForIncomingMessage() && registry.put(name, slot);
            if (made) {
                slot.setOpened();
            }
        } finally {
            if (!made) {
                discard(slot);
            }
        }
    }

    /** @return null for none whose receiver lives; one that a dead process has left is freed then */
    private static Mailslot living(SpyMap registry, String name) {
        if (!registry.containsKey(name)) {
            return null;
        }
        if (registry.get(name) instanceof Mailslot slot) {
            if (slot.isReceiving()) {
                return slot;
            }
            discard(slot);
        }
        registry.remove(name);
        return null;
    }

    /** Frees all that a mailslot has in spy memory. */
    private static void discard(Mailslot slot) {
        try {
            slot.detach();
            if (slot.sendMessageQueue != null) {
                MailslotQueues.requestsIn(slot.sendMessageQueue).forEach(MailslotQueues::freeQuietly);
            }
        } catch (InvalidSpyMemReference e) {
            // Somebody else did so.
        }
        MailslotQueues.freeQuietly(slot.sendMessageQueue);
        MailslotQueues.freeQuietly(slot.postMessageQueue);
        MailslotQueues.freeQuietly(slot);
    }
}
