package com.talvern.test.gx.protocol;

import java.io.EOFException;
import java.io.IOException;
import java.nio.ByteBuffer;
import java.nio.channels.ReadableByteChannel;

/**
 * What goes over a line between engine and application: a question, and its answer or why there is none, as one block of
 * bytes each. In front of them stand the letters GX, the version of this format, the kind of the frame, and the number
 * of bytes that follow.
 */
public final class Frame {
    /** Kind: an {@link Operation}, the nanoseconds that it has, and what goes with it. */
    public static final byte QUESTION = 1;
    /** Kind: what the operation answers. */
    public static final byte ANSWER = 2;
    /** Kind: a text that says what failed. */
    public static final byte FAILURE = 3;

    private static final int MAGIC = 'G' << 8 | 'X';
    private static final byte VERSION = 1;
    private static final int HEADER = 8;
    private static final int LONGEST = 64 << 20;
    /** Of a channel at a time: the JVM keeps as much memory for each thread. */
    private static final int CHUNK = 64 << 10;

    /** The other side does not speak as this one does. */
    public static final class ProtocolException extends IOException {
        private static final long serialVersionUID = 1L;

        ProtocolException(String message) {
            super(message);
        }
    }

    private Frame() {}

    /**
     * A frame, to be sent in the pieces of {@link #piece}.
     *
     * @param kind one of the above
     * @param content what it holds
     * @return its bytes
     * @throws ProtocolException it would be longer than 64 MiB
     */
    public static ByteBuffer of(byte kind, Values content) throws ProtocolException {
        byte[] bytes = content.toBytes();
        if (bytes.length > LONGEST) {
            throw new ProtocolException("an answer of " + bytes.length + " bytes is too long");
        }
        return ByteBuffer.allocate(HEADER + bytes.length).putShort((short) MAGIC).put(VERSION).put(kind)
            .putInt(bytes.length).put(bytes).flip();
    }

    /**
     * What to send of a frame next.
     *
     * @param frame the frame; what was sent of a piece is to be {@linkplain ByteBuffer#position(int) passed over} in it
     * @return the next bytes
     */
    public static ByteBuffer piece(ByteBuffer frame) {
        return frame.slice(frame.position(), Math.min(CHUNK, frame.remaining()));
    }

    /** Takes a frame off a channel, which may block or not. For one frame. */
    public static final class Reader {
        private final ByteBuffer header = ByteBuffer.allocate(HEADER);
        private ByteBuffer content = ByteBuffer.allocate(0);
        private int missing = -1; // of the content; -1 while the header is not whole

        /** For the next frame. */
        public Reader() {}

        /**
         * Reads what there is.
         *
         * @param channel of the other side
         * @return whether the frame is whole now
         * @throws EOFException the other side has gone
         * @throws ProtocolException what came is no frame of this version
         * @throws IOException the line is broken
         */
        public boolean read(ReadableByteChannel channel) throws IOException {
            while (missing != 0) {
                int count = channel.read(missing < 0 ? header : room());
                if (count < 0) {
                    throw new EOFException("the other side has gone");
                }
                if (count == 0) {
                    return false;
                }
                if (missing > 0) {
                    content.position(content.position() + count);
                    missing -= count;
                } else if (!header.hasRemaining()) {
                    missing = lengthInHeader();
                }
            }
            return true;
        }

        /** Memory grows with what has come, not with what was promised. */
        private ByteBuffer room() {
            if (!content.hasRemaining()) {
                int capacity = (int) Math.min((long) content.capacity() + missing, 2L * content.capacity() + CHUNK);
                content = ByteBuffer.allocate(capacity).put(content.flip());
            }
            return content.slice(content.position(), Math.min(CHUNK, content.remaining()));
        }

        private int lengthInHeader() throws ProtocolException {
            int length = header.getInt(4);
            if (header.getShort(0) != (short) MAGIC || header.get(2) != VERSION) {
                throw new ProtocolException(String.format("it speaks version %d of something, and not version %d",
                    header.get(2), VERSION));
            }
            if (length < 0 || length > LONGEST) {
                throw new ProtocolException("a frame of " + length + " bytes");
            }
            return length;
        }

        /** @return the kind of the frame, once it is whole */
        public byte kind() {
            return header.get(3);
        }

        /** @return what the frame holds, once it is whole; once */
        public Values content() {
            return Values.of(content.flip());
        }
    }
}
