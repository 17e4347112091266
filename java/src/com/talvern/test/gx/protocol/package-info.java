/**
 * How an engine asks an application, and the application answers: where, in what form, and what for. For these two alone:
 * it may be another one in any version, and a program of another version is refused.
 */
package com.talvern.test.gx.protocol;
