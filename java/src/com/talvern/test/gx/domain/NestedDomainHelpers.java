package com.talvern.test.gx.domain;

import com.talvern.test.gx.sys.NativeLibrary;

/** Test domains inside other domains, such as a browser control in a window of the application under test. */
public class NestedDomainHelpers {
    static {
        NativeLibrary.load();
    }

    /** Helpers without a state. */
    public NestedDomainHelpers() {}

    /**
     * Loads the library of a native test domain, which stays loaded.
     *
     * @param windowHandle the window that the domain is wanted for; 0 ends the process by a failed assertion
     * @param domain the name: the library is that name with its first three characters replaced by "lib", in the
     *     directory of the native layer. So {@code xyzhtml} names {@code libhtml.so}
     * @return the address of the library's domain interface, the same at every call; 0 when there is no such library,
     *     when it offers no domain, and for a name that is null or that the locale's code set cannot express
     */
    public native long loadHtmlDomain(long windowHandle, String domain);
}
