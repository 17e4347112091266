package com.talvern.test.gx.sys;

import java.util.concurrent.CancellationException;

/**
 * A named place where one process receives what any number of others, on the same X display, send to it.
 *
 * <p>The process that answers:
 *
 * <pre>{@code
 * try (Mailslot slot = Mailslot.open("Calculator")) {
 *     slot.serve(message -> (Integer) message + 1);      // until another thread closes it
 * }
 * }</pre>
 *
 * <p>A process that asks, and waits five seconds at most:
 *
 * <pre>{@code
 * Mailslot slot = Mailslot.find("Calculator");           // null when nobody has opened it
 * slot.post(41);                                         // returns at once
 * System.out.println(slot.call(41, 5000)); // 42
 * }</pre>
 *
 * <p><b>Messages</b> and replies are what spy memory stores (see {@link SpyMemory}): null, numbers, characters, truth
 * values, strings of up to half a million characters, and objects of shared memory. Texts and numbers are copied. An
 * object of shared memory travels by reference, and is freed by whomever the two sides chose, for instance by the
 * receiver of a post, and by the sender of a request after the reply.
 *
 * <p><b>Order.</b> What one thread sends arrives in that order, none lost as long as the receiver lives. Requests of
 * several threads and processes may wait at the same time. Each reply goes into its own request: one that comes after
 * its sender has given up reaches nobody.
 *
 * <p><b>Limits.</b> A display has semaphores for 15 mailslots, fewer when named mutexes take some. Up to 32767
 * messages wait in one mailslot.
 *
 * <p><b>The end of a process.</b> {@link #open} makes the mailslots of a process vanish when it exits, or is ended by
 * SIGTERM. For that the native layer takes SIGTERM over: shutdown hooks then run at a normal exit only. A process that
 * is killed leaves its mailslot behind, until somebody sends to it, finds it or opens it again. A receiver counts as
 * alive while there is a process with its id, be it a zombie that its parent has not waited for, or a new process that
 * got the same id. Whoever finds that it is a child of its own process, and dead, has taken its exit status. Once
 * processes of several process id namespaces (containers) have used the store, every receiver counts as alive.
 *
 * <p>Senders may share an object of this class; one thread at a time receives. All methods throw what those of {@link
 * SpyMemory} do.
 */
public class Mailslot extends SpyMemory implements AutoCloseable {
    private static final long DEFAULT_TIMEOUT_MS = 120_000;

    /** Requests: each is a vector of its own, see {@link #call}. Set by native code, too. */
    SpyVector sendMessageQueue;
    /** Posted messages, as they are. Set by native code, too. */
    SpyVector postMessageQueue;
    /** Set by native code. */
    private String name;
    /** Id of the semaphore set; of a mailslot that this object has created only. Set by native code. */
    private int eventHandle;

    private final MailslotReceiver receiver = new MailslotReceiver(this);
    /** By this object, which may receive. */
    private boolean isOpened;
    private volatile boolean closed;
    private volatile boolean removed;

    /** An object that names no mailslot yet. Native code makes those that {@link #find} answers. */
    public Mailslot() {}

    /**
     * Makes a mailslot for this process to receive at. One that a dead process left behind is replaced.
     *
     * @param name the name by which all processes of the display find it; has a form in the code set of the locale
     * @return the mailslot
     * @throws IllegalStateException a living process, perhaps this one, has it already; or no semaphores are left
     */
    public static Mailslot open(String name) {
        if (name == null || name.isEmpty()) {
            throw new IllegalArgumentException("A mailslot needs a name");
        }
        return MailslotRegistry.open(name);
    }

    /**
     * Finds the mailslot of another process, or of this one, to send to it.
     *
     * @param name the name
     * @return null when there is none, or its receiver is dead
     */
    public static Mailslot find(String name) {
        return name == null ? null : MailslotRegistry.find(name);
    }

    /** Takes the lock. Until {@link #leave} all changes are one: whoever is killed has made all of them or none. */
    void enter() {
        lock();
        begin();
    }

    void leave() {
        end();
        unlock();
    }

    void setOpened() {
        isOpened = true;
    }

    boolean isReceiving() {
        try {
            return isAttended();
        } catch (InvalidSpyMemReference e) {
            return false;
        }
    }

    /** @return the name of the mailslot */
    public String getName() {
        return name;
    }

    /**
     * Sends a message without waiting for anything.
     *
     * @param message what {@link SpyMemory} can store
     * @throws IllegalArgumentException it is of another class
     * @throws IllegalStateException so many messages wait already that the receiver cannot be signalled
     * @throws MailslotGoneException the receiver is dead, or has closed the mailslot
     */
    public void post(Object message) {
        new MailslotSender(this).post(message);
    }

    /**
     * Sends a message and waits up to 120 seconds for the reply; see {@link #call}.
     *
     * @param message what {@link SpyMemory} can store
     * @return the reply
     */
    public Object send(Object message) {
        return call(message, DEFAULT_TIMEOUT_MS);
    }

    /**
     * Sends a message and waits for the reply.
     *
     * @param message what {@link SpyMemory} can store
     * @param timeoutMs longest wait in milliseconds. When it is over, a receiver that has not begun with the message
     *     does not see it any more
     * @return the reply
     * @throws IllegalArgumentException the message is of another class
     * @throws MailslotGoneException the receiver is dead, noticed within a second; or has closed the mailslot
     * @throws ApplicationNotRespondingException no reply came in that time; or another process kept the lock of all
     *     shared memory for 10 seconds, whatever the time-out
     * @throws RequestFailedException the receiver could not handle the message
     * @throws CancellationException the thread was interrupted; it still is
     */
    public Object call(Object message, long timeoutMs) {
        checkOpen();
        return new MailslotSender(this).call(message, timeoutMs);
    }

    boolean isClosed() {
        return closed;
    }

    void checkOpen() {
        if (closed || name == null) {
            throw new InvalidMailslotException("Mailslot does not  exist: " + name);
        }
    }

    /**
     * Waits for the next message, without limit; {@link #close} ends it, an interrupt does not. Only the process that
     * has opened the mailslot receives, and one of its threads at a time.
     *
     * @return the message; null once the mailslot is closed, or its semaphores were removed from the system
     * @throws IllegalStateException this object has not opened the mailslot
     */
    public MailslotMessage receive() {
        if (!isOpened) {
            throw new IllegalStateException("Only who has opened a mailslot receives: " + name);
        }
        return receiver.receive();
    }

    /**
     * Receives and answers until the mailslot is closed, by another thread or by the handler.
     *
     * @param handler is called with each message, on this thread
     */
    public void serve(MailslotHandler handler) {
        for (MailslotMessage message = receive(); message != null; message = receive()) {
            message.answerBy(handler);
        }
    }

    /**
     * Gives the mailslot up, when this object has opened it: senders that wait get {@link MailslotGoneException}, the
     * semaphores and all messages that wait are freed. A thread that waits in {@link #receive} comes back. An object
     * that only sends is closed without any effect on the mailslot. Call it again when it has thrown.
     */
    @Override
    public void close() {
        closed = true;
        if (!isOpened || removed) {
            return;
        }
        wakeReceiver();
        receiver.alone(() -> {
            MailslotRegistry.remove(this);
            removed = true;
        });
    }

    /** By a signal without a message. */
    private void wakeReceiver() {
        try {
            sendIPC(false);
        } catch (MailslotGoneException | InvalidSpyMemReference | InvalidMailslotException e) {
            // None waits at what is not there.
        }
    }

    // What the methods above are made of.

    /**
     * Makes a mailslot on the two queues of this object, known to nobody: {@link #open} does the rest.
     *
     * @param name stored with it
     * @return false when no semaphores are left
     */
    public native boolean create(String name);

    /**
     * Signals that a message is in a queue.
     *
     * @param waitForReply wait until the receiver calls {@link #replyTo}, 120 seconds at most. One sender at a time
     *     may do so, and only for a receiver of another kind: {@link #serve} does not answer this way, and {@link #send}
     *     waits in its own
     * @return false when the message could not be signalled, or no reply came
     * @throws InvalidMailslotException this object names no mailslot
     * @throws MailslotGoneException the receiver is dead; the semaphores are given back then
     */
    public native boolean sendIPC(boolean waitForReply);

    /**
     * Waits for a signal, without limit. The first call makes this process the owner of the mailslot and sees to it
     * that the mailslots of this process vanish when it ends.
     *
     * @return false when there is nothing to wait for
     */
    public native boolean waitForIncomingMessage();

    /**
     * Answers a sender of another kind, which waits in {@link #sendIPC}; {@link #serve} answers in the request.
     *
     * @return whether it could be woken
     */
    public native boolean replyTo();

    /**
     * Wakes a sender that waits in {@link #sendIPC} and gives semaphores and name back.
     *
     * @throws InvalidSpyMemReference the mailslot was freed
     */
    public native void detach();

    /** @return whether this object names a mailslot that has its semaphores */
    public native boolean pingMailslot();

    /**
     * Does nothing: {@link #sendIPC} waits 120 seconds, {@link #call} takes its own limit.
     *
     * @param timeoutMs ignored
     * @return 0
     */
    public native int SetInvocationTimeoutValueIPC(int timeoutMs);

    /** Begins a change that is made as a whole, under the lock. Untraced, as all that is not public. */
    private static native void begin();

    private static native void end();

    /** Whether its semaphores are there, and the process that opened it may live. */
    private native boolean isAttended();

    /** Takes one signal, when there is one: as many are given as messages, and the system counts so far only. */
    native void takeSignal();

    /** How often the bell of this request was rung. Asked before the request is looked at, so that no ring is missed. */
    static native int rings(SpyVector request);

    /** Waits until it was rung since then, for a millisecond at most. */
    static native void awaitRing(SpyVector request, int rings);

    /** Wakes the sender of the request, and perhaps a few that have nothing to see. */
    static native void ring(SpyVector request);

    /** The receiver has died, or has closed the mailslot. */
    public static class MailslotGoneException extends RuntimeException {
        private static final long serialVersionUID = 1L;

        /** An exception without a message. */
        public MailslotGoneException() {
            super();
        }

        /**
         * An exception with a message.
         *
         * @param message names the mailslot
         */
        public MailslotGoneException(String message) {
            super(message);
        }
    }
}
