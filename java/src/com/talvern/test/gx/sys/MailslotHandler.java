package com.talvern.test.gx.sys;

/** Answers the messages of a mailslot: see {@link Mailslot#serve}. */
@FunctionalInterface
public interface MailslotHandler {
    /**
     * Handles one message.
     *
     * @param message what was posted or asked
     * @return the reply; nobody reads it for a posted message
     * @throws Exception goes to the sender that waits, as {@link RequestFailedException}; for a posted message, to
     *     the uncaught exception handler of the receiving thread. An Error does the same
     */
    Object handle(Object message) throws Exception;
}
