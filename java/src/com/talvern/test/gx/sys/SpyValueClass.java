package com.talvern.test.gx.sys;

/** A value object kept in shared memory: stored in a container it stays an object of this class. */
public class SpyValueClass extends SpyMemory {
    /** An object that names nothing yet. */
    public SpyValueClass() {}
}
