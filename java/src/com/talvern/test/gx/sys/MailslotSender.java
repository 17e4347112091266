package com.talvern.test.gx.sys;

import com.talvern.test.gx.sys.Mailslot.MailslotGoneException;
import java.util.concurrent.CancellationException;
import java.util.concurrent.TimeUnit;

/**
 * Sends to a mailslot. A request is a vector: message; once answered, reply; and when it failed, text of the failure. The
 * sender frees it, and then whoever answers finds that it is gone.
 */
final class MailslotSender {
    /** Between two looks whether the receiver lives. */
    private static final long PROBE_NANOS = 250_000_000;

    private final Mailslot slot;

    MailslotSender(Mailslot slot) {
        this.slot = slot;
    }

    void post(Object message) {
        enqueue(slot.postMessageQueue, message);
    }

    Object call(Object message, long timeoutMs) {
        SpyVector request = request(message);
        try {
            return awaitReply(request, timeoutMs);
        } catch (InvalidSpyMemReference e) {
            throw gone(e);
        } finally {
            withdraw(request);
        }
    }

    /** Either the message is in the queue and was signalled, or an exception tells that it is not. */
    private void enqueue(SpyVector queue, Object message) {
        slot.checkOpen();
        slot.enter();
        try {
            queue.addElement(message);
            boolean signalled = false;
            try {
                signalled = slot.sendIPC(false);
            } finally {
                if (!signalled) {
                    queue.remove(queue.size() - 1);
                }
            }
            if (!signalled) {
                throw new IllegalStateException("Mailslot takes no more messages: " + slot.getName());
            }
        } catch (MailslotGoneException | InvalidSpyMemReference e) {
            throw gone(e);
        } finally {
            slot.leave();
        }
    }

    /** Made and sent, or neither. */
    private SpyVector request(Object message) {
        slot.enter();
        try {
            SpyVector request = MailslotQueues.make(4);
            boolean sent = false;
            try {
                request.addElement(message);
                enqueue(slot.sendMessageQueue, request);
                sent = true;
                return request;
            } finally {
                if (!sent) {
                    MailslotQueues.freeQuietly(request);
                }
            }
        } finally {
            slot.leave();
        }
    }

    private Object awaitReply(SpyVector request, long timeoutMs) {
        long start = System.nanoTime();
        long probed = start;
        for (int rings = Mailslot.rings(request); request.size() < 2; rings = Mailslot.rings(request)) {
            long now = System.nanoTime();
            if (now - start >= TimeUnit.MILLISECONDS.toNanos(timeoutMs)) {
                throw new ApplicationNotRespondingException(
                        "Mailslot [" + slot.getName() + "] did not answer within " + timeoutMs + " ms");
            }
            if (Thread.currentThread().isInterrupted()) {
                throw new CancellationException("interrupted while waiting for Mailslot [" + slot.getName() + "]");
            }
            if (now - probed >= PROBE_NANOS) {
                probed = now;
                demandReceiver();
            }
            Mailslot.awaitRing(request, rings);
        }
        if (request.size() > 2) {
            throw new RequestFailedException((String) request.get(2));
        }
        return request.get(1);
    }

    private void demandReceiver() {
        if (!slot.isReceiving()) {
            throw gone(null);
        }
    }

    private void withdraw(SpyVector request) {
        slot.enter();
        try {
            int index = slot.sendMessageQueue.indexOf(request, 0);
            if (index >= 0) {
                slot.sendMessageQueue.remove(index);
            }
        } catch (InvalidSpyMemReference e) {
            // The mailslot was closed.
        } finally {
            MailslotQueues.freeQuietly(request);
            slot.leave();
        }
    }

    /**
     * Frees what a dead receiver has left, unless somebody did so.
     *
     * @param cause null for none
     * @return the exception to throw
     */
    private RuntimeException gone(RuntimeException cause) {
        Mailslot.find(slot.getName());
        return cause instanceof MailslotGoneException ? cause
                : new MailslotGoneException("Mailslot [" + slot.getName() + "] disappeared during send");
    }
}
