import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;
import static org.junit.jupiter.api.Assertions.assertNull;
import static org.junit.jupiter.api.Assertions.assertThrows;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.talvern.test.gx.NotSupportedOnUnixException;
import com.talvern.test.gx.StringNotInCodePageException;
import com.talvern.test.gx.sys.graphical.Keyboard;
import com.talvern.test.gx.sys.graphical.NativeKeyMouseEvent;
import com.talvern.test.gx.sys.graphical.NativeLowLevelPlayer;
import com.talvern.test.gx.sys.graphical.NativeMouse;
import com.talvern.test.gx.sys.graphical.NativeMouseCaptureThread;
import com.talvern.test.gx.sys.graphical.NativePlayerThread;
import com.talvern.test.gx.sys.graphical.NativeRecorderThread;
import com.talvern.test.gx.util.NativeActionRecorder;
import java.awt.Point;
import java.util.concurrent.CompletableFuture;
import java.util.concurrent.TimeUnit;
import java.util.concurrent.TimeoutException;
import java.util.function.Supplier;
import org.junit.jupiter.api.AfterEach;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.function.Executable;

/** The hot keys of playback, and what the user does at keyboard and mouse, as a Java engine learns of it. */
class NativePlayerThreadTest {
    private static final int F9 = 0xFFC6;
    private static final int F11 = 0xFFC8;
    private static final int F12 = 0xFFC9;

    private final NativePlayerThread player = new NativePlayerThread();
    private final NativeMouseCaptureThread capture = new NativeMouseCaptureThread();

    /** Types its argument; run in a JVM of its own. */
    public static void main(String[] arguments) {
        NativeKeyMouseEvent.emitHLKeyEvent(0, 0, NativeKeyMouseEvent.KEYSTRING, arguments[0]);
    }

    private static int typeInAnotherJvm(String text) throws Exception {
        return new ProcessBuilder(System.getProperty("java.home") + "/bin/java",
                "-Djava.library.path=" + System.getProperty("java.library.path"),
                "-cp", System.getProperty("java.class.path"), "NativePlayerThreadTest", text)
                .inheritIO().start().waitFor();
    }

    /** A stroke that is not counted as the library's, like those of a user. */
    private static void stroke(int keysym) {
        NativeKeyMouseEvent.emitLLKeyEvent(0, 0, NativeKeyMouseEvent.KEY_PRESS, keysym);
        NativeKeyMouseEvent.emitLLKeyEvent(0, 0, NativeKeyMouseEvent.KEY_RELEASE, keysym);
    }

    private static void mouse(int kind, int x, int y, int button) {
        NativeKeyMouseEvent.emitLLMouseEvent(new Point(x, y), 0, 0, button, 0, kind);
    }

    /** The answer of a wait in another thread, while {@code meanwhile} is done here. */
    private static <T> T answer(Supplier<T> wait, Executable meanwhile) throws Throwable {
        CompletableFuture<T> answer = CompletableFuture.supplyAsync(wait);
        assertThrows(TimeoutException.class, () -> answer.get(20, TimeUnit.MILLISECONDS));
        meanwhile.execute();
        return answer.get(10, TimeUnit.SECONDS);
    }

    @AfterEach
    void end() {
        player.endPlayback();
        capture.stopCapture();
        NativeLowLevelPlayer.nativeSetHotKeys(F11, F12);
        mouse(NativeKeyMouseEvent.MOUSE_RELEASE, 0, 0, NativeKeyMouseEvent.BUTTON_LEFT);
    }

    @Test
    void playbackIsStoppedAndPausedByTheUserAlone() throws Throwable {
        assertEquals(NativePlayerThread.ENDED, player.getNextEvent());
        player.startPlayback();
        player.startPlayback();
        CompletableFuture<Integer> answer = CompletableFuture.supplyAsync(player::getNextEvent);
        main(new String[] {"a{F11}b{F12}"});
        assertEquals(0, typeInAnotherJvm("{F12}a{F11 2}"));
        assertFalse(answer.isDone());
        stroke(F12);
        assertEquals(NativePlayerThread.PAUSE, answer.get(10, TimeUnit.SECONDS));
        assertEquals(NativePlayerThread.STOP, answer(player::getNextEvent, () -> {
            NativeLowLevelPlayer.nativeSetHotKeys(F9, F12);
            stroke(F11);
            stroke(F9);
        }));
        assertEquals(NativePlayerThread.ENDED, answer(player::getNextEvent, player::endPlayback));
    }

    @Test
    void capturedEventsAreRecordedOnes() throws Throwable {
        assertNull(capture.getNextEvent());
        assertTrue(capture.startCapture(0, 1));
        assertFalse(capture.startCapture(0, 1));
        mouse(NativeKeyMouseEvent.MOUSE_RELEASE, 0, 0, NativeKeyMouseEvent.BUTTON_LEFT);
        capture.getNextEvent();
        mouse(NativeKeyMouseEvent.MOUSE_PRESS, 70, 80, NativeKeyMouseEvent.BUTTON_RIGHT);
        assertEquals(NativeMouse.RIGHT, new NativeMouse().getMouseState());
        assertEquals(NativeKeyMouseEvent.MOVE, capture.getNextEvent().getKind());
        NativeKeyMouseEvent event = capture.getLastEvent();
        assertEquals(1, event.getForm());
        assertEquals(NativeKeyMouseEvent.MOUSE_PRESS, event.getKind());
        assertEquals(3, event.getModifiers());
        assertEquals(new Point(70, 80), event.getPoint());
        assertEquals(new Point(70, 80), new NativeMouse().getCursorPos());
        assertTrue(event.getTime() > 0);
        assertEquals(0, event.getWindow().getHandle());
        assertEquals(0, event.getTopLevelWindow().getHandle());
        mouse(NativeKeyMouseEvent.MOUSE_RELEASE, 0, 0, NativeKeyMouseEvent.BUTTON_RIGHT);
        assertEquals(3, capture.getLastEvent().getModifiers());
        assertNull(answer(capture::getLastEvent, capture::stopCapture));
    }

    @Test
    void whatUnixHasNotSaysSo() {
        record Row(String message, Executable call) {}
        NativeMouse mouse = new NativeMouse();
        NativeRecorderThread recorder = new NativeRecorderThread();
        assertNull(recorder.getNextEvent());
        for (Row row : new Row[] {
                new Row("NativeMouse.getDoubleClickThreadholdX", mouse::getDoubleClickThresholdX),
                new Row("NativeMouse.getDoubleClickThreadholdY", mouse::getDoubleClickThresholdY),
                new Row("NativeMouse.getDragThresholdX", mouse::getDragThresholdX),
                new Row("NativeMouse.getDragThresholdY", mouse::getDragThresholdY),
                new Row("NativeMouse.getDoubleClickInterval", mouse::getDoubleClickInterval),
                new Row("", recorder::stopRecording),
                new Row("", recorder::releaseEvent),
                new Row("", recorder::startRecording),
                new Row("", recorder::getNextEvent)}) {
            String message = assertThrows(NotSupportedOnUnixException.class, row.call).getMessage();
            assertEquals(row.message, message == null ? "" : message);
        }
        recorder.nativeFlushKeys();
        NativeActionRecorder.setRecorderToIgnoreTimeout(true);
        assertEquals(0, mouse.createCaptureWindow(1));
    }

    @Test
    void keysAreFoundAndHeld() {
        Keyboard keyboard = new Keyboard();
        assertEquals('a', keyboard.getKeyCode("a"));
        assertEquals(0xFFBE, keyboard.getKeyCode("{F1}"));
        assertEquals(-1, keyboard.getKeyCode("F1"));
        assertEquals(-1, keyboard.getKeyCode(null));
        assertThrows(StringNotInCodePageException.class, () -> keyboard.getKeyCode("\ud83d"));
        keyboard.setModifierKeys(Keyboard.SHIFT | Keyboard.ALT);
        assertTrue(keyboard.isKeyDown(0xFFE1));
        assertFalse(keyboard.isKeyDown(0xFFE3));
        keyboard.setModifierKeys(0);
        assertFalse(keyboard.isKeyDown(0xFFE1));
    }
}
