package com.talvern.test.gx.sys;

import java.io.IOException;
import java.nio.ByteBuffer;
import java.nio.ByteOrder;
import java.nio.channels.SeekableByteChannel;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.Optional;

/**
 * The version of a native file, from the ELF note with the name "gxsys" that it is linked with. The file is not loaded for
 * that: what a library of another version does when it is loaded is anybody's guess.
 */
final class VersionNote {
    private static final String NAME = "gxsys\0";
    private static final int MAGIC = 0x464c457f; // "\177ELF"
    private static final int NOTE_SEGMENT = 4;
    private static final int MOST_NOTES = 65536; // bytes

    private VersionNote() {}

    /** @return the version, "" when there is no note; empty for what is no ELF file of this kind of machine or cannot be read */
    static Optional<String> of(Path file) {
        try (SeekableByteChannel channel = Files.newByteChannel(file)) {
            return Optional.of(find(channel));
        } catch (IOException | RuntimeException e) { // a file cut short makes buffers underflow
            return Optional.empty();
        }
    }

    private static String find(SeekableByteChannel file) throws IOException {
        ByteBuffer header = part(file, 0, 64);
        if (header.getInt(0) != MAGIC) {
            throw new IOException("not an ELF file");
        }
        int size = Short.toUnsignedInt(header.getShort(54));
        ByteBuffer segments = part(file, header.getLong(32), size * Short.toUnsignedInt(header.getShort(56)));
        String version = "";
        for (int at = 0; at < segments.limit() && version.isEmpty(); at += size) {
            if (segments.getInt(at) == NOTE_SEGMENT) {
                version = among(part(file, segments.getLong(at + 8), (int) Math.min(segments.getLong(at + 32), MOST_NOTES)));
            }
        }
        return version;
    }

    /** A note: the lengths of name and content, a type, name and content, each padded to four bytes. */
    private static String among(ByteBuffer notes) {
        while (notes.remaining() >= 12) {
            int nameSize = notes.getInt();
            int contentSize = notes.getInt();
            notes.getInt();
            String name = text(notes, nameSize);
            String content = text(notes, contentSize);
            if (name.equals(NAME)) {
                return content.replaceFirst("\0+$", "");
            }
        }
        return "";
    }

    private static String text(ByteBuffer notes, int size) {
        String text = StandardCharsets.ISO_8859_1.decode(notes.slice(notes.position(), size)).toString();
        notes.position(Math.min(notes.limit(), notes.position() + (size + 3 & ~3)));
        return text;
    }

    private static ByteBuffer part(SeekableByteChannel file, long at, int size) throws IOException {
        ByteBuffer bytes = ByteBuffer.allocate(size).order(ByteOrder.nativeOrder());
        file.position(at);
        while (bytes.hasRemaining() && file.read(bytes) >= 0) {
            continue;
        }
        return bytes.flip();
    }
}
