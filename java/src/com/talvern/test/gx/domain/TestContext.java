package com.talvern.test.gx.domain;

import java.lang.reflect.InvocationTargetException;

/**
 * What test domains are made in: made by the native layer on the GUI thread of the application under test, when that
 * thread has got its spy port. It has no more than the native layer needs to make a domain.
 */
public final class TestContext {
    private final ThreadChannel channel;

    /**
     * A context for the domains of one thread.
     *
     * @param channel leads to that thread
     */
    public TestContext(ThreadChannel channel) {
        this.channel = channel;
    }

    /**
     * The way to the thread that the domains belong to.
     *
     * @return the channel that the context was made with
     */
    public ThreadChannel channel() {
        return channel;
    }

    /**
     * Makes the Java object of a native test domain.
     *
     * @param type its class, which has a constructor like that of
     *     {@link com.talvern.test.gx.domain.html.HtmlTestDomainImplementation}
     * @param domain the name of the domain
     * @param nativeDomain the address of the interface of its library
     * @return the new object
     * @throws Throwable what the constructor throws, or that there is no such constructor
     */
    public Object getHtmlDomain(Class<?> type, String domain, long nativeDomain) throws Throwable {
        try {
            return type.getConstructor(TestContext.class, String.class, long.class)
                    .newInstance(this, domain, nativeDomain);
        } catch (InvocationTargetException failure) {
            throw failure.getCause();
        }
    }
}
