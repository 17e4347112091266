package com.talvern.test.gx.sys;

import java.io.IOException;
import java.io.RandomAccessFile;
import java.nio.ByteBuffer;
import java.nio.ByteOrder;
import java.nio.charset.StandardCharsets;
import java.nio.file.Path;
import java.util.Optional;

/**
 * The version of a native file, from the ELF note with the name "gxsys" that it is linked with. The file is not loaded for
 * that: what a library of another version does when it is loaded is anybody's guess. Nor is a channel opened: with the first
 * one Java opens a socket that the programs get which an application under test starts (see the descriptors of the agent).
 */
final class VersionNote {
    private static final String NAME = "gxsys\0";
    private static final int MAGIC = 0x464c457f; // "\177ELF"
    private static final int NOTE_SEGMENT = 4;
    private static final int MOST_NOTES = 65536; // bytes

    private VersionNote() {}

    /** @return the version, "" when there is no note; empty for what is no ELF file of this kind of machine or cannot be read */
    static Optional<String> of(Path file) {
        try (RandomAccessFile opened = new RandomAccessFile(file.toFile(), "r")) {
            return Optional.of(find(opened));
        } catch (IOException | RuntimeException e) { // or one that leads beyond its own buffers
            return Optional.empty();
        }
    }

    private static String find(RandomAccessFile file) throws IOException {
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

    private static ByteBuffer part(RandomAccessFile file, long at, int size) throws IOException {
        byte[] bytes = new byte[size];
        file.seek(at);
        file.readFully(bytes);
        return ByteBuffer.wrap(bytes).order(ByteOrder.nativeOrder());
    }
}
