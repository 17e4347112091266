package com.talvern.test.gx.engine;

import java.awt.Rectangle;
import java.awt.image.BufferedImage;
import java.awt.image.DataBufferInt;
import java.awt.image.DirectColorModel;
import java.awt.image.Raster;
import java.io.ByteArrayOutputStream;
import java.io.IOException;
import java.io.UncheckedIOException;
import java.nio.file.Files;
import java.nio.file.Path;
import javax.imageio.ImageIO;
import javax.imageio.stream.MemoryCacheImageOutputStream;

/**
 * What was to be seen on a part of the screen. A value: it does not change any more, unless somebody draws into its
 * {@link #image}.
 *
 * <pre>{@code
 * Picture screen = Screen.capture(Screen.Option.WITH_POINTER);
 * screen.save(File.createTempFile("screen", ".png").toPath());
 * System.out.println(screen.cut(new Rectangle(0, 0, 300, 200)).image().getWidth()); // 300
 * }</pre>
 */
public final class Picture {
    private static final int RED = 0xFF0000;
    private static final int GREEN = 0xFF00;
    private static final int BLUE = 0xFF;
    private static final int BITS = 24;

    private final BufferedImage image;
    private final Rectangle bounds;

    private Picture(BufferedImage image, Rectangle bounds) {
        this.image = image;
        this.bounds = bounds;
    }

    /** @param pixels rows from the top, as 0xRRGGBB; the picture's from now on */
    static Picture of(int[] pixels, Rectangle bounds) {
        int[] masks = {RED, GREEN, BLUE};
        return new Picture(new BufferedImage(new DirectColorModel(BITS, RED, GREEN, BLUE),
            Raster.createPackedRaster(new DataBufferInt(pixels, pixels.length), bounds.width, bounds.height, bounds.width,
                masks, null), false, null), bounds);
    }

    /** @return where it was on the screen: what was off the screen is not in it */
    public Rectangle bounds() {
        return new Rectangle(bounds);
    }

    /** @return its pixels, of the type {@link BufferedImage#TYPE_INT_RGB}; each time the same object */
    public BufferedImage image() {
        return image;
    }

    /**
     * A part of the picture.
     *
     * @param part on the screen
     * @return what of it is in the picture
     * @throws IllegalArgumentException nothing is
     */
    public Picture cut(Rectangle part) {
        Rectangle seen = part.intersection(bounds);
        if (seen.isEmpty()) {
            throw new IllegalArgumentException(Complaint.of("no part " + placeOf(part) + " of a picture",
                "that shows " + placeOf(bounds), "places are those on the screen"));
        }
        return new Picture(image.getSubimage(seen.x - bounds.x, seen.y - bounds.y, seen.width, seen.height), seen);
    }

    /** As X tools write it. */
    static String placeOf(Rectangle box) {
        return String.format("%dx%d%+d%+d", box.width, box.height, box.x, box.y);
    }

    /** @return the picture as a PNG file */
    public byte[] png() {
        ByteArrayOutputStream bytes = new ByteArrayOutputStream();
        try (MemoryCacheImageOutputStream out = new MemoryCacheImageOutputStream(bytes)) {
            ImageIO.write(image, "png", out);
        } catch (IOException impossible) {
            throw new UncheckedIOException(impossible);
        }
        return bytes.toByteArray();
    }

    /**
     * Writes the picture into a file.
     *
     * @param file a PNG file, made or replaced
     * @throws IOException it cannot be written
     */
    public void save(Path file) throws IOException {
        Files.write(file, png());
    }
}
