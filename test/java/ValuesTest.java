import static org.junit.jupiter.api.Assertions.assertAll;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertThrows;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.talvern.test.value.Decimal;
import com.talvern.test.value.UByte;
import com.talvern.test.value.UInt32;
import com.talvern.test.value.UInt64;
import java.math.BigDecimal;
import java.math.BigInteger;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;
import org.junit.jupiter.params.provider.ValueSource;

class ValuesTest {
    @ParameterizedTest
    @ValueSource(strings = {"-1", "18446744073709551616", "99999999999999999999999", "", "1.5", "x"})
    void whatIsOutOfRangeIsRefused(String text) {
        assertAll(
                () -> assertThrows(NumberFormatException.class, () -> UByte.parse(text)),
                () -> assertThrows(NumberFormatException.class, () -> UInt32.parse(text)),
                () -> assertThrows(NumberFormatException.class, () -> UInt64.parse(text)));
    }

    @Test
    void constructorsKeepTheRange() {
        assertThrows(IllegalArgumentException.class, () -> new UByte((short) 256));
        assertThrows(IllegalArgumentException.class, () -> new UByte((short) -1));
        assertThrows(IllegalArgumentException.class, () -> new UInt32(1L << 32));
        assertThrows(IllegalArgumentException.class, () -> UInt64.of(BigInteger.ONE.shiftLeft(64)));
        assertThrows(IllegalArgumentException.class, () -> UInt64.of(BigInteger.ONE.negate()));
        assertThrows(IllegalArgumentException.class, () -> new Decimal(BigDecimal.valueOf(1, 128)));
        assertThrows(IllegalArgumentException.class, () -> new Decimal(new BigDecimal(BigInteger.ONE.shiftLeft(192))));
        assertThrows(IllegalArgumentException.class, () -> new Decimal((byte) 0, 0, 0, 1, (byte) 0));
        assertThrows(IllegalArgumentException.class, () -> new Decimal((byte) 1, 0, 0, 0, (byte) 0));
    }

    @Test
    void theTopBitCountsAsMagnitude() {
        assertEquals("255", UByte.ofBits((byte) -1).toString());
        assertEquals("4294967295", UInt32.ofBits(-1).toString());
        assertEquals("18446744073709551615", new UInt64(-1).toString());
        assertTrue(new UInt64(-1).compareTo(new UInt64(1)) > 0);
        assertEquals(1.8446744073709552e19, new UInt64(-1).doubleValue());
        assertEquals(new UInt64(-1), UInt64.of(new UInt64(-1).toBigInteger()));
    }

    @ParameterizedTest
    @CsvSource({
        "-1, 0, 0, 1250, 2, -12.50", "1, 0, 1, 0, 0, 18446744073709551616", "1, 0, 0, 5, -3, 5000",
        "0, 0, 0, 0, 2, 0.00", "1, 0, 0, -1, 20, 0.18446744073709551615"})
    void decimalsAreMadeFromTheirParts(byte signum, long high, long mid, long low, byte scale, String text) {
        Decimal number = new Decimal(signum, high, mid, low, scale);
        assertEquals(text, number.toString());
        assertEquals(number, new Decimal(number.toBigDecimal()));
    }

    @Test
    void decimalsOfOneValueAreEqualWhateverTheirScale() {
        Decimal one = new Decimal(new BigDecimal("1"));
        Decimal longer = new Decimal(new BigDecimal("1.00"));
        assertEquals(one, longer);
        assertEquals(one.hashCode(), longer.hashCode());
        assertEquals(new Decimal(new BigDecimal("0")).hashCode(), new Decimal(new BigDecimal("0.00")).hashCode());
    }
}
