package com.talvern.test.gx.domain.html;

import com.talvern.test.gx.domain.TestContext;

/**
 * The Java side of a native test domain. It lives as long as the application under test and keeps what the domain's
 * code needs to find its native side; a domain library may bind native methods of its own classes to it.
 */
public class HtmlTestDomainImplementation {
    private final TestContext context;
    private final String domain;
    private final long nativeDomain;

    /**
     * Made by {@link TestContext#getHtmlDomain} on the GUI thread.
     *
     * @param context the context of that thread
     * @param domain the name of the domain
     * @param nativeDomain the address of the interface of its library
     */
    public HtmlTestDomainImplementation(TestContext context, String domain, long nativeDomain) {
        this.context = context;
        this.domain = domain;
        this.nativeDomain = nativeDomain;
    }

    /**
     * Where the domain lives.
     *
     * @return the context of the GUI thread
     */
    public TestContext context() {
        return context;
    }

    /**
     * The name that the domain was loaded by.
     *
     * @return such as "xyzhtml"
     */
    public String domain() {
        return domain;
    }

    /**
     * The native interface, for the domain library's own native methods.
     *
     * @return its address
     */
    public long nativeDomain() {
        return nativeDomain;
    }
}
