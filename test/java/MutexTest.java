import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;
import static org.junit.jupiter.api.Assertions.assertNull;
import static org.junit.jupiter.api.Assertions.assertThrows;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.talvern.test.gx.sys.ApplicationNotRespondingException;
import com.talvern.test.gx.sys.LockHolder;
import com.talvern.test.gx.sys.Mutex;
import com.talvern.test.gx.sys.SpyMemory;
import java.io.BufferedReader;
import java.io.InputStreamReader;
import java.time.Duration;
import java.time.Instant;
import java.util.concurrent.atomic.AtomicInteger;
import org.junit.jupiter.api.Test;

/** Named mutexes between threads and between JVMs. */
class MutexTest {
    private static Mutex named(String name) {
        Mutex mutex = new Mutex();
        assertTrue(mutex.create(name), name);
        return mutex;
    }

    private static void inAnotherThread(Runnable action) throws InterruptedException {
        Thread thread = new Thread(action);
        AtomicInteger failures = new AtomicInteger();
        thread.setUncaughtExceptionHandler((where, failure) -> {
            failure.printStackTrace();
            failures.incrementAndGet();
        });
        thread.start();
        thread.join();
        assertEquals(0, failures.get());
    }

    /** Holds the mutex named by its argument until its input ends; run in a JVM of its own. */
    public static void main(String[] arguments) throws java.io.IOException {
        named(arguments[0]).acquire(0);
        System.out.println("held");
        while (System.in.read() >= 0) { }
    }

    @Test
    void isHeldAsOftenAsItWasAcquired() throws InterruptedException {
        Mutex mutex = named("often \u20ac");
        assertTrue(mutex.acquire(0));
        assertTrue(mutex.acquire(0));
        mutex.release();
        inAnotherThread(() -> assertThrows(ApplicationNotRespondingException.class, () -> mutex.acquire(0)));
        inAnotherThread(mutex::release);
        inAnotherThread(() -> assertThrows(ApplicationNotRespondingException.class,
                () -> named("often \u20ac").acquire(999)));
        mutex.release();
        inAnotherThread(() -> {
            assertTrue(mutex.acquire(0));
            mutex.release();
        });
    }

    @Test
    void hasNothingToAcquireWithoutAName() {
        assertFalse(new Mutex().create(null));
        assertThrows(ApplicationNotRespondingException.class, () -> new Mutex().acquire(1000));
        Mutex freed = named("freed");
        freed.free();
        ApplicationNotRespondingException failure =
                assertThrows(ApplicationNotRespondingException.class, () -> freed.acquire(0));
        assertTrue(failure.getMessage().endsWith("Mutex timeout: Unknown Mutex"), failure.getMessage());
        freed.release();
    }

    @Test
    void isFreeAgainWhenTheHoldersJvmIsKilled() throws Exception {
        Process holder = new ProcessBuilder(System.getProperty("java.home") + "/bin/java",
                "-Djava.library.path=" + System.getProperty("java.library.path"),
                "-cp", System.getProperty("java.class.path"), "MutexTest", "killed")
                .redirectError(ProcessBuilder.Redirect.INHERIT).start();
        BufferedReader output = new BufferedReader(new InputStreamReader(holder.getInputStream()));
        assertEquals("held", output.readLine());
        Mutex mutex = named("killed");
        assertThrows(ApplicationNotRespondingException.class, () -> mutex.acquire(0));
        LockHolder found = mutex.holder();
        assertEquals(holder.pid(), found.processId());
        assertEquals("java", found.processName());
        assertTrue(found.isAlive() && found.since().isBefore(Instant.now()), found.toString());
        holder.destroyForcibly();
        holder.waitFor();
        assertTrue(mutex.acquire(1000));
        mutex.release();
        assertNull(mutex.holder());
    }

    @Test
    void tellsWhichThreadHoldsSharedMemory() throws InterruptedException {
        assertNull(SpyMemory.lockHolder());
        SpyMemory memory = new SpyMemory();
        memory.lock();
        Thread.currentThread().setName("with the lock");
        inAnotherThread(() -> assertEquals("with the lock", SpyMemory.lockHolder().threadName()));
        assertEquals(ProcessHandle.current().pid(), SpyMemory.lockHolder().processId());
        memory.unlock();
        assertNull(SpyMemory.lockHolder());
        assertNull(new Mutex().holder());
    }

    @Test
    void serialisesThreadsThatShareAnObject() throws InterruptedException {
        Mutex mutex = named("shared");
        int[] counter = new int[1];
        Runnable work = () -> {
            for (int round = 0; round < 2000; ++round) {
                mutex.acquire(-1);
                mutex.acquire(0);
                ++counter[0];
                mutex.release();
                mutex.release();
            }
        };
        Thread other = new Thread(work);
        other.start();
        work.run();
        other.join(Duration.ofSeconds(60).toMillis());
        assertEquals(4000, counter[0]);
    }
}
