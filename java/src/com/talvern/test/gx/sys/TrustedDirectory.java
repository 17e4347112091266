package com.talvern.test.gx.sys;

import java.io.IOException;
import java.io.UncheckedIOException;
import java.nio.file.FileAlreadyExistsException;
import java.nio.file.Files;
import java.nio.file.LinkOption;
import java.nio.file.Path;
import java.nio.file.StandardCopyOption;
import java.nio.file.attribute.FileAttribute;
import java.nio.file.attribute.PosixFilePermissions;
import java.util.Arrays;
import java.util.Map;

/**
 * Directories that nobody else can change, for files that are going to be executed. They may lie in a directory that all can
 * write to: whoever was there first under that name is found out.
 */
final class TrustedDirectory {
    /** What the names of files end in that are being written. */
    static final String PART = ".part";

    /** This process's user. */
    static final int USER = of(Path.of("/proc/self"), "uid");

    private static final int OWN_MODE = 0700;
    private static final FileAttribute<?> OWN = PosixFilePermissions.asFileAttribute(PosixFilePermissions.fromString("rwx------"));

    private TrustedDirectory() {}

    /**
     * Makes a directory, with those above it that are missing, or takes the one that is there.
     *
     * @throws IOException it cannot be made, or somebody else could change what is in it; says which and why
     */
    static Path make(Path directory) throws IOException {
        try {
            Files.createDirectories(directory.getParent(), OWN);
            Files.createDirectory(directory, OWN);
        } catch (FileAlreadyExistsException e) {
            // Then it must be as it would have been made.
        } catch (IOException e) {
            throw new IOException(directory + " cannot be made (" + e + ")", e);
        }
        Map<String, Object> found = attributes(directory);
        refuse(directory, !(Boolean) found.get("isDirectory"), "is no directory");
        refuse(directory, !found.get("uid").equals(USER), "belongs to user " + found.get("uid") + ", not to " + USER);
        refuse(directory, (mode(found) & 0777) != OWN_MODE, String.format("has mode %o instead of 700", mode(found) & 07777));
        for (Path above = directory.toRealPath().getParent(); above != null; above = above.getParent()) {
            requireTrustworthy(above);
        }
        return directory;
    }

    /** Whoever may rename what is in a directory could put a directory of his in the place of ours. */
    private static void requireTrustworthy(Path directory) throws IOException {
        Map<String, Object> found = attributes(directory);
        int owner = (Integer) found.get("uid");
        // In a user namespace the system's own user has another number: it owns the root directory.
        refuse(directory, owner != USER && owner != 0 && owner != of(Path.of("/"), "uid"), "belongs to user " + owner);
        boolean isSticky = (mode(found) & 01000) != 0;
        refuse(directory, (mode(found) & 022) != 0 && !isSticky, String.format("has mode %o: others can write to it", mode(found) & 07777));
    }

    private static void refuse(Path file, boolean isSo, String what) throws IOException {
        if (isSo) {
            throw new IOException(file + " " + what);
        }
    }

    /** @return whether that very file is there already, safe from others; a link to it is not */
    static boolean holds(Path file, byte[] content) throws IOException {
        if (!Files.isRegularFile(file, LinkOption.NOFOLLOW_LINKS)) {
            return false;
        }
        Map<String, Object> found = attributes(file);
        return found.get("uid").equals(USER) && (mode(found) & 07777) == OWN_MODE && found.get("size").equals((long) content.length)
            && Arrays.equals(Files.readAllBytes(file), content);
    }

    /** Puts a file in the place of whatever was there, whole at once. */
    static void put(Path file, byte[] content) throws IOException {
        Path part = Files.createTempFile(file.getParent(), file.getFileName().toString(), PART, OWN);
        try {
            Files.write(part, content);
            Files.move(part, file, StandardCopyOption.ATOMIC_MOVE);
        } catch (IOException e) {
            throw new IOException(file + " cannot be written (" + e + ")", e);
        } finally {
            Files.deleteIfExists(part);
        }
    }

    private static Map<String, Object> attributes(Path file) throws IOException {
        return Files.readAttributes(file, "unix:uid,mode,size,isDirectory", LinkOption.NOFOLLOW_LINKS);
    }

    private static int mode(Map<String, Object> attributes) {
        return (Integer) attributes.get("mode");
    }

    private static int of(Path file, String attribute) {
        try {
            return (Integer) Files.getAttribute(file, "unix:" + attribute);
        } catch (IOException e) {
            throw new UncheckedIOException(e);
        }
    }
}
