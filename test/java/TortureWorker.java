import com.talvern.test.gx.sys.ApplicationNotRespondingException;
import com.talvern.test.gx.sys.Mailslot;
import com.talvern.test.gx.sys.Mutex;
import com.talvern.test.gx.sys.SpyMap;
import com.talvern.test.gx.sys.SpyMappedPair;
import com.talvern.test.gx.sys.SpyMemory;
import com.talvern.test.gx.sys.SpyVector;
import java.io.IOException;
import java.lang.invoke.MethodHandles;
import java.lang.invoke.VarHandle;
import java.nio.ByteOrder;
import java.nio.MappedByteBuffer;
import java.nio.channels.FileChannel;
import java.nio.file.Path;
import java.nio.file.StandardOpenOption;
import java.util.Random;

/**
 * A JVM among the processes of test/torture, whose containers it changes: {@code TortureWorker SLOT SEED REPORT}. It ends
 * when the report says so, with status 1 when it has seen what must not be.
 */
final class TortureWorker {
    private static final VarHandle LONGS = MethodHandles.byteBufferViewVarHandle(long[].class, ByteOrder.nativeOrder());
    private static final VarHandle INTS = MethodHandles.byteBufferViewVarHandle(int[].class, ByteOrder.nativeOrder());
    /** In the report, see TortureStore.h. */
    private static final int OPERATIONS = 0, REFUSED = 8, READY = 16, IS_OVER = 20, SIZE = 24;

    private final MappedByteBuffer report;
    private final Random random;
    private final String slot;
    private final SpyMap map = (SpyMap) new SpyMemory().locate("torture.map");
    private final SpyVector vector = (SpyVector) new SpyMemory().locate("torture.vector");
    private final SpyMappedPair pair = (SpyMappedPair) new SpyMemory().locate("torture.pair");

    private TortureWorker(String slot, long seed, MappedByteBuffer report) {
        this.slot = slot;
        this.report = report;
        random = new Random(seed);
    }

    public static void main(String[] arguments) throws IOException {
        try (FileChannel file = FileChannel.open(Path.of(arguments[2]), StandardOpenOption.READ, StandardOpenOption.WRITE)) {
            new TortureWorker(arguments[0], Long.parseLong(arguments[1]), file.map(FileChannel.MapMode.READ_WRITE, 0, SIZE))
                    .work();
        }
    }

    private void work() {
        INTS.getAndAdd(report, READY, 1);
        while (report.get(IS_OVER) == 0) {
            try {
                operate();
                LONGS.getAndAdd(report, OPERATIONS, 1L);
            } catch (ApplicationNotRespondingException e) {
                LONGS.getAndAdd(report, REFUSED, 1L);
            }
        }
    }

    /** What is done in several calls is whole call by call, so each call leaves nothing to clean up. */
    private void operate() {
        switch (random.nextInt(3)) {
            case 0 -> inMutex();
            case 1 -> inMailslot();
            default -> {
                map.lock();
                try {
                    change(String.valueOf((char) ('a' + random.nextInt(26))));
                } finally {
                    map.unlock();
                }
            }
        }
    }

    private void change(String name) {
        switch (random.nextInt(6)) {
            case 0 -> {
                if (map.containsKey(name)) {
                    expect(name.equals(map.remove(name)), "another value was removed from the map");
                }
            }
            case 1 -> {
                if (!map.containsKey(name)) {
                    expect(map.put(name, name) && name.equals(map.get(name)), "what was put is not there");
                }
            }
            case 2 -> vector.addElement(name);
            case 3 -> {
                if (vector.size() > 20) {
                    expect(vector.remove(random.nextInt(vector.size())) instanceof String, "no text was in the vector");
                }
            }
            case 4 -> pair.put(name, name, 1);
            default -> pair.remove(name);
        }
    }

    private static void inMutex() {
        Mutex mutex = new Mutex();
        if (mutex.create("torture")) {
            mutex.acquire(2000);
            mutex.release();
        }
    }

    /** A mailslot that the last one with this number may have left when it was killed. */
    private void inMailslot() {
        try (Mailslot opened = Mailslot.open(slot)) {
            for (int number = 0; number < 3; number++) {
                Mailslot.find(slot).post("message " + number);
            }
            for (int number = 0; number < 3; number++) {
                expect(("message " + number).equals(opened.receive().value()), "another message was received");
            }
        }
    }

    private static void expect(boolean condition, String what) {
        if (!condition) {
            System.err.println("TortureWorker: " + what);
            Runtime.getRuntime().halt(1);
        }
    }
}
