import com.talvern.test.gx.sys.SpyMap;

/** Loops over the entries of a spy map, as an engine's code would run them. */
public final class SpyMapCalls {
    private SpyMapCalls() {}

    public static int putNumbers(SpyMap map, String[] keys) {
        int stored = 0;
        for (String key : keys) {
            stored += map.put(key, keys.length) ? 1 : 0;
        }
        return stored;
    }

    public static int putAndRemoveTexts(SpyMap map, String[] keys) {
        int removed = 0;
        for (String key : keys) {
            map.put(key, "a caption of some thirty letters");
        }
        for (String key : keys) {
            removed += map.remove(key) != null ? 1 : 0;
        }
        return removed;
    }

    public static int get(SpyMap map, String[] keys) {
        int found = 0;
        for (String key : keys) {
            found += map.get(key) != null ? 1 : 0;
        }
        return found;
    }
}
