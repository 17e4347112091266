package com.talvern.test.gx.sys;

/**
 * A block of the memory that all processes of an X display share, and the base of the classes that keep vectors, maps
 * and mapped pairs in it.
 *
 * <pre>{@code
 * SpyMemory block = new SpyMemory();
 * block.allocate("Settings", 64, 0);            // other processes find it by its name
 * block.write("on".getBytes(), 0, 2);
 *
 * SpyMemory found = (SpyMemory) new SpyMemory().locate("Settings");   // as another process does
 * System.out.println(new String(found.read(), 0, 2)); // on
 * }</pre>
 *
 * <p><b>Handles and ownership.</b> A Java object of these classes owns nothing: it holds the reference ("handle") of an
 * object in shared memory, and any number of Java objects, in any number of processes, may hold the same one. The
 * object in shared memory lives until somebody frees it, drops the heap of its transaction, or the last process of the
 * display ends; the garbage collector frees nothing. A new Java object names nothing until {@code create}, {@link
 * #allocate} or a container gives it a reference. Freeing makes the references that others hold stale; a stale one
 * never names what is allocated later in the same place.
 *
 * <p><b>Transactions.</b> Whatever is made under a transaction id other than 0 lies in heaps of its own and can be
 * dropped in one step with {@link #free(int)}. Id 0 stands for the common heap of 1 MiB, which grows by further heaps.
 *
 * <p><b>Values.</b> Containers store these values, as sixteen bytes each and, for a string, a block of its own:
 *
 * <table><caption>What is stored, and what comes back</caption>
 * <tr><th>Java gives</th><th>stored as</th><th>Java gets</th></tr>
 * <tr><td>byte, short, int, long, float, double, boolean, char</td><td>the number</td>
 *     <td>Byte, Short, Integer, Long, Float, Double, Boolean, Character</td></tr>
 * <tr><td>String</td><td>its 16-bit units, in the heap of the container</td><td>a new String</td></tr>
 * <tr><td>{@link SpyVector}, {@link SpyMap}, {@link SpyMappedPair}, {@link SpyValueClass}, {@link Mailslot}, the two
 *     classes of {@code object.map}, {@link SpyMemory}</td><td>its reference</td>
 *     <td>a new object of that class with the reference</td></tr>
 * <tr><td>null; an object that names nothing, or what was freed</td><td>nothing ("empty")</td><td>null</td></tr>
 * <tr><td>(native code only)</td><td>unsigned numbers, decimals</td>
 *     <td>{@code UByte}, {@code UInt32}, {@code UInt64}, {@code Decimal} of {@code com.talvern.test.value}</td></tr>
 * </table>
 *
 * <p>Whoever does not know the class of a value, such as one that came out of another container, stores it as an Object.
 *
 * <p>A string that was freed behind the container's back comes back as null. What {@code remove},
 * {@code setElementAt} or {@code removeAll} take out of a container is freed as far as it is a string; objects that the
 * container referred to live on and have to be freed by whoever made them.
 *
 * <p><b>Threads, processes and locking.</b> One mutex guards all shared memory of a display. Each method takes it for
 * as long as it runs, so that single calls of any threads and processes never tear each other's work. A change in
 * several steps (read, decide, write) has to hold the mutex itself, and release it whatever happens:
 *
 * <pre>{@code
 * SpyMap map = new SpyMap();
 * map.create("Counters", 0, 10);
 * map.lock();
 * try {
 *     map.put("count", map.get("count") instanceof Integer count ? count + 1 : 1);
 * } finally {
 *     map.unlock();
 * }
 * System.out.println(map.get("count")); // 1
 * }</pre>
 *
 * <p>The mutex belongs to the thread that took it and nests. When its process dies the system releases it. A method
 * waits for it up to 10 seconds, by the wall clock as in {@link Mutex#acquire}.
 *
 * <p><b>Exceptions</b> of all methods of all these classes, unless a method says otherwise:
 *
 * <ul>
 * <li>{@link InvalidSpyMemReference}: the object, or a part of it, was freed; or it names nothing
 * <li>{@link OutOfSpyMemException}: there is no room, or {@code DISPLAY} is not set
 * <li>{@link ApplicationNotRespondingException}: another process kept the mutex too long
 * </ul>
 *
 * <p>A damaged object in shared memory is reported in the trace; the answer is then 0, false or null.
 */
public class SpyMemory {
    static {
        NativeLibrary.load();
    }

    /**
     * The reference: the block's id in the low half, its stamp in the high half; 0 names nothing. Set by native code.
     */
    private long handle;

    /** An object that names nothing yet. */
    public SpyMemory() {}

    /**
     * Makes a block of undefined contents, which this object then names. What it named before lives on.
     *
     * @param name the name by which other processes find it; null or empty for none. A name that exists is redefined
     * @param size bytes, above 0
     * @param heap the id of the transaction that it belongs to, 0 for none
     * @return false when the size is not above 0
     */
    public native boolean allocate(String name, int size, int heap);

    /** Frees the object in shared memory; this object then names nothing. A container frees its strings with it. */
    public native void free();

    /**
     * Drops the heaps of a transaction with everything in them. Does nothing for unknown ids and 0.
     *
     * @param id the transaction
     */
    public native void free(int id);

    /**
     * Finds what is registered under a name.
     *
     * @param name the name
     * @return a new object of the class that it was made by; null when there is no such name
     */
    public native Object locate(String name);

    /**
     * Takes a name out of the registry; the object that it named lives on.
     *
     * @param name the name
     * @return as {@link #locate}
     */
    public native Object delete(String name);

    /**
     * Appends a readable dump of all heaps to a file, for diagnosis. Takes no lock.
     *
     * @param name path of the file; when it cannot be opened, nothing is written
     * @throws com.talvern.test.gx.StringNotInCodePageException the path has no form in the code set of the locale
     */
    public native void dumpHeap(String name);

    /** @return figures over all heaps; all 0 when the mutex is not to be had */
    public native SpyMemoryStatistics getStats();

    /** @return the transaction that this object belongs to; 0 for none */
    public native int transactionId();

    /** Takes the mutex of all shared memory of this display; see the description of this class. */
    public native void lock();

    /** Gives the mutex back, once. A thread that does not hold it changes nothing. */
    public native void unlock();

    /** @return whether the calling thread holds the mutex */
    public native boolean isLocked();

    /**
     * Tells who holds the mutex of all shared memory of this display, in whatever process. Waits for nobody.
     *
     * @return null when nobody does
     */
    public static native LockHolder lockHolder();

    /**
     * Runs the self test of the heap, which takes the shared heap nearly full for a moment.
     *
     * @param file path of the report, to which it is appended; null for HeapTest.Log in the current directory
     */
    public native void heaptest(String file);

    /**
     * Copies the first bytes of an array into the block.
     *
     * @param data the bytes
     * @param offset where they go in the block, in bytes
     * @param length how many; as many as fit are written when length less offset is within the block's size
     * @throws OutOfSpyMemException length less offset is more than the block's size, the offset is beyond it, or there
     *     are not so many bytes; nothing is written then
     */
    public native void write(byte[] data, int offset, int length);

    /** @return a copy of the whole block, which may be some bytes longer than was asked for */
    public native byte[] read();
}
