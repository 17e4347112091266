package com.talvern.test.gx.object.map;

import com.talvern.test.gx.sys.SpyMemory;

/** A mapped test object kept in shared memory: stored in a container it stays an object of this class. */
public class SpyMappedTestObject extends SpyMemory {
    /** An object that names nothing yet. */
    public SpyMappedTestObject() {}
}
