package com.talvern.test.gx.inspect;

import com.talvern.test.gx.engine.Picture;
import java.awt.Rectangle;
import java.awt.image.BufferedImage;
import java.awt.image.DataBufferInt;
import java.io.ByteArrayOutputStream;
import java.io.IOException;
import java.util.ArrayDeque;
import java.util.Arrays;
import java.util.Deque;
import java.util.List;
import javax.imageio.ImageIO;
import javax.imageio.stream.MemoryCacheImageOutputStream;

/** The newest picture, and what the last ones differed in, so that a page gets what it has not got. Any thread. */
final class Film {
    private static final int OPAQUE = 0xFF000000;
    /** Pages that are further behind get the whole picture. */
    private static final int REMEMBERED = 32;

    /**
     * What a page needs to come from an older picture to the newest.
     *
     * @param number of the newest picture
     * @param box of all of it, on the screen; empty when there is no window to be seen
     * @param part on the screen
     * @param png the part; null when it is empty
     */
    record Change(long number, Rectangle box, Rectangle part, byte[] png) {}

    private final Deque<Rectangle> changes = new ArrayDeque<>(); // the newest last
    private Rectangle box = new Rectangle();
    private int[] pixels = {};
    private long number;

    /**
     * Takes a picture for the newest, if it differs.
     *
     * @param picture null when there is no window to be seen
     * @param windows what of it belongs to the program; the rest is left out
     * @return whether it differs
     */
    synchronized boolean add(Picture picture, List<Rectangle> windows) {
        Rectangle bounds = picture == null ? new Rectangle() : picture.bounds();
        int[] next = picture == null ? new int[0] : within(windows, picture);
        boolean isPlaced = bounds.equals(box) && number > 0;
        Rectangle change = isPlaced ? difference(pixels, next, bounds) : bounds;
        if (isPlaced && change.isEmpty()) {
            return false;
        }
        if (!isPlaced) {
            changes.clear();
        }
        remember(change);
        box = bounds;
        pixels = next;
        ++number;
        return true;
    }

    private void remember(Rectangle change) {
        changes.add(change);
        if (changes.size() > REMEMBERED) {
            changes.remove();
        }
    }

    private static int[] within(List<Rectangle> windows, Picture picture) {
        Rectangle bounds = picture.bounds();
        int[] all = ((DataBufferInt) picture.image().getRaster().getDataBuffer()).getData();
        int[] kept = new int[all.length];
        for (Rectangle window : windows) {
            Rectangle part = window.intersection(bounds);
            for (int y = part.y - bounds.y; y < part.y - bounds.y + part.height; ++y) {
                int row = y * bounds.width;
                for (int x = row + part.x - bounds.x; x < row + part.x - bounds.x + part.width; ++x) {
                    kept[x] = all[x] | OPAQUE;
                }
            }
        }
        return kept;
    }

    /** The smallest rectangle around what differs. */
    private static Rectangle difference(int[] before, int[] now, Rectangle bounds) {
        int width = bounds.width;
        int left = width;
        int right = -1;
        int top = -1;
        int bottom = -1;
        for (int y = 0; y < bounds.height; ++y) {
            int row = y * width;
            int first = Arrays.mismatch(before, row, row + width, now, row, row + width);
            if (first >= 0) {
                int last = width - 1;
                while (before[row + last] == now[row + last]) {
                    --last;
                }
                left = Math.min(left, first);
                right = Math.max(right, last);
                top = top < 0 ? y : top;
                bottom = y;
            }
        }
        return right < 0 ? new Rectangle()
            : new Rectangle(bounds.x + left, bounds.y + top, right - left + 1, bottom - top + 1);
    }

    /**
     * What has changed.
     *
     * @param since the number of the picture that a page has; 0 for none
     */
    Change since(long since) throws IOException {
        Rectangle all;
        Rectangle part;
        int[] newestPixels;
        long newest;
        synchronized (this) {
            all = box;
            part = partSince(since);
            newestPixels = pixels; // nobody writes into them
            newest = number;
        }
        return new Change(newest, all, part, part.isEmpty() ? null : png(newestPixels, all, part));
    }

    private Rectangle partSince(long since) {
        long missing = number - since;
        if (since <= 0 || missing < 0 || missing > changes.size()) {
            return box;
        }
        Rectangle part = new Rectangle();
        int left = changes.size();
        for (Rectangle change : changes) {
            if (left-- <= missing) {
                part = part.isEmpty() ? change : part.union(change);
            }
        }
        return part;
    }

    private static byte[] png(int[] pixels, Rectangle all, Rectangle part) throws IOException {
        BufferedImage image = new BufferedImage(part.width, part.height, BufferedImage.TYPE_INT_ARGB);
        image.setRGB(0, 0, part.width, part.height, pixels, (part.y - all.y) * all.width + part.x - all.x, all.width);
        ByteArrayOutputStream bytes = new ByteArrayOutputStream();
        try (MemoryCacheImageOutputStream out = new MemoryCacheImageOutputStream(bytes)) {
            ImageIO.write(image, "png", out);
        }
        return bytes.toByteArray();
    }
}
