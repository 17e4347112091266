import static org.junit.jupiter.api.Assertions.assertAll;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;
import static org.junit.jupiter.api.Assertions.assertNull;
import static org.junit.jupiter.api.Assertions.assertSame;
import static org.junit.jupiter.api.Assertions.assertThrows;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.talvern.test.gx.NotSupportedOnUnixException;
import com.talvern.test.gx.sys.OSProcess;
import com.talvern.test.gx.sys.OperatingSystem;
import com.talvern.test.gx.sys.ProcessInformation;
import java.io.RandomAccessFile;
import java.lang.management.ManagementFactory;
import java.lang.management.ThreadMXBean;
import java.lang.reflect.InvocationTargetException;
import java.lang.reflect.Method;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.Arrays;
import java.util.HashMap;
import java.util.List;
import java.util.Map;
import java.util.concurrent.CountDownLatch;
import java.util.function.ToIntFunction;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;

/** Programs, environment and files as an engine uses them. */
class OperatingSystemTest {
    private static final long SECOND = 1_000_000_000L;

    @TempDir
    Path directory;

    /** Both answers of a wait mean that the program has ended: it may have ended before the wait began. */
    private static void assertEnded(ProcessInformation process, int answer, int exitCode) {
        assertEquals(answer == 0, process.noProcess);
        assertEquals(answer == 0 ? 0 : exitCode, process.exitCode);
        assertFalse(OperatingSystem.isAlive(process));
        assertTrue(process.noProcess);
    }

    @Test
    void startsProgramsAndWaitsForThem() throws Exception {
        Path output = directory.resolve("out \u00e9");
        String quoted = "sh -c 'echo \"one  two\" $0; pwd; echo oops >&2; exit 3' \u20ac";
        for (int round = 0; round < 20; ++round) {
            ProcessInformation process =
                    OperatingSystem.exec(quoted, directory.toString(), output.toString(), output.toString(), round % 2 == 0);
            assertTrue(process.processId > 0, process.errorMessage);
            assertEquals(0, process.creationTimeLow | process.creationTimeHigh);
            int answer = round % 3 == 0
                    ? OperatingSystem.wait(process) : OperatingSystem.waitWithTimeout(process, 60_000);
            assertEnded(process, answer, 3);
        }
        assertEquals(("one  two \u20ac\n" + directory + "\noops\n").repeat(20), Files.readString(output));
    }

    /** Once each has used the processor for a while: a call's beginning takes less, a wait that asks and asks more. */
    private static void awaitUnderWay(Thread... waiters) throws InterruptedException {
        long end = System.nanoTime() + 20 * SECOND;
        ThreadMXBean times = ManagementFactory.getThreadMXBean();
        long[] before = Arrays.stream(waiters).mapToLong(waiter -> times.getThreadCpuTime(waiter.getId())).toArray();
        for (int i = 0; i < waiters.length; ++i) {
            while (times.getThreadCpuTime(waiters[i].getId()) < before[i] + 500_000) {
                assertTrue(System.nanoTime() < end && waiters[i].isAlive(), "the wait does not ask");
                Thread.sleep(1);
            }
        }
    }

    /** Programs with the exit statuses 1, 2, 3 ... that end together once all of them are waited for. */
    private void assertExitCodesArrive(int programs, ToIntFunction<ProcessInformation> waitFor) throws Exception {
        Path go = directory.resolve("go");
        OperatingSystem.wait(OperatingSystem.exec("mkfifo " + go, null, null, null, false));
        ProcessInformation[] processes = new ProcessInformation[programs];
        Thread[] waiters = new Thread[programs];
        int[] answers = new int[programs];
        CountDownLatch entered = new CountDownLatch(programs);
        for (int i = 0; i < programs; ++i) {
            int index = i;
            processes[i] = OperatingSystem.exec("sh -c ': <" + go + "; exit " + (i + 1) + "'", null, null, null, false);
            waiters[i] = new Thread(() -> {
                entered.countDown();
                answers[index] = waitFor.applyAsInt(processes[index]);
            });
            waiters[i].start();
        }
        entered.await();
        awaitUnderWay(waiters);
        RandomAccessFile opened = new RandomAccessFile(go.toFile(), "rw");
        for (int i = 0; i < programs; ++i) {
            waiters[i].join();
            assertEquals(1, answers[i]);
            assertEquals(i + 1, processes[i].exitCode);
            assertFalse(processes[i].noProcess);
        }
        opened.close();
        Files.delete(go);
    }

    @Test
    void anExitCodeArrivesWhereverTheWaitWasUnderWay() throws Exception {
        for (int round = 0; round < 50; ++round) {
            assertExitCodesArrive(2, OperatingSystem::wait);
        }
        assertExitCodesArrive(100, process -> OperatingSystem.waitWithTimeout(process, 120_000));
    }

    @Test
    void saysWhyNothingWasStarted() {
        String[][] rows = {{null, null, null, "no command"},
            {"true", "/nowhere \u00e9", null, "cannot open /nowhere \u00e9: No such file or directory"},
            {"true", null, directory.toString(), "cannot open " + directory + ": Is a directory"}};
        for (String[] row : rows) {
            ProcessInformation process = OperatingSystem.exec(row[0], row[1], row[2], null, false);
            assertEquals(-1, process.processId);
            assertEquals(row[3], process.errorMessage);
            assertFalse(OperatingSystem.isAlive(process));
            assertEquals("", process.errorMessage);
            assertEquals(0, OperatingSystem.wait(process));
        }
        assertEquals(0, OperatingSystem.wait(null));
        assertEquals(0, OperatingSystem.waitWithTimeout(new ProcessInformation(), 0));
        assertFalse(OperatingSystem.isAlive(null));
        new OSProcess().kill();
    }

    @Test
    void endsProgramsThatListenToSigterm() {
        ProcessInformation deaf = OperatingSystem.exec("sleep 60", null, null, null, false);
        assertTrue(OperatingSystem.isAlive(deaf));
        assertEquals(ProcessHandle.current().pid(), OperatingSystem.getppid(deaf.processId));
        long start = System.nanoTime();
        assertEquals(1, OperatingSystem.waitWithTimeout(deaf, 2000));
        long waited = System.nanoTime() - start;
        assertTrue(waited >= SECOND && waited < SECOND * 19 / 10, waited + " ns of half of 2000 ms");
        assertFalse(deaf.noProcess);
        new OSProcess(deaf.processId).kill();
        assertTrue(OperatingSystem.isAlive(deaf), "SIGTERM is blocked in what exec starts");
        ProcessHandle.of(deaf.processId).orElseThrow().destroyForcibly();
        int answer = OperatingSystem.wait(deaf);
        assertEquals(answer == 1 ? "Bad file descriptor" : "", deaf.errorMessage);
        assertFalse(OperatingSystem.isAlive(deaf));
        start = System.nanoTime();
        new OSProcess(deaf.processId).kill();
        assertTrue(System.nanoTime() - start < SECOND, "gone already");
    }

    @Test
    void answersForTheEnvironment() throws Exception {
        Path output = directory.resolve("environment");
        OperatingSystem.setenv("GX_VALUE", "a=\u20ac");
        assertEquals("a=\u20ac", OperatingSystem.getEnvironment("GX_VALUE"));
        OperatingSystem.wait(OperatingSystem.exec("printenv GX_VALUE", null, output.toString(), null, false));
        assertEquals("a=\u20ac\n", Files.readString(output));
        OperatingSystem.unsetenv("GX_VALUE");
        assertNull(OperatingSystem.getenvNative("GX_VALUE"));
        for (String name : new String[] {null, "", "A=B"}) {
            OperatingSystem.setenv(name, "x");
            OperatingSystem.unsetenv(name);
            assertNull(OperatingSystem.getenvNative(name));
        }

        for (String pair : ("getMarloInstallNative QUESSA_TALVERN_VTX_INSTALL_DIR,"
                + "getMarloInstallNative TALVERN_GX_INSTALL_DIRECTORY,getPlandeckInstallNative TALV_PLHOME,"
                + "getCustomizationDirNative TALVERN_GX_CUSTOMIZATION_DIRECTORY,"
                + "getConfigurationDirNative TALVERN_GX_CONFIGURATION_DIRECTORY,getInputFiles VTX_INPUT_FILES,"
                + "getEclipseDirNative QUESSA_TALVERN_VTX_ECLIPSE_DIR,getIdeDir QUESSA_TALVERN_VTX_ECLIPSE_DIR,"
                + "getDefaultJRENative TALVERN_GX_JRE,getPlaybackJRENative TALVERN_GX_JRE").split(",")) {
            String[] parts = pair.split(" ");
            Method getter = OperatingSystem.class.getMethod(parts[0]);
            String longest = "/".repeat(511);
            for (String value : List.of("/tmp", "", longest, longest + "/")) {
                OperatingSystem.setenv(parts[1], value);
                String expected = value.isEmpty() || value.length() > 511 ? null : value;
                assertEquals(expected, getter.invoke(null), pair + " " + value.length());
            }
            OperatingSystem.unsetenv(parts[1]);
            assertNull(getter.invoke(null), pair);
        }
    }

    @Test
    void answersForTheSystem() throws Exception {
        Path output = directory.resolve("output");
        OperatingSystem.wait(OperatingSystem.exec("uname -srv", null, output.toString(), null, false));
        assertEquals(Files.readString(output), OperatingSystem.getVersion() + "\n");
        assertEquals(ProcessHandle.current().pid(), OperatingSystem.getCurrentProcess().getProcessId());
        long[] other = new long[1];
        Thread thread = new Thread(() -> other[0] = OperatingSystem.getCurrentThreadId());
        thread.start();
        thread.join();
        assertTrue(other[0] != 0 && other[0] != OperatingSystem.getCurrentThreadId());
        assertEquals(-1, OperatingSystem.getppid(-1));
    }

    @Test
    void copiesMovesAndFindsFiles() throws Exception {
        Path copy = directory.resolve("copy \u00e9");
        Path moved = directory.resolve("firefox-bin");
        assertTrue(OperatingSystem.copyFile("/etc/hostname", copy.toString()));
        assertTrue(OperatingSystem.isFileWriteable(copy.toString()));
        assertTrue(OperatingSystem.moveFile(copy.toString(), moved.toString()));
        assertFalse(OperatingSystem.isFileWriteable(copy.toString()) || OperatingSystem.isFileWriteable(null));
        assertEquals(-1, Files.mismatch(Path.of("/etc/hostname"), moved));
        assertFalse(OperatingSystem.copyFile(moved.toString(), null) || OperatingSystem.moveFile(null, copy.toString()));
        assertNull(OperatingSystem.getAllBrowsers(directory.toString()));
        Files.createSymbolicLink(directory.resolve("regxpcom"), moved);
        String odd = "$(printf 'odd \\377')"; // no text in any code set that Java programs run in
        for (String command : List.of("mkdir \"" + odd + "\" && cp -P *-bin regxpcom \"" + odd + "\"", "rm -r odd*")) {
            assertEquals(0, new ProcessBuilder("sh", "-c", command).directory(directory.toFile()).start().waitFor());
            assertEquals(moved.toString(), OperatingSystem.getAllBrowsers(directory.toString()));
        }
        Files.createDirectories(directory.resolve("defaults/pref"));
        assertTrue(OperatingSystem.MozillaEnable(directory.toString()));
        assertTrue(OperatingSystem.MozillaDisable(directory.toString()));
        assertFalse(OperatingSystem.MozillaEnable(null));
    }

    private static Object call(String name) throws Exception {
        Method method = Arrays.stream(OperatingSystem.class.getMethods())
                .filter(each -> each.getName().equals(name)).findFirst().orElseThrow();
        Object[] arguments = Arrays.stream(method.getParameterTypes())
                .map(type -> type == int.class ? (Object) Integer.valueOf(1) : null).toArray();
        return method.invoke(null, arguments);
    }

    private static void assertNotSupported(String name) {
        InvocationTargetException failure = assertThrows(
                InvocationTargetException.class, () -> call(name), name);
        assertSame(NotSupportedOnUnixException.class, failure.getCause().getClass(), name);
        assertTrue(String.valueOf(failure.getCause().getMessage()).isEmpty(), name);
    }

    @Test
    void knowsWhatHasNoMeaningHere() {
        assertAll(Arrays.stream(("getLowLevelHooksTimeout setLowLevelHooksTimeout getRegistryValue getRegistryIntValue"
                + " isIEEnabled disableIE getIEEnabler setForegroundLockTimeout getForegroundLockTimeout"
                + " deleteFileOnReboot getCommonAppDataPath getShortPathName getProcessName getProcessList broadcastEvent")
                .split(" ")).map(name -> () -> assertNotSupported(name)));
        Map<String, Object> fixed = new HashMap<>();
        for (String name : List.of("getBrowserJavaPluginFilePath", "getBrowsers", "getJREs", "setViewLog",
                "trimCurrentProcessWorkingSetSize")) {
            fixed.put(name, null);
        }
        for (String name : List.of("isMSWindows", "shellExecute", "isPlandeckInstalled", "isDllNetAssembly")) {
            fixed.put(name, false);
        }
        fixed.put("getViewLog", -1);
        fixed.put("setThreadPriority", -1);
        assertAll(fixed.entrySet().stream().map(row -> () -> assertEquals(row.getValue(), call(row.getKey()))));
    }
}
