package com.talvern.test.gx.sys;

/**
 * A recursive lock between processes, known by its name to all processes of one X display.
 *
 * <pre>{@code
 * Mutex mutex = new Mutex();
 * if (mutex.create("eventMutex")) {
 *     mutex.acquire(5000);
 *     try {
 *         // nobody else is here, in no thread of no process
 *     } finally {
 *         mutex.release();
 *     }
 * }
 * }</pre>
 *
 * <p>A thread that holds the mutex may acquire it again and has to release it as often. When the process of the holder
 * dies, the system releases the mutex. Threads may share one object, and may as well use objects of their own with the
 * same name, except that a thread which holds the mutex through one object is a stranger to it through another.
 */
public class Mutex {
    static {
        NativeLibrary.load();
    }

    /** The semaphore: id of its set in the low half, index in the high half; 0 for none. Kept by the native layer. */
    private long handle;
    /** How often the owner has acquired the mutex. Kept by the native layer. */
    private int acquireCount;
    /** Process of the owner, 0 when nobody holds the mutex through this object. Kept by the native layer. */
    private int currentPid;
    /** Thread of the owner, 0 when nobody holds the mutex through this object. Kept by the native layer. */
    private long currentThread;

    /** A mutex without a name: {@link #create} gives it one. */
    public Mutex() {}

    /**
     * Finds the mutex of that name, or makes it for all processes to find. What this object holds is given
     * back first.
     *
     * <p>A display has semaphores for 31 named mutexes, fewer with mailslots, which take two each. The next
     * 96 names get numbers, too, without semaphores: this answers true for them, and each {@link #acquire}
     * fails at once.
     *
     * @param name any text; null finds nothing
     * @return whether this object has a mutex now, be it the one that it had before; false when no number is
     *     left
     * @throws OutOfSpyMemException the memory that the processes share is full or cannot be reached
     */
    public native boolean create(String name);

    /**
     * Forgets the mutex, which stays what it is for all others. What a thread of this process holds through
     * this object is given back.
     */
    public native void free();

    /**
     * Takes the mutex, waiting for whoever holds it.
     *
     * @param timeoutMs longest wait in milliseconds, of which only whole seconds count, by the wall clock: a wait that the
     *     clock is set in is shortened or lengthened by as much, and one of a second may end just after it began; below 1000
     *     it is tried once; below 0 waits without limit
     * @return true
     * @throws ApplicationNotRespondingException the mutex stayed taken all that time, or this object has none
     */
    public native boolean acquire(int timeoutMs);

    /** Gives the mutex back once. A thread that does not hold it changes nothing. */
    public native void release();

    /**
     * Tells who holds the mutex, in whatever process and through whatever object. Waits for nobody: also a thread that waits
     * for the mutex may have another one ask.
     *
     * @return null when nobody does, or this object has no mutex
     */
    public native LockHolder holder();

    /** A mutex handle names nothing. */
    public static class InvalidMutexException extends RuntimeException {
        private static final long serialVersionUID = 1L;

        /** An exception without a message. */
        public InvalidMutexException() {
            super();
        }

        /**
         * An exception with a message.
         *
         * @param message what is wrong with the mutex
         */
        public InvalidMutexException(String message) {
            super(message);
        }
    }
}
