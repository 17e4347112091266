package com.talvern.test.gx.sys;

/**
 * A map from strings to values in the memory that all processes of an X display share. Values, ownership, locking and
 * exceptions are those of {@link SpyMemory}.
 *
 * <pre>{@code
 * SpyMap settings = new SpyMap();
 * settings.create("Settings", 0, 100);
 * settings.put("title", "Invoice");
 *
 * SpyMap found = (SpyMap) new SpyMemory().locate("Settings");   // as another process does
 * System.out.println(found.get("title")); // Invoice
 * }</pre>
 *
 * <p>Keys are compared by their 16-bit units. A null key is refused: noted in the trace, and answered by false or
 * null. An object that names nothing yet looks like an empty map to {@link #size}, {@link #keys} and {@link #elements}.
 *
 * <p><b>Keys that share a bucket</b>, for instance those of the same letters, lie in a chain together with their values. A
 * chain lives until its heap goes: {@link #removeAll}, {@link #free} and the growth of the map leave it allocated. And a key
 * is not found there behind a value that is the same text. Both are no matter for a map that has a transaction of its own,
 * and values that are no keys:
 *
 * <pre>{@code
 * SpyMap run = new SpyMap();
 * run.create("Run", 7, 100);
 * run.put("ab", "ba");
 * run.put("ba", "x");              // the bucket of "ab": get("ba") answers null, for the value "ba" comes first
 * new SpyMemory().delete("Run");   // the name is not in the transaction
 * new SpyMemory().free(7);         // everything that is, chains included
 * }</pre>
 *
 * <p>Keys of one length whose units have the same remainders modulo 31 share a bucket, so the map is fast for some
 * thousand keys that differ in length or letters. What is removed frees its string; a string that is replaced is freed
 * as long as its key has the bucket to itself.
 */
public class SpyMap extends SpyMemory {
    /** An object that names no map yet. */
    public SpyMap() {}

    /**
     * Makes a new map, which this object then names. What it named before lives on.
     *
     * @param name the name by which other processes find it; null or empty for none
     * @param transactionId the transaction that it belongs to, 0 for none
     * @param buckets above 0; the map grows by itself. 100 is a good start
     * @return false when there are no buckets
     */
    public native boolean create(String name, int transactionId, int buckets);

    /**
     * Stores a value, in place of the one the key had.
     *
     * @param key not null
     * @param value a number
     * @return false when it was refused
     */
    public native boolean put(String key, byte value);

    /**
     * Stores a value, in place of the one the key had.
     *
     * @param key not null
     * @param value a character
     * @return false when it was refused
     */
    public native boolean put(String key, char value);

    /**
     * Stores a value, in place of the one the key had.
     *
     * @param key not null
     * @param value a number
     * @return false when it was refused
     */
    public native boolean put(String key, short value);

    /**
     * Stores a value, in place of the one the key had.
     *
     * @param key not null
     * @param value a number
     * @return false when it was refused
     */
    public native boolean put(String key, int value);

    /**
     * Stores a value, in place of the one the key had.
     *
     * @param key not null
     * @param value a number
     * @return false when it was refused
     */
    public native boolean put(String key, long value);

    /**
     * Stores a value, in place of the one the key had.
     *
     * @param key not null
     * @param value a number
     * @return false when it was refused
     */
    public native boolean put(String key, float value);

    /**
     * Stores a value, in place of the one the key had.
     *
     * @param key not null
     * @param value a number
     * @return false when it was refused
     */
    public native boolean put(String key, double value);

    /**
     * Stores a value, in place of the one the key had.
     *
     * @param key not null
     * @param value a truth value
     * @return false when it was refused
     */
    public native boolean put(String key, boolean value);

    /**
     * Stores a value, in place of the one the key had.
     *
     * @param key not null
     * @param value a text; null is stored as nothing
     * @return false when it was refused
     */
    public native boolean put(String key, String value);

    /**
     * Stores a value, in place of the one the key had.
     *
     * @param key not null
     * @param value an object of shared memory, which stays its maker's; null, or one that names nothing, is stored as
     *     nothing
     * @return false when it was refused
     */
    public native boolean put(String key, SpyMemory value);

    /**
     * Stores a value, in place of the one the key had.
     *
     * @param key not null
     * @param value of whatever class containers store (see {@link SpyMemory}); null is stored as nothing
     * @return false when it was refused
     * @throws IllegalArgumentException the value is of another class
     */
    public native boolean put(String key, Object value);

    /**
     * The value of a key.
     *
     * @param key the key
     * @return the value; null when there is none
     */
    public native Object get(String key);

    /**
     * Takes an entry out.
     *
     * @param key the key. One that is not there, while others share its bucket, lowers the size all the same
     * @return its value; null when there was none
     */
    public native Object remove(String key);

    /** Empties the map and frees the keys and strings that share their bucket with no other key. */
    public native void removeAll();

    /**
     * Whether there is an entry.
     *
     * @param key the key
     * @return whether there is one, be its value null
     */
    public native boolean containsKey(String key);

    /** @return all keys, as Strings; null for an empty map, or when native code stored a key that is no string */
    public native Object[] keys();

    /** @return all values in the order of {@link #keys}; null where that answers null */
    public native Object[] elements();

    /** @return the number of entries */
    public native int size();

    /**
     * Frees the map with what {@link #removeAll} frees; this object then names none. Objects that it referred to live on.
     */
    @Override
    public native void free();
}
