import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;
import static org.junit.jupiter.api.Assertions.assertNotNull;
import static org.junit.jupiter.api.Assertions.assertNull;
import static org.junit.jupiter.api.Assertions.assertThrows;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.talvern.test.gx.NotSupportedOnUnixException;
import com.talvern.test.gx.sys.graphical.NativeScreen;
import com.talvern.test.gx.sys.graphical.NativeTopLevelWindow;
import com.talvern.test.gx.sys.graphical.NativeWindow;
import java.awt.Point;
import java.awt.Rectangle;
import java.io.BufferedReader;
import java.io.IOException;
import java.io.InputStreamReader;
import java.nio.file.Path;
import java.util.Arrays;
import java.util.HashMap;
import java.util.List;
import java.util.Map;
import org.junit.jupiter.api.AfterAll;
import org.junit.jupiter.api.BeforeAll;
import org.junit.jupiter.api.MethodOrderer;
import org.junit.jupiter.api.Order;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.TestMethodOrder;

/** Windows of another program as Java sees them; the scene is described in test/apps/windowscene.cpp. */
@TestMethodOrder(MethodOrderer.OrderAnnotation.class)
class NativeWindowTest {
    private static final NativeWindow GONE = new NativeWindow(0x1fffffff);
    private static final NativeWindow NONE = new NativeWindow(0);

    private static Process scene;
    private static BufferedReader output;
    private static final Map<String, NativeTopLevelWindow> windows = new HashMap<>();

    @BeforeAll
    static void startTheScene() throws IOException {
        scene = new ProcessBuilder(Path.of(System.getProperty("gx.apps"), "windowscene").toString())
                .redirectError(ProcessBuilder.Redirect.INHERIT).start();
        output = new BufferedReader(new InputStreamReader(scene.getInputStream()));
        while (!windows.containsKey("ready")) {
            String[] words = output.readLine().split(" ");
            windows.put(words[0], new NativeTopLevelWindow(Long.decode(words[1])));
        }
        // The first object that is asked: what is looked up once per process is looked up here.
        assertEquals(new Rectangle(105, 55, 300, 200), new Own(window("plain").getHandle()).nativeGetRectangle());
    }

    @AfterAll
    static void endTheScene() throws Exception {
        scene.getOutputStream().close();
        assertEquals(0, scene.waitFor());
    }

    /** With a field of the name that the native layer looks for. */
    static class Own extends NativeTopLevelWindow {
        long handle = 1;

        Own(long handle) {
            super(handle);
        }
    }

    static class WithoutSuchAConstructor extends NativeTopLevelWindow {
        WithoutSuchAConstructor() {
            super(0);
        }
    }

    private static NativeTopLevelWindow window(String name) {
        return windows.get(name);
    }

    @Test
    void findsWindowsAtPointsAndRectangles() {
        assertEquals(window("twin"), NativeWindow.nativeWindowAtPoint(new Point(120, 80)));
        assertEquals(window("plain"), NativeWindow.nativeWindowAtPoint(new Point(400, 250)));
        assertEquals(NativeWindow.nativeGetRootNativeWindow(), NativeWindow.nativeWindowAtPoint(new Point(450, 250)));
        assertArrayEquals(new NativeWindow[] {window("inner"), window("twin")},
                NativeWindow.nativeWindowsAtRectangle(new Rectangle(115, 75, 40, 30)));
        assertEquals(0, NativeWindow.nativeWindowsAtRectangle(new Rectangle(115, 75, 41, 30)).length);
        assertArrayEquals(new NativeWindow[] {window("plain")},
                NativeTopLevelWindow.topLevelWindowsAtRectangle(new Rectangle(105, 55, 300, 200)));
        assertArrayEquals(new NativeWindow[] {window("inner"), window("twin")},
                window("plain").nativeEnumChildWindows());
    }

    @Test
    void findsTheTopLevelWindowsAsObjectsOfTheAskersClass() {
        NativeTopLevelWindow[] all = new NativeTopLevelWindow(0).getOwnedWindows();
        assertEquals(List.of(window("plain"), window("text"), window("long")), Arrays.asList(all));
        assertEquals(Own[].class, new Own(0).getOwnedWindows().getClass());
        assertNull(new WithoutSuchAConstructor().getOwnedWindows());
    }

    @Test
    void describesWindows() {
        NativeWindow plain = window("plain");
        assertEquals(new Rectangle(105, 55, 300, 200), plain.nativeGetRectangle());
        assertEquals("a plain window", plain.nativeGetWindowCaption());
        assertEquals("Scene scene", plain.nativeGetWindowClassname());
        assertEquals("x".repeat(121) + "Żó", window("text").nativeGetWindowCaption(), "whole characters");
        assertEquals("Straße scene", window("text").nativeGetWindowClassname());
        assertEquals("C".repeat(126), window("long").nativeGetWindowClassname());
        assertEquals(plain, window("inner").nativeGetParentWindow());
        assertTrue(plain.nativeIsShowing() && plain.nativeisWinVisible() && plain.nativeIsEnabled());
        assertFalse(window("hidden").nativeIsShowing());
        assertTrue(window("hidden").isIconified());
        assertFalse(plain.nativeIsMenu() || plain.nativeIsPopup() || plain.nativeIsComboListBox()
                || plain.nativeIsFileDialog() || NativeWindow.nativeIsGTK());
        assertNotNull(NativeWindow.nativeGetForeground());
    }

    @Test
    @Order(Integer.MAX_VALUE)
    void changesWindows() throws Exception {
        NativeTopLevelWindow text = window("text");
        window("long").nativeBringToTop();
        assertTrue(text.moveWindow(480, 280, 100, 100));
        assertEquals(window("long"), NativeWindow.nativeWindowAtPoint(new Point(550, 350)));
        assertEquals(0, text.nativeNativeActivate());
        assertEquals(text, NativeWindow.nativeWindowAtPoint(new Point(550, 350)));
        text.nativeSetFocus();
        assertEquals(text, NativeWindow.nativeGetFocus());
        text.maximize();
        assertEquals(1280, text.nativeGetRectangle().width);
        text.moveWindow(500, 50, 100, 100);
        text.nativeSetStyleTopMost();
        text.nativeClearStyleTopMost();
        window("hidden").restore();
        assertTrue(window("hidden").nativeIsShowing());
        text.close();
        assertEquals("closed 0x" + Long.toHexString(text.getHandle()), output.readLine());
    }

    @Test
    void answersNeutrallyWhereThereIsNothing() {
        for (NativeWindow window : List.of(GONE, NONE)) {
            assertEquals(new Rectangle(), window.nativeGetRectangle());
            assertEquals("", window.nativeGetWindowCaption());
            assertEquals("", window.nativeGetWindowClassname());
            assertEquals(0, window.nativeEnumChildWindows().length);
            assertFalse(window.nativeIsShowing());
            window.nativeSetFocus();
            window.nativeSetForeground();
            new NativeTopLevelWindow(window.getHandle()).close();
            new NativeTopLevelWindow(window.getHandle()).iconify();
            assertTrue(new NativeTopLevelWindow(window.getHandle()).moveWindow(1, 1, 1, 1));
        }
        assertEquals(GONE, GONE.nativeGetParentWindow());
        assertNull(NONE.nativeGetParentWindow());
        assertNull(NativeWindow.nativeWindowAtPoint(null));
        assertNull(NativeWindow.nativeWindowsAtRectangle(null));
        assertNull(NativeTopLevelWindow.topLevelWindowsAtRectangle(null));
        int[] extremes = {Integer.MIN_VALUE, -1, 0, Integer.MAX_VALUE};
        for (int x : extremes) {
            assertNotNull(NativeWindow.nativeWindowAtPoint(new Point(x, x)));
            assertEquals(0, NativeWindow.nativeWindowsAtRectangle(new Rectangle(x, x, x, x)).length);
        }
    }

    @Test
    void saysWhatX11DoesNotKnow() {
        NativeTopLevelWindow plain = window("plain");
        assertThrows(NotSupportedOnUnixException.class, plain::nativeGetPid);
        assertThrows(NotSupportedOnUnixException.class, plain::nativeGetTid);
        assertNull(plain.nativeGetOwnerWindow());
        assertNull(plain.nativeGetGwWinOwner());
        assertNull(NativeWindow.nativeGetMainWindowForProcessId(ProcessHandle.current().pid()));
        assertArrayEquals(new int[] {0, -1, -1, 0}, new int[] {plain.nativeGetScrollPosition(0),
            plain.nativeGetScrollPosition(1), plain.nativeGetScrollPosition(2), plain.nativeGetScrollPosition(3)});
        assertArrayEquals(new int[] {-1, -1}, new int[] {plain.nativeGetScrollMin(1), plain.nativeGetScrollMax(2)});
        assertEquals(new Rectangle(), plain.getTitleBarRectangle());
        assertFalse(plain.isPointInCloseIcon(new Point(1, 1)) || plain.isPointInSystemMenu(null) || plain.isMaximized());
        assertEquals(72, NativeScreen.getPixelsFromPoints(72));
    }
}
