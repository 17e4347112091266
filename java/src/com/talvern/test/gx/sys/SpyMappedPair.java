package com.talvern.test.gx.sys;

/**
 * A short list of keys with a value and a number each, in the memory that all processes of an X display share. It is
 * searched from its first entry on. Values, ownership, locking and exceptions are those of {@link SpyMemory}.
 *
 * <pre>{@code
 * SpyMappedPair weights = new SpyMappedPair();
 * weights.create("Weights", 0);
 * weights.put(".name", "OK", 100);
 * SpyMappedPair.MappedPair weight = weights.get(".name");
 * System.out.println(weight.value1 + " weighs " + weight.value2); // OK weighs 100
 * }</pre>
 *
 * <p>Keys are compared by their 16-bit units. A null key is refused: noted in the trace, and answered by false or null.
 */
public class SpyMappedPair extends SpyMemory {
    /** What belongs to a key. */
    public static class MappedPair {
        /** The value; null for nothing. */
        public Object value1;
        /** The number. */
        public int value2;

        /** Nothing and 0. */
        public MappedPair() {}
    }

    /** An object that names no mapped pair yet. */
    public SpyMappedPair() {}

    /**
     * Makes a new mapped pair, which this object then names. What it named before lives on.
     *
     * @param name the name by which other processes find it; null or empty for none
     * @param transactionId the transaction that it belongs to, 0 for none
     * @return true
     */
    public native boolean create(String name, int transactionId);

    /**
     * Stores value and number, in place of those the key had.
     *
     * @param key not null
     * @param value a number
     * @param number a number
     * @return false when it was refused: by one that names nothing, and after {@link #removeAll}
     */
    public native boolean put(String key, byte value, int number);

    /**
     * Stores value and number, in place of those the key had.
     *
     * @param key not null
     * @param value a character
     * @param number a number
     * @return false when it was refused: by one that names nothing, and after {@link #removeAll}
     */
    public native boolean put(String key, char value, int number);

    /**
     * Stores value and number, in place of those the key had.
     *
     * @param key not null
     * @param value a number
     * @param number a number
     * @return false when it was refused: by one that names nothing, and after {@link #removeAll}
     */
    public native boolean put(String key, short value, int number);

    /**
     * Stores value and number, in place of those the key had.
     *
     * @param key not null
     * @param value a number
     * @param number a number
     * @return false when it was refused: by one that names nothing, and after {@link #removeAll}
     */
    public native boolean put(String key, int value, int number);

    /**
     * Stores value and number, in place of those the key had.
     *
     * @param key not null
     * @param value a number
     * @param number a number
     * @return false when it was refused: by one that names nothing, and after {@link #removeAll}
     */
    public native boolean put(String key, long value, int number);

    /**
     * Stores value and number, in place of those the key had.
     *
     * @param key not null
     * @param value a number
     * @param number a number
     * @return false when it was refused: by one that names nothing, and after {@link #removeAll}
     */
    public native boolean put(String key, float value, int number);

    /**
     * Stores value and number, in place of those the key had.
     *
     * @param key not null
     * @param value a number
     * @param number a number
     * @return false when it was refused: by one that names nothing, and after {@link #removeAll}
     */
    public native boolean put(String key, double value, int number);

    /**
     * Stores value and number, in place of those the key had.
     *
     * @param key not null
     * @param value a truth value
     * @param number a number
     * @return false when it was refused: by one that names nothing, and after {@link #removeAll}
     */
    public native boolean put(String key, boolean value, int number);

    /**
     * Stores value and number, in place of those the key had.
     *
     * @param key not null
     * @param value a text; null is stored as nothing
     * @param number a number
     * @return false when it was refused: by one that names nothing, and after {@link #removeAll}
     */
    public native boolean put(String key, String value, int number);

    /**
     * Stores value and number, in place of those the key had.
     *
     * @param key not null
     * @param value an object of shared memory, which stays its maker's; null, or one that names nothing, is stored as
     *     nothing
     * @param number a number
     * @return false when it was refused: by one that names nothing, and after {@link #removeAll}
     */
    public native boolean put(String key, SpyMemory value, int number);

    /**
     * Stores value and number, in place of those the key had.
     *
     * @param key not null
     * @param value of whatever class containers store (see {@link SpyMemory}); null is stored as nothing
     * @param number a number
     * @return false when it was refused: by one that names nothing, and after {@link #removeAll}
     * @throws IllegalArgumentException the value is of another class
     */
    public native boolean put(String key, Object value, int number);

    /**
     * What belongs to a key.
     *
     * @param key the key
     * @return a new object, with null and 0 for a key that is not there; null for a null key
     */
    public native MappedPair get(String key);

    /**
     * The same into an object that there is.
     *
     * @param key the key
     * @param pair gets value and number, null and 0 for a key that is not there; may be null
     */
    public native void get(String key, MappedPair pair);

    /**
     * Takes an entry out.
     *
     * @param key the key
     * @return its value; null when there was none
     */
    public native Object remove(String key);

    /** Frees keys, values and the list: nothing can be put from then on. */
    public native void removeAll();

    /**
     * Whether there is an entry.
     *
     * @param key the key
     * @return whether there is one, be its value null
     */
    public native boolean containsKey(String key);

    /**
     * @return all keys, as Strings, oldest first; null when there are none, or native code stored one that is no string
     */
    public native Object[] keys();

    /** @return all values in the order of {@link #keys}; null when there are none */
    public native Object[] elements();

    /** @return the number of entries */
    public native int size();

    /** Frees it with keys and strings; this object then names none. Objects that it referred to live on. */
    @Override
    public native void free();
}
