import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;
import static org.junit.jupiter.api.Assertions.assertNull;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.talvern.test.gx.sys.graphical.Highlighter;
import com.talvern.test.gx.sys.graphical.NativeScreen;
import com.talvern.test.gx.sys.graphical.NativeWindow;
import com.talvern.test.gx.ui.NativeTooltipWindow;
import java.awt.Point;
import java.awt.Rectangle;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;
import java.util.stream.IntStream;
import org.junit.jupiter.api.Test;

/** Frames and tooltips as an engine uses them. */
class FeedbackTest {
    private static final Rectangle BOX = new Rectangle(100, 150, 80, 60);
    private static final NativeWindow ROOT = NativeWindow.nativeGetRootNativeWindow();

    private static Rectangle place(Highlighter frame) {
        return new NativeWindow(frame.getHandle()).nativeGetRectangle();
    }

    private static List<NativeWindow> shown() {
        return Arrays.asList(ROOT.nativeEnumChildWindows());
    }

    @Test
    void framesAreShownMovedHiddenAndDestroyed() {
        Highlighter frame = Highlighter.create(BOX, 255, 0, 0, 5, 0, 0);
        assertTrue(frame.isVisible());
        assertEquals(BOX, place(frame));
        assertEquals(ROOT, NativeWindow.nativeWindowAtPoint(new Point(101, 151)), "frames are looked through");
        frame.move(10, 20, 30, 40);
        frame.hide();
        assertFalse(frame.isVisible());
        frame.show();
        assertTrue(frame.isVisible());
        assertEquals(new Rectangle(10, 20, 30, 40), place(frame));
        assertEquals(0, frame.joinNativeThread(), "not timed: at once");
        assertFalse(new Highlighter(ROOT.getHandle()).isVisible(), "no frame");
        frame.destroy();
        for (Highlighter gone : List.of(frame, new Highlighter(0))) {
            gone.show();
            gone.move(1, 1, 1, 1);
            gone.destroy();
            assertFalse(gone.isVisible());
            assertEquals(0, gone.joinNativeThread());
        }
        assertNull(Highlighter.create(null, 0, 0, 0, 1, 0, 0));
    }

    @Test
    void timedFramesGoByThemselvesOrEarly() throws InterruptedException {
        long start = System.nanoTime();
        Highlighter frame = Highlighter.create(BOX, 255, 0, 0, 5, 50, 200);
        List<Thread> waiting = new ArrayList<>();
        for (int i = 0; i < 3; i++) {
            waiting.add(new Thread(frame::joinNativeThread));
            waiting.get(i).start();
        }
        assertEquals(0, frame.joinNativeThread());
        assertTrue(System.nanoTime() - start >= 200_000_000L);
        waiting.forEach(thread -> {
            try {
                thread.join(10_000);
            } catch (InterruptedException e) {
                throw new AssertionError(e);
            }
            assertFalse(thread.isAlive());
        });
        Within.await(() -> place(frame).equals(new Rectangle())); // seen through another connection than the frame's
        Highlighter early = Highlighter.create(BOX, 255, 0, 0, 5, 0, 60_000);
        early.destroy();
        assertEquals(0, early.joinNativeThread());
        Within.await(() -> place(early).equals(new Rectangle()));
    }

    @Test
    void theScreenFlashesRectangles() throws InterruptedException {
        NativeScreen.highlight(null);
        Thread flash = new Thread(() -> NativeScreen.highlight(BOX));
        flash.start();
        Within.await(() -> NativeWindow.nativeWindowsAtRectangle(new Rectangle(150, 100, 80, 60)).length == 1);
        flash.join();
        assertEquals(0, NativeWindow.nativeWindowsAtRectangle(new Rectangle(150, 100, 80, 60)).length);
    }

    @Test
    void tooltipsShowTexts() throws InterruptedException {
        List<NativeWindow> before = shown();
        long tooltip = NativeTooltipWindow.create(0, 0, "Größe", false);
        assertEquals(before, shown());
        assertTrue(NativeTooltipWindow.move(tooltip, 30, 40));
        // getBounds exchanges width and height.
        Rectangle first = Within.last(() -> NativeTooltipWindow.getBounds(tooltip), box -> NativeWindow
            .nativeWindowsAtRectangle(new Rectangle(30, 40, box.height, box.width)).length == 1);
        assertEquals(new Point(30, 40), first.getLocation());
        assertTrue(first.height > first.width, first::toString);
        assertTrue(NativeTooltipWindow.setText(tooltip, "Größe 2"));
        Within.await(() -> NativeTooltipWindow.getBounds(tooltip).height > first.height);
        Rectangle longer = NativeTooltipWindow.getBounds(tooltip);
        assertTrue(NativeTooltipWindow.setText(tooltip, ""));
        assertTrue(NativeTooltipWindow.setText(tooltip, null));
        assertEquals(longer, NativeTooltipWindow.getBounds(tooltip));
        NativeTooltipWindow.hide(tooltip);
        Within.await(() -> shown().equals(before));
        NativeTooltipWindow.show(tooltip);
        Within.await(() -> !shown().equals(before));
        NativeTooltipWindow.destroy(tooltip);
        assertEquals(before, shown());
        NativeTooltipWindow.show(tooltip);
        assertTrue(NativeTooltipWindow.setText(tooltip, "gone"));
        assertEquals(new Rectangle(), NativeTooltipWindow.getBounds(tooltip));
        NativeTooltipWindow.destroy(tooltip);
        // Left to the exit of the JVM.
        IntStream.range(0, 20).forEach(i -> NativeTooltipWindow.move(NativeTooltipWindow.create(0, 0, null, true), i, i));
        Highlighter.create(BOX, 0, 255, 0, 5, 10, 60_000);
    }
}
