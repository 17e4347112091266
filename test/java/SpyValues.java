import com.talvern.test.gx.object.map.SpyMappedDescribedObjectReference;
import com.talvern.test.gx.object.map.SpyMappedTestObject;
import com.talvern.test.gx.sys.SpyMap;
import com.talvern.test.gx.sys.SpyMappedPair;
import com.talvern.test.gx.sys.SpyMemory;
import com.talvern.test.gx.sys.SpyValueClass;
import com.talvern.test.gx.sys.SpyVector;
import java.lang.invoke.MethodType;
import java.lang.reflect.Field;
import java.nio.ByteBuffer;
import java.nio.ByteOrder;
import java.util.LinkedHashMap;
import java.util.Map;
import java.util.stream.Stream;

/** Values of every type that Java can store, the overload for each, and a look at what lies in spy memory. */
final class SpyValues {
    private SpyValues() {}

    /** A value of each type, by a name for it. Allocates what references need. */
    static Map<String, Object> ofEveryType() {
        Map<String, Object> values = new LinkedHashMap<>();
        values.put("byte", Byte.MIN_VALUE);
        values.put("char", '\uFFFE');
        values.put("short", Short.MIN_VALUE);
        values.put("int", Integer.MIN_VALUE);
        values.put("long", Long.MIN_VALUE + 1);
        values.put("float", -0.0f);
        values.put("double", Double.NaN);
        values.put("true", true);
        values.put("false", false);
        values.put("empty text", "");
        values.put("text", "Grüße \uD83D\uDE00 half \uD800 and \0 too");
        for (SpyMemory object : new SpyMemory[] {new SpyMemory(), new SpyValueClass(), new SpyMappedTestObject(),
                new SpyMappedDescribedObjectReference()}) {
            object.allocate(null, 40, 0);
            values.put(object.getClass().getSimpleName(), object);
        }
        SpyVector vector = new SpyVector();
        vector.create(null, 0, 1, 1);
        SpyMap map = new SpyMap();
        map.create(null, 0, 1);
        SpyMappedPair pair = new SpyMappedPair();
        pair.create(null, 0);
        values.put("vector", vector);
        values.put("map", map);
        values.put("pair", pair);
        return values;
    }

    /** What tells a value from others: its class, and for an object of spy memory the handle. */
    static String describe(Object value) {
        return value == null ? "null"
                : value.getClass().getName() + " " + (value instanceof SpyMemory memory ? handleOf(memory) : value);
    }

    /** Calls the overload that takes exactly the types of the arguments, boxes as primitives. */
    static Object call(SpyMemory target, String method, Object... arguments) {
        try {
            Class<?>[] types = Stream.of(arguments).map(SpyValues::typeOf).toArray(Class<?>[]::new);
            return target.getClass().getMethod(method, types).invoke(target, arguments);
        } catch (ReflectiveOperationException e) {
            throw new AssertionError(e);
        }
    }

    private static Class<?> typeOf(Object argument) {
        return argument instanceof SpyMemory ? SpyMemory.class
                : MethodType.methodType(argument.getClass()).unwrap().returnType();
    }

    private static Field handleField() throws NoSuchFieldException {
        Field field = SpyMemory.class.getDeclaredField("handle");
        field.setAccessible(true);
        return field;
    }

    static long handleOf(SpyMemory object) {
        try {
            return handleField().getLong(object);
        } catch (ReflectiveOperationException e) {
            throw new AssertionError(e);
        }
    }

    /** The block with that handle, as plain memory. */
    static SpyMemory blockAt(long handle) {
        return rename(new SpyMemory(), handle);
    }

    /** Gives an object another handle. */
    static SpyMemory rename(SpyMemory object, long handle) {
        try {
            handleField().setLong(object, handle);
            return object;
        } catch (ReflectiveOperationException e) {
            throw new AssertionError(e);
        }
    }

    static ByteBuffer bytes(int size) {
        return ByteBuffer.allocate(size).order(ByteOrder.nativeOrder());
    }

    /** Writes an element as it is stored, whatever its type: what native code may have left there. */
    static void store(SpyVector vector, int index, int type, long value) {
        long elements = bytes(20).put(blockAt(handleOf(vector)).read(), 0, 20).getLong(0);
        SpyMemory block = blockAt(elements);
        ByteBuffer all = bytes(block.read().length).put(0, block.read());
        all.putInt(16 * index, type).putLong(16 * index + 8, value);
        block.write(all.array(), 0, all.capacity());
    }
}
