import com.talvern.test.gx.sys.Mailslot;
import com.talvern.test.gx.sys.SpyMap;
import com.talvern.test.gx.sys.SpyMappedPair;
import com.talvern.test.gx.sys.SpyMemory;
import com.talvern.test.gx.sys.SpyVector;
import java.io.BufferedReader;
import java.io.IOException;
import java.io.InputStreamReader;
import java.io.OutputStream;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.List;
import java.util.Map;

/** A second JVM that works on the same spy memory: {@link #start} starts it, {@link #main} is what it does. */
final class SpyPeer implements AutoCloseable {
    private final Process process;
    private final BufferedReader output;

    private SpyPeer(Process process) {
        this.process = process;
        output = new BufferedReader(new InputStreamReader(process.getInputStream()));
    }

    /** Starts a JVM that runs the method of this class with the name {@code task}. */
    static SpyPeer start(List<String> options, Map<String, String> environment, String... task) throws IOException {
        return startBy(List.of(), options, environment, task);
    }

    /** The same by a command that runs what follows it. */
    static SpyPeer startBy(List<String> starter, List<String> options, Map<String, String> environment, String... task)
            throws IOException {
        String java = Path.of(System.getProperty("java.home"), "bin", "java").toString();
        List<String> command = new ArrayList<>(starter);
        command.addAll(List.of(java, "-Xcheck:jni", "-Xmx64m",
                "-Djava.library.path=" + System.getProperty("java.library.path")));
        command.addAll(options);
        command.addAll(List.of("-cp", System.getProperty("java.class.path"), SpyPeer.class.getName()));
        command.addAll(List.of(task));
        ProcessBuilder builder = new ProcessBuilder(command).redirectError(ProcessBuilder.Redirect.INHERIT);
        builder.environment().putAll(environment);
        return new SpyPeer(builder.start());
    }

    static SpyPeer start(String... task) throws IOException {
        return start(List.of(), Map.of(), task);
    }

    /** Waits for the line {@code text} and answers what follows it; complaints of -Xcheck:jni are passed on. */
    String await(String text) throws IOException {
        for (String line = output.readLine(); line != null; line = output.readLine()) {
            if (line.startsWith(text)) {
                return line.substring(text.length());
            }
            System.out.println(line);
        }
        throw new IOException("the other JVM ended before it said " + text);
    }

    void tell(String line) throws IOException {
        OutputStream input = process.getOutputStream();
        input.write((line + "\n").getBytes());
        input.flush();
    }

    Process process() {
        return process;
    }

    /** Kills it, in the middle of whatever it does. */
    @Override
    public void close() {
        process.destroyForcibly().onExit().join();
    }

    static void say(String line) {
        System.out.println(line);
        System.out.flush();
    }

    public static void main(String[] arguments) throws Exception {
        BufferedReader input = new BufferedReader(new InputStreamReader(System.in));
        if (arguments[0].equals("keep")) {
            new SpyMemory().lock();
        } else if (arguments[0].equals("look")) {
            say("held by " + SpyMemory.lockHolder().processId());
            input.readLine();
        }
        Object shared = new SpyMemory().locate(arguments[1]);
        say("ready");
        input.readLine();
        switch (arguments[0]) {
            case "echo" -> echo((SpyMap) shared);
            case "add" -> add((SpyVector) shared, 1, Integer.parseInt(arguments[2]));
            case "count" -> count((SpyMap) shared, Integer.parseInt(arguments[2]));
            case "keep" -> {
                new SpyMemory().unlock();
                MailslotTest.serve(arguments[1]);
            }
            case "look" -> {
                MailslotTest.ask(arguments[1], 100);
                Mailslot.find(arguments[1]).send("close");
            }
            case "hold" -> ((SpyMemory) shared).lock();
            case "serve" -> MailslotTest.serve(arguments[1]);
            case "open" -> MailslotTest.openAndClose(arguments[1]);
            case "ask" -> MailslotTest.ask(arguments[1], Integer.parseInt(arguments[2]));
            case "loop" -> say("grown " + growthOfLoops((SpyMap) shared));
            default -> throw new IllegalArgumentException(arguments[0]);
        }
        say("done");
        input.readLine();
    }

    /** Takes every value out and puts it back under another key, as the type it came as. */
    static void echo(SpyMap map) {
        for (Object key : map.keys()) {
            SpyValues.call(map, "put", "echo of " + key, map.remove((String) key));
        }
    }

    /** Adds odd or even numbers. */
    static void add(SpyVector vector, int first, int count) {
        for (int i = 0; i < count; i++) {
            vector.addElement(2 * i + first);
        }
    }

    /** Raises a number in a change of several steps. */
    static void count(SpyMap map, int times) {
        for (int i = 0; i < times; i++) {
            map.lock();
            try {
                map.put("count", (Integer) map.get("count") + 1);
            } finally {
                map.unlock();
            }
        }
    }

    /** Bytes by which the C heap grew in 100 000 calls; the first rounds fill caches. */
    private static long growthOfLoops(SpyMap map) throws IOException {
        loop(map, 1000);
        long before = heapOfC();
        loop(map, 5000);
        return heapOfC() - before;
    }

    private static long heapOfC() throws IOException {
        List<String> lines = Files.readAllLines(Path.of("/proc/self/maps"));
        return lines.stream().filter(line -> line.endsWith("[heap]")).map(line -> line.split("[- ]"))
                .mapToLong(range -> Long.parseLong(range[1], 16) - Long.parseLong(range[0], 16)).sum();
    }

    /** Rounds of 20 calls that leave everything as it was. */
    static void loop(SpyMap map, int rounds) {
        SpyVector vector = new SpyVector();
        vector.create(null, 0, 4, 4);
        SpyMappedPair pair = new SpyMappedPair();
        pair.create(null, 0);
        SpyMappedPair.MappedPair filled = new SpyMappedPair.MappedPair();
        for (int i = 0; i < rounds; i++) {
            String text = "text number " + i;
            map.put("text", text);
            map.put("text", text + " again");
            map.put("map", map);
            map.get("map");
            map.keys();
            map.elements();
            map.remove("text");
            map.remove("map");
            vector.addElement(text);
            vector.insertElementAt(text, 0);
            vector.setElementAt(pair, 1);
            vector.setElementAt(text, 1);
            vector.indexOf(text, 0);
            vector.remove(0);
            vector.removeAllElements();
            pair.put("key", text, i);
            pair.get("key", filled);
            pair.keys();
            pair.remove("key");
            pair.locate("no such name");
        }
        vector.free();
        pair.free();
    }
}
