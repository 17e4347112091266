package com.talvern.test.gx.sys;

/** Figures over all heaps of shared memory that are in use; filled by {@link SpyMemory#getStats}. Sizes are bytes. */
public class SpyMemoryStatistics {
    /** Free blocks. */
    public int numberFreeBlocks;
    /** Bytes in free blocks. */
    public int numberBytesFree;
    /** Blocks in use. */
    public int numberUsedBlocks;
    /** Size of the largest block in use. */
    public int largestUsedBlock;
    /** Size of the largest free block. */
    public int largestFreeBlock;
    /** Bytes in blocks in use. */
    public int numberBytesAllocated;
    /** Heaps: the common one, its extensions, and those of transactions. */
    public int numberOfActiveHeaps;

    /** All figures 0. */
    public SpyMemoryStatistics() {}
}
