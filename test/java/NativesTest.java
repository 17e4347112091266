import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.talvern.test.gx.domain.NativeThreadChannel;
import com.talvern.test.gx.sys.Mutex;
import com.talvern.test.gx.sys.OSProcess;
import com.talvern.test.gx.sys.OutOfSpyMemException;
import com.talvern.test.gx.sys.ProcessInformation;
import com.talvern.test.gx.sys.SpyMap;
import com.talvern.test.gx.sys.SpyMappedPair;
import com.talvern.test.gx.sys.SpyMemory;
import com.talvern.test.gx.sys.SpyVector;
import com.talvern.test.gx.sys.graphical.NativeLowLevelPlayer;
import com.talvern.test.gx.sys.graphical.NativeMouseCaptureThread;
import com.talvern.test.gx.sys.graphical.NativePlayerThread;
import com.talvern.test.gx.sys.graphical.NativeTopLevelWindow;
import com.talvern.test.gx.sys.graphical.NativeWindow;
import java.awt.Point;
import java.awt.Rectangle;
import java.io.IOException;
import java.lang.reflect.Array;
import java.lang.reflect.Constructor;
import java.lang.reflect.Field;
import java.lang.reflect.InvocationTargetException;
import java.lang.reflect.Method;
import java.lang.reflect.Modifier;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.Collections;
import java.util.Comparator;
import java.util.List;
import java.util.Map;
import java.util.Objects;
import java.util.concurrent.TimeUnit;
import java.util.jar.JarFile;
import java.util.stream.LongStream;
import org.junit.jupiter.api.io.TempDir;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.ValueSource;

/**
 * No native method is brought down by its arguments or by the object that it is called on, with and without an X server:
 * no crash, no hang, no Error, no warning of {@code -Xcheck:jni}.
 */
class NativesTest {
    private static final String HUGE = "a{\u20ac".repeat(34_000);
    /** What is not called, and why. */
    private static final Map<String, String> LEFT_OUT = Map.of(
            "OSProcess.kill", "it ends processes",
            "NativePlayerThread.pauseHooks", "it ends this process, as it is declared to",
            "NativePlayerThread.resumeHooks", "it ends this process, as it is declared to",
            "NestedDomainHelpers.loadHtmlDomain", "it loads any library that it is given, and window 0 ends the process",
            "Mailslot.waitForIncomingMessage", "it waits for another process",
            "OperatingSystem.getAllBrowsers", "it searches the whole file system");

    private static final Object[] ONLY_NULL = {0L};
    private static final Object[] NOT_NULL = {1L, -1L, Long.MIN_VALUE, Long.MAX_VALUE};
    private static final Object[] NO_TIME = {0, -1, 1, Integer.MIN_VALUE};
    /** Values of one type that a method, or a class, gets instead of all, and why. */
    private static final Map<String, Object[]> INSTEAD = Map.ofEntries(
            // Another address than that of a widget ends the process, as declared.
            Map.entry("NativeWindow.nativeXtWindow long", ONLY_NULL),
            Map.entry("NativeWindow.nativeGTK_WIDGET_WINDOW long", ONLY_NULL),
            Map.entry("NativeWindow.nativeGDK_WINDOW_XID long", ONLY_NULL),
            // So does a tooltip of 0.
            Map.entry("NativeTooltipWindow long", NOT_NULL),
            // How long something takes, or how often it is done.
            Map.entry("NativeKeyMouseEvent int", NO_TIME), Map.entry("ScrollEvent int", NO_TIME),
            Map.entry("Mutex int", NO_TIME), Map.entry("OperatingSystem.waitWithTimeout int", NO_TIME),
            Map.entry("Highlighter int", NO_TIME),
            Map.entry("NativeKeyMouseEvent.emitHLKeyEvent String",
                    new Object[] {"", null, "{a", "\u00e9\u20ac\ud83d\ude00", "\ud83d", "a\0b", "%s%n", "a".repeat(2000)}),
            // Shows its frame for two seconds.
            Map.entry("NativeScreen Rectangle",
                    new Object[] {null, new Rectangle(Integer.MIN_VALUE, -1, Integer.MAX_VALUE, 0)}));
    private static final Map<Class<?>, Object[]> VALUES = Map.ofEntries(
            Map.entry(int.class, numbers(false)), Map.entry(long.class, numbers(true)),
            Map.entry(boolean.class, new Object[] {false, true}),
            Map.entry(byte.class, new Object[] {(byte) 0, Byte.MIN_VALUE, Byte.MAX_VALUE}),
            Map.entry(char.class, new Object[] {'\0', 'a', '\uffff', '\ud83d'}),
            Map.entry(short.class, new Object[] {(short) 0, Short.MIN_VALUE, Short.MAX_VALUE}),
            Map.entry(float.class, new Object[] {0f, Float.NaN, Float.MAX_VALUE, Float.NEGATIVE_INFINITY}),
            Map.entry(double.class, new Object[] {0d, Double.NaN, Double.MAX_VALUE, Double.NEGATIVE_INFINITY}),
            Map.entry(String.class,
                    new Object[] {"", null, "a", "{a", "\u00e9\u20ac\ud83d\ude00", "\ud83d", "a\0b", "%s%n", HUGE}),
            Map.entry(Point.class, new Object[] {new Point(), null, new Point(-1, -1),
                new Point(Integer.MAX_VALUE, Integer.MIN_VALUE)}),
            Map.entry(Rectangle.class, new Object[] {new Rectangle(), null, new Rectangle(1, 1, -5, -5),
                new Rectangle(0, 0, 300, 200),
                new Rectangle(Integer.MIN_VALUE, Integer.MAX_VALUE, Integer.MAX_VALUE, Integer.MIN_VALUE)}));

    /** Subclasses whose fields have the names of those that the native methods look for. */
    static final class ShadowWindow extends NativeWindow {
        String handle = "mine";

        ShadowWindow() {
            super(1);
        }
    }

    static final class ShadowTopLevelWindow extends NativeTopLevelWindow {
        int handle = 7;

        ShadowTopLevelWindow() {
            super(1);
        }
    }

    static final class ShadowMutex extends Mutex {
        Object handle = this;
        String acquireCount;
    }

    static final class ShadowVector extends SpyVector {
        byte handle;
    }

    static final class ShadowProcess extends ProcessInformation {
        String processId = "none";
        long exitCode;
    }

    static final class Channel extends NativeThreadChannel {
        @Override
        protected void open() {}
    }

    private static Object[] numbers(boolean isLong) {
        return LongStream.of(0, -1, 1, 255, Integer.MIN_VALUE, Integer.MAX_VALUE, Long.MIN_VALUE, Long.MAX_VALUE)
                .filter(each -> isLong || each == (int) each).mapToObj(each -> isLong ? (Object) each : (Object) (int) each)
                .toArray();
    }

    /** The first value of a type is its neutral one. */
    private static Object[] valuesOf(Class<?> type, String method) {
        String of = method.substring(0, method.indexOf('.'));
        Object[] all = INSTEAD.get(method + " " + type.getSimpleName());
        all = all != null ? all : INSTEAD.get(of + " " + type.getSimpleName());
        all = all != null ? all : VALUES.get(type);
        return all != null ? all : type.isArray() ? arraysOf(type.getComponentType()) : objectsOf(type);
    }

    private static Object[] arraysOf(Class<?> type) {
        return new Object[] {Array.newInstance(type, 0), null, Array.newInstance(type, 1), Array.newInstance(type, 100_000)};
    }

    private static Object[] objectsOf(Class<?> type) {
        List<Object> all = new ArrayList<>();
        all.add(null);
        for (Object each : new Object[] {new Object(), "text", 7, new int[2], HUGE, new ShadowWindow(),
            new ShadowTopLevelWindow(), new ShadowMutex(), new ShadowVector(), new ShadowProcess(), new Channel(),
            new NativeWindow(-1),
            new ProcessInformation(), new OSProcess(-1)}) {
            if (type.isInstance(each)) {
                all.add(each);
            }
        }
        return all.toArray();
    }

    /** Objects of a class with each number in the field that stands for the native thing, and one that has such a thing. */
    private static List<Object> receivers(Method method) throws ReflectiveOperationException {
        Class<?> type = method.getDeclaringClass();
        if (Modifier.isStatic(method.getModifiers())) {
            return Collections.singletonList(null);
        }
        List<Object> all = new ArrayList<>();
        for (long handle : new long[] {0, -1, 0x200001, 1L << 47, Long.MIN_VALUE, Long.MAX_VALUE, Integer.MAX_VALUE}) {
            Object object = Modifier.isAbstract(type.getModifiers()) ? null : make(type);
            if (object instanceof Mutex && handle == 0x200001) {
                continue; // may be somebody's semaphore where the test has no IPC namespace of its own
            }
            if (object != null && (setHandle(object, handle) || handle == 0)) {
                all.add(object);
            }
        }
        Arrays.stream(objectsOf(type)).filter(Objects::nonNull).forEach(all::add);
        all.add(alive(type));
        all.remove(null);
        assertTrue(!all.isEmpty(), "no object to call " + method + " on");
        return all;
    }

    private static Object alive(Class<?> type) {
        try {
            Object object = make(type);
            if (object instanceof SpyVector vector) {
                vector.create("vector", 0, 4, 4);
            } else if (object instanceof SpyMappedPair pair) {
                pair.create("pair", 0);
            } else if (object instanceof SpyMap map) {
                map.create("map", 0, 4);
            } else if (object instanceof Mutex mutex) {
                mutex.create("mutex");
            } else if (type == SpyMemory.class) {
                ((SpyMemory) object).allocate("block", 10, 0);
            } else if (object instanceof NativeWindow) {
                setHandle(object, NativeWindow.nativeGetRootNativeWindow().getHandle());
            }
            return object;
        } catch (ReflectiveOperationException | RuntimeException e) {
            return null; // without a display there is none
        }
    }

    private static boolean setHandle(Object object, long handle) throws ReflectiveOperationException {
        for (Class<?> type = object.getClass(); type != null; type = type.getSuperclass()) {
            for (Field field : type.getDeclaredFields()) {
                if (field.getName().equals("handle") && field.getType() == long.class) {
                    field.setAccessible(true);
                    field.setLong(object, handle);
                    return true;
                }
            }
        }
        return false;
    }

    /** By the constructor that asks for least. */
    private static Object make(Class<?> type) throws ReflectiveOperationException {
        Constructor<?> constructor = Arrays.stream(type.getDeclaredConstructors())
                .min(Comparator.comparingInt(Constructor::getParameterCount)).orElseThrow();
        constructor.setAccessible(true);
        return constructor.newInstance(
                Arrays.stream(constructor.getParameterTypes()).map(each -> valuesOf(each, ".")[0]).toArray());
    }

    /** Every value of every argument beside neutral ones, and the odd ones together. */
    private static List<Object[]> argumentsOf(Method method, String name) {
        List<Object[]> values = Arrays.stream(method.getParameterTypes()).map(type -> valuesOf(type, name)).toList();
        List<Object[]> all = new ArrayList<>();
        all.add(values.stream().map(each -> each[0]).toArray());
        for (int i = 0; i < values.size(); ++i) {
            for (Object value : values.get(i)) {
                Object[] arguments = all.get(0).clone();
                arguments[i] = value;
                all.add(arguments);
            }
        }
        for (int k = 1; k < 9 && values.size() > 1; ++k) {
            int odd = k;
            all.add(values.stream().map(each -> each[odd % each.length]).toArray());
        }
        return all;
    }

    /** An exception of the library is an answer; an Error, one of the JVM's own or a long wait is a fault. */
    private static boolean isAnswer(Method method, Throwable thrown) {
        boolean takesAnything = List.of(method.getParameterTypes()).contains(Object.class);
        return thrown.getClass().getName().startsWith("com.talvern.test.gx.")
                || takesAnything && thrown instanceof IllegalArgumentException;
    }

    private static void call(Method method, Object receiver, Object[] arguments) throws IllegalAccessException {
        long start = System.nanoTime();
        try {
            method.invoke(receiver, arguments);
        } catch (InvocationTargetException e) {
            if (!isAnswer(method, e.getCause())) {
                System.out.println("FAULT " + method + " " + e.getCause());
            }
        }
        if (System.nanoTime() - start > TimeUnit.SECONDS.toNanos(8)) {
            System.out.println("FAULT " + method + " took longer than 8 s");
        }
    }

    private static void callInEveryWay(Method method) throws Exception {
        String name = method.getDeclaringClass().getSimpleName() + "." + method.getName();
        if (LEFT_OUT.containsKey(name)) {
            return;
        }
        Files.writeString(Path.of("progress"), name);
        method.setAccessible(true);
        for (Object receiver : receivers(method)) {
            for (Object[] arguments : argumentsOf(method, name)) {
                call(method, receiver, arguments);
            }
        }
        undo();
    }

    /** What a call began that makes others wait: the events of a capture or of a playback, a delay, a lock. */
    private static void undo() {
        NativeLowLevelPlayer.nativeSetDelays(0, 0, 0, 0, 0, 0);
        new NativeMouseCaptureThread().stopCapture();
        new NativePlayerThread().endPlayback();
        try {
            for (SpyMemory memory = new SpyMemory(); memory.isLocked();) {
                memory.unlock();
            }
        } catch (OutOfSpyMemException e) {
            // no DISPLAY, no memory
        }
    }

    private static List<Method> natives() throws IOException, ClassNotFoundException {
        List<Method> all = new ArrayList<>();
        try (JarFile jar = new JarFile(System.getProperty("gx.jar"))) {
            for (String entry : jar.stream().map(Object::toString).sorted().toList()) {
                if (!entry.endsWith(".class")) {
                    continue;
                }
                Class<?> type = Class.forName(entry.replace('/', '.').replace(".class", ""));
                Arrays.stream(type.getDeclaredMethods()).filter(each -> Modifier.isNative(each.getModifiers()))
                        .sorted(Comparator.comparing(Method::toString)).forEach(all::add);
            }
        }
        return all;
    }

    /** Calls all of them; run in a JVM of its own. */
    public static void main(String[] arguments) throws Exception {
        undo();
        for (Method method : natives()) {
            callInEveryWay(method);
        }
        System.out.println("all called");
        System.exit(0); // tooltips and frames keep threads
    }

    @TempDir Path directory;

    /** With a server, with one that is not there, and without the name of one. */
    @ParameterizedTest
    @ValueSource(strings = {"", ":4711", "none"})
    void allSurvive(String display) throws Exception {
        Path output = directory.resolve("output");
        ProcessBuilder builder = new ProcessBuilder(System.getProperty("java.home") + "/bin/java", "-Xcheck:jni",
                "-Xmx256m", "-Djava.awt.headless=true", "-Dgx.jar=" + System.getProperty("gx.jar"),
                "-Djava.library.path=" + System.getProperty("java.library.path"),
                "-cp", System.getProperty("java.class.path"), "NativesTest");
        if (display.equals("none")) {
            builder.environment().remove("DISPLAY");
        } else if (!display.isEmpty()) {
            builder.environment().put("DISPLAY", display);
        }
        Process process = builder.directory(directory.toFile()).redirectErrorStream(true)
                .redirectOutput(output.toFile()).start();
        boolean ended = process.waitFor(140, TimeUnit.SECONDS);
        process.destroyForcibly();
        String last = Files.readString(directory.resolve("progress"));
        String all = new String(Files.readAllBytes(output), StandardCharsets.ISO_8859_1);
        List<String> faults = all.lines()
                .filter(line -> line.matches("FAULT.*|WARNING.*|FATAL.*|.*SIG[A-Z]+ \\(0x.*")).toList();
        assertEquals(List.of(), faults, "the last one was " + last);
        assertTrue(ended, last + " does not return");
        assertTrue(all.endsWith("all called\n"), last + " ended the JVM: " + all);
    }
}
