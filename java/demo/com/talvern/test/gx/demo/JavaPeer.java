package com.talvern.test.gx.demo;

import com.talvern.test.gx.sys.SpyMap;
import com.talvern.test.gx.sys.SpyMemory;
import java.io.BufferedReader;
import java.io.InputStreamReader;
import java.util.Arrays;
import java.util.stream.Collectors;

/**
 * The second JVM: works on the map whose name is its argument. Takes orders from its input, one a line, and answers
 * each with a line: {@code put KEY} stores this process's id under a key, {@code entries} asks for all that is in the
 * map, {@code lock} takes the lock around all spy memory and keeps it. The C++ program understands the first two.
 */
public final class JavaPeer {
    private JavaPeer() {}

    public static void main(String[] arguments) throws Exception {
        final SpyMap map = (SpyMap) new SpyMemory().locate(arguments[0]);
        final BufferedReader orders = new BufferedReader(new InputStreamReader(System.in));
        for (String order = orders.readLine(); order != null; order = orders.readLine()) {
            System.out.println(answer(map, order.split(" ", 2)));
        }
    }

    private static String answer(SpyMap map, String[] order) {
        switch (order[0]) {
            case "put":
                return String.valueOf(putProcess(map, order[1]));
            case "entries":
                return entriesOf(map);
            case "lock":
                map.lock();
                return String.valueOf(map.isLocked());
            default:
                throw new IllegalArgumentException(order[0]);
        }
    }

    /** Stores the id of this process. */
    static boolean putProcess(SpyMap map, String key) {
        return map.put(key, (int) ProcessHandle.current().pid());
    }

    /** All entries by their keys, as {@code a=1, b=2}. They are read in several steps, hence under the lock. */
    static String entriesOf(SpyMap map) {
        map.lock();
        try {
            return Arrays.stream(map.keys()).sorted().map(key -> key + "=" + map.get((String) key))
                .collect(Collectors.joining(", "));
        } finally {
            map.unlock();
        }
    }
}
