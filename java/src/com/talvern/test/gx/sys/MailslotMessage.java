package com.talvern.test.gx.sys;

/** A message that was received at a mailslot: see {@link Mailslot#receive}. */
public final class MailslotMessage {
    private final Mailslot slot;
    private final Object value;
    private final SpyVector request;

    /** @param request null for a posted message */
    MailslotMessage(Mailslot slot, Object value, SpyVector request) {
        this.slot = slot;
        this.value = value;
        this.request = request;
    }

    /** @return what was sent */
    public Object value() {
        return value;
    }

    /** @return whether the sender waits for a reply */
    public boolean isRequest() {
        return request != null;
    }

    /**
     * Answers a request, once. Any thread.
     *
     * @param reply what {@link SpyMemory} can store
     * @return false when nobody waits for it: posted, answered already, or the sender gave up
     * @throws IllegalArgumentException the reply is of another class
     */
    public boolean reply(Object reply) {
        return answer(reply, null);
    }

    /**
     * Tells the sender of a request that it could not be handled.
     *
     * @param text what went wrong
     * @return as {@link #reply}
     */
    public boolean fail(String text) {
        return answer(null, text == null ? "" : text);
    }

    void answerBy(MailslotHandler handler) {
        try {
            reply(handler.handle(value));
        } catch (Throwable e) { // an Error, too, is one message's failure: those that come after it are served
            if (!fail(e.toString())) {
                Thread self = Thread.currentThread();
                self.getUncaughtExceptionHandler().uncaughtException(self, e);
            }
        }
    }

    boolean isWanted() {
        try {
            return request == null || request.size() == 1;
        } catch (InvalidSpyMemReference e) {
            return false;
        }
    }

    private boolean answer(Object reply, String failure) {
        if (request == null) {
            return false;
        }
        boolean answered = store(reply, failure);
        if (answered) {
            Mailslot.ring(request); // once the lock is free, which the sender needs to look
        }
        return answered;
    }

    private boolean store(Object reply, String failure) {
        slot.enter();
        try {
            if (request.size() != 1) {
                return false;
            }
            request.addElement(reply);
            if (failure != null) {
                request.addElement(failure);
            }
            return true;
        } catch (InvalidSpyMemReference e) {
            return false;
        } finally {
            slot.leave();
        }
    }
}
