package com.talvern.test.gx.junit;

import java.lang.annotation.Documented;
import java.lang.annotation.ElementType;
import java.lang.annotation.Inherited;
import java.lang.annotation.Retention;
import java.lang.annotation.RetentionPolicy;
import java.lang.annotation.Target;
import org.junit.jupiter.api.extension.ExtendWith;

/**
 * A JUnit test of programs with windows: a class of tests, or one of them.
 *
 * <p>Parameters that are marked with {@link Program} are applications, which are started before and closed after. Those of a
 * test or of a {@code @BeforeEach} method live as long as the test, those of a constructor or of a {@code @BeforeAll}
 * method as long as the class, or as the constructed object.
 *
 * <p>When a test fails, or what prepares it, a page is written before anything is closed: pictures of the screen and of
 * the applications' windows, all that is in them, what the test had last asked for, what the applications have written to
 * their standard error and how they ended, and the last 200 lines of the native trace, without texts that were typed. It
 * is {@code index.html} in a folder {@code CLASS/TEST} of the directory that the configuration parameter or system
 * property {@code gx.failures} names, {@code target/gx-failures} without one; its place is printed to standard error.
 * What a password field holds is not in it. A page that is there from an earlier run is replaced.
 */
@Documented
@Inherited
@Retention(RetentionPolicy.RUNTIME)
@Target({ElementType.TYPE, ElementType.METHOD})
@ExtendWith(GxExtension.class)
public @interface GxTest {
}
