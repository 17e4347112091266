package com.talvern.test.gx.sys;

import java.util.ArrayDeque;
import java.util.ArrayList;
import java.util.List;
import java.util.Queue;
import java.util.concurrent.locks.ReentrantLock;

/** Receives at a mailslot, one thread at a time, and keeps what it has taken out of the queues and not handed out yet. */
final class MailslotReceiver {
    private final Mailslot slot;
    private final ReentrantLock receiving = new ReentrantLock();
    private final Queue<MailslotMessage> taken = new ArrayDeque<>();

    MailslotReceiver(Mailslot slot) {
        this.slot = slot;
    }

    /** Runs work while no thread receives. */
    void alone(Runnable work) {
        receiving.lock();
        try {
            work.run();
        } finally {
            receiving.unlock();
        }
    }

    MailslotMessage receive() {
        receiving.lock();
        try {
            boolean hasItsSignal = false;
            while (!slot.isClosed()) {
                MailslotMessage message = next();
                if (message != null) {
                    if (!hasItsSignal) {
                        slot.takeSignal();
                    }
                    return message;
                }
                if (!slot.waitForIncomingMessage()) {
                    return null;
                }
                hasItsSignal = true;
            }
            return null;
        } finally {
            receiving.unlock();
        }
    }

    /** What waits; null for nothing. */
    private MailslotMessage next() {
        if (taken.isEmpty()) {
            takeAll();
        }
        // Taken out once it is certain what becomes of it: asking may fail when the lock is kept by others.
        while (!taken.isEmpty() && !taken.peek().isWanted()) {
            taken.remove();
        }
        return taken.poll();
    }

    /** The posts first: a request that waits already was sent after those that its thread has posted. */
    private void takeAll() {
        List<MailslotMessage> found = new ArrayList<>();
        slot.enter();
        try {
            int posts = slot.postMessageQueue.size();
            for (int i = 0; i < posts; i++) {
                found.add(new MailslotMessage(slot, slot.postMessageQueue.get(i), null));
            }
            for (SpyVector request : MailslotQueues.requestsIn(slot.sendMessageQueue)) {
                try {
                    found.add(new MailslotMessage(slot, request.get(0), request));
                } catch (InvalidSpyMemReference e) {
                    // Its sender is gone, and so is what it asked.
                }
            }
            slot.postMessageQueue.removeAllElements();
            slot.sendMessageQueue.removeAllElements();
            taken.addAll(found);
        } finally {
            slot.leave();
        }
    }
}
