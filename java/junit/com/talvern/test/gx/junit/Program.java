package com.talvern.test.gx.junit;

import java.lang.annotation.Documented;
import java.lang.annotation.ElementType;
import java.lang.annotation.Retention;
import java.lang.annotation.RetentionPolicy;
import java.lang.annotation.Target;

/**
 * Says which program an application is that a {@link GxTest} takes as a parameter. It ends with the test's JVM at the
 * latest, whatever way that ends.
 */
@Documented
@Retention(RetentionPolicy.RUNTIME)
@Target(ElementType.PARAMETER)
public @interface Program {
    /**
     * @return the program, looked for in PATH, and its arguments; <code>${NAME}</code> in them is the system property of
     *     that name
     */
    String[] value();

    /** @return whether the programs that it starts get an agent, too: for one behind a script */
    boolean follow() default false;

    /** @return whether it outlives the test and its JVM */
    boolean leaveRunning() default false;

    /** @return the longest wait until it can be asked, in seconds */
    int limit() default 30;
}
