package com.talvern.test.gx.sys;

/**
 * A growing array of values in the memory that all processes of an X display share. Values, ownership, locking and
 * exceptions are those of {@link SpyMemory}.
 *
 * <pre>{@code
 * SpyVector queue = new SpyVector();
 * queue.create("Queue", 0, 16, 16);
 * queue.addElement("first");
 * while (!queue.isEmpty()) {                    // hold the lock when others take from it as well
 *     System.out.println(queue.remove(0)); // first
 * }
 * }</pre>
 *
 * <p>Indices are those of arrays, and a negative one lies beyond every end. An object that names nothing yet looks
 * like an empty vector to the queries.
 *
 * <p>A vector that could not take an element in, since that was refused, may have grown: it has room for more elements then, and
 * as many as before.
 */
public class SpyVector extends SpyMemory {
    /** An object that names no vector yet. */
    public SpyVector() {}

    /**
     * Makes a new vector, which this object then names. What it named before lives on.
     *
     * @param name the name by which other processes find it; null or empty for none
     * @param transactionId the transaction that it belongs to, 0 for none
     * @param startSize elements it has room for at first, above 0
     * @param increment elements by which it grows, above 0 unless it shall not grow
     * @return false when the start size is not above 0
     */
    public native boolean create(String name, int transactionId, int startSize, int increment);

    /**
     * Appends a value.
     *
     * @param value a number
     */
    public native void addElement(byte value);

    /**
     * Appends a value.
     *
     * @param value a character
     */
    public native void addElement(char value);

    /**
     * Appends a value.
     *
     * @param value a number
     */
    public native void addElement(short value);

    /**
     * Appends a value.
     *
     * @param value a number
     */
    public native void addElement(int value);

    /**
     * Appends a value.
     *
     * @param value a number
     */
    public native void addElement(long value);

    /**
     * Appends a value.
     *
     * @param value a number
     */
    public native void addElement(float value);

    /**
     * Appends a value.
     *
     * @param value a number
     */
    public native void addElement(double value);

    /**
     * Appends a value.
     *
     * @param value a truth value
     */
    public native void addElement(boolean value);

    /**
     * Appends a value.
     *
     * @param value a text; null is stored as nothing
     */
    public native void addElement(String value);

    /**
     * Appends a value.
     *
     * @param value an object of shared memory, which stays its maker's; null, or one that names nothing, is stored as
     *     nothing
     */
    public native void addElement(SpyMemory value);

    /**
     * Appends a value.
     *
     * @param value of whatever class containers store (see {@link SpyMemory}); null is stored as nothing
     * @throws IllegalArgumentException it is of another class
     */
    public native void addElement(Object value);

    /**
     * Inserts a value before an element; beyond the end nothing is inserted.
     *
     * @param value a number
     * @param index at most the size
     */
    public native void insertElementAt(byte value, int index);

    /**
     * Inserts a value before an element; beyond the end nothing is inserted.
     *
     * @param value a character
     * @param index at most the size
     */
    public native void insertElementAt(char value, int index);

    /**
     * Inserts a value before an element; beyond the end nothing is inserted.
     *
     * @param value a number
     * @param index at most the size
     */
    public native void insertElementAt(short value, int index);

    /**
     * Inserts a value before an element; beyond the end nothing is inserted.
     *
     * @param value a number
     * @param index at most the size
     */
    public native void insertElementAt(int value, int index);

    /**
     * Inserts a value before an element; beyond the end nothing is inserted.
     *
     * @param value a number
     * @param index at most the size
     */
    public native void insertElementAt(long value, int index);

    /**
     * Inserts a value before an element; beyond the end nothing is inserted.
     *
     * @param value a number
     * @param index at most the size
     */
    public native void insertElementAt(float value, int index);

    /**
     * Inserts a value before an element; beyond the end nothing is inserted.
     *
     * @param value a number
     * @param index at most the size
     */
    public native void insertElementAt(double value, int index);

    /**
     * Inserts a value before an element; beyond the end nothing is inserted.
     *
     * @param value a truth value
     * @param index at most the size
     */
    public native void insertElementAt(boolean value, int index);

    /**
     * Inserts a value before an element; beyond the end nothing is inserted.
     *
     * @param value a text; null is stored as nothing
     * @param index at most the size
     */
    public native void insertElementAt(String value, int index);

    /**
     * Inserts a value before an element; beyond the end nothing is inserted.
     *
     * @param value an object of shared memory, which stays its maker's; null, or one that names nothing, is stored as
     *     nothing
     * @param index at most the size
     */
    public native void insertElementAt(SpyMemory value, int index);

    /**
     * Inserts a value before an element; beyond the end nothing is inserted.
     *
     * @param value of whatever class containers store (see {@link SpyMemory}); null is stored as nothing
     * @param index at most the size
     * @throws IllegalArgumentException the value is of another class
     */
    public native void insertElementAt(Object value, int index);

    /**
     * Stores a value in an element; a gap up to it is filled with nothing, that is null.
     *
     * @param value a number
     * @param index of the element, which need not be there
     * @return the previous value; null when there was none
     */
    public native Object setElementAt(byte value, int index);

    /**
     * Stores a value in an element; a gap up to it is filled with nothing, that is null.
     *
     * @param value a character
     * @param index of the element, which need not be there
     * @return the previous value; null when there was none
     */
    public native Object setElementAt(char value, int index);

    /**
     * Stores a value in an element; a gap up to it is filled with nothing, that is null.
     *
     * @param value a number
     * @param index of the element, which need not be there
     * @return the previous value; null when there was none
     */
    public native Object setElementAt(short value, int index);

    /**
     * Stores a value in an element; a gap up to it is filled with nothing, that is null.
     *
     * @param value a number
     * @param index of the element, which need not be there
     * @return the previous value; null when there was none
     */
    public native Object setElementAt(int value, int index);

    /**
     * Stores a value in an element; a gap up to it is filled with nothing, that is null.
     *
     * @param value a number
     * @param index of the element, which need not be there
     * @return the previous value; null when there was none
     */
    public native Object setElementAt(long value, int index);

    /**
     * Stores a value in an element; a gap up to it is filled with nothing, that is null.
     *
     * @param value a number
     * @param index of the element, which need not be there
     * @return the previous value; null when there was none
     */
    public native Object setElementAt(float value, int index);

    /**
     * Stores a value in an element; a gap up to it is filled with nothing, that is null.
     *
     * @param value a number
     * @param index of the element, which need not be there
     * @return the previous value; null when there was none
     */
    public native Object setElementAt(double value, int index);

    /**
     * Stores a value in an element; a gap up to it is filled with nothing, that is null.
     *
     * @param value a truth value
     * @param index of the element, which need not be there
     * @return the previous value; null when there was none
     */
    public native Object setElementAt(boolean value, int index);

    /**
     * Stores a value in an element; a gap up to it is filled with nothing, that is null.
     *
     * @param value a text; null is stored as nothing
     * @param index of the element, which need not be there
     * @return the previous value; null when there was none
     */
    public native Object setElementAt(String value, int index);

    /**
     * Stores a value in an element; a gap up to it is filled with nothing, that is null.
     *
     * @param value an object of shared memory, which stays its maker's; null, or one that names nothing, is stored as
     *     nothing
     * @param index of the element, which need not be there
     * @return the previous value; null when there was none
     */
    public native Object setElementAt(SpyMemory value, int index);

    /**
     * Stores a value in an element; a gap up to it is filled with nothing, that is null.
     *
     * @param value of whatever class containers store (see {@link SpyMemory}); null is stored as nothing
     * @param index of the element, which need not be there
     * @return the previous value; null when there was none
     * @throws IllegalArgumentException the value is of another class
     */
    public native Object setElementAt(Object value, int index);

    /**
     * The value of an element.
     *
     * @param index of the element
     * @return the value; null for nothing and beyond the end
     */
    public native Object get(int index);

    /** @return the first value; null when there is none */
    public native Object firstElement();

    /** @return the last value; null when there is none */
    public native Object lastElement();

    /**
     * Finds a value. Numbers are equal when they have one type and value; objects when they are the same in shared
     * memory; characters, mapped pairs, value objects, decimals and null equal nothing and are never found.
     *
     * @param value a box, a String or an object of shared memory
     * @param start index of the first element to look at
     * @return index of the first element that equals, -1 for none
     */
    public native int indexOf(Object value, int start);

    /**
     * Takes an element out; those behind it move up.
     *
     * @param index of the element. One beyond the end drops the last element of all, unseen and without freeing its
     *     string
     * @return its value; null beyond the end
     */
    public native Object remove(int index);

    /** Empties the vector and frees its strings. */
    public native void removeAllElements();

    /** @return whether there are no elements */
    public native boolean isEmpty();

    /** @return the number of elements */
    public native int size();

    /** Frees the vector with its strings; this object then names none. Objects that it referred to live on. */
    @Override
    public native void free();
}
