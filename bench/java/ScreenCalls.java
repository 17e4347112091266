import com.talvern.test.gx.engine.Screen;
import java.awt.Rectangle;

/** What the benchmark of pictures calls. */
final class ScreenCalls {
    private ScreenCalls() {}

    /** @return 1 when there is a picture */
    static int capture() {
        return Screen.capture(new Rectangle(0, 0, 1280, 800)).image().getWidth() == 1280 ? 1 : 0;
    }
}
