package com.talvern.test.gx.sys;

import java.io.IOException;
import java.io.InputStream;
import java.io.UncheckedIOException;
import java.nio.file.DirectoryStream;
import java.nio.file.Files;
import java.nio.file.NoSuchFileException;
import java.nio.file.Path;
import java.security.MessageDigest;
import java.security.NoSuchAlgorithmException;
import java.time.Duration;
import java.time.Instant;
import java.util.ArrayList;
import java.util.HexFormat;
import java.util.LinkedHashMap;
import java.util.List;
import java.util.Map;
import java.util.Optional;

/**
 * The native files that the jar of Maven carries, and where they are unpacked: side by side, in a directory whose name has the
 * version and a hash of them, so that jars of one version that differ do not take turns in replacing each other's.
 *
 * <p>Each file is written under another name and renamed. Processes that unpack at the same time put the same bytes in place
 * of each other's; one that is killed leaves a part that nobody looks at, and that the next one removes.
 */
final class CarriedFiles {
    private static final String[] NAMES = {"libgxsys.so", "libgxagent.so", "gxrun"};
    private static final Duration LONGEST_WRITE = Duration.ofMinutes(1);

    private CarriedFiles() {}

    private static String place(String name) {
        return "natives/" + System.getProperty("os.arch") + "/" + name;
    }

    /** @return whether the jar has them for this kind of machine */
    static boolean exist() {
        return CarriedFiles.class.getResource(place(NAMES[0])) != null;
    }

    /**
     * @return the library, verified; empty when the jar carries none
     * @throws UnsatisfiedLinkError there is no directory to have it in
     */
    static Optional<Path> unpackLibrary() {
        return exist() ? Optional.of(unpack(read()).resolve(NAMES[0])) : Optional.empty();
    }

    private static Map<String, byte[]> read() {
        Map<String, byte[]> files = new LinkedHashMap<>();
        for (String name : NAMES) {
            try (InputStream stream = CarriedFiles.class.getResourceAsStream(place(name))) {
                files.put(name, stream.readAllBytes());
            } catch (IOException e) {
                throw new UncheckedIOException("reading " + name + " from the jar", e);
            }
        }
        return files;
    }

    private static Path unpack(Map<String, byte[]> files) {
        List<String> refusals = new ArrayList<>();
        for (Path base : bases()) {
            try {
                return unpackInto(base, files);
            } catch (IOException e) {
                refusals.add(e.getClass() == IOException.class ? e.getMessage() : e.toString());
            }
        }
        throw new UnsatisfiedLinkError("no directory to unpack " + NAMES[0] + " into (" + String.join("; ", refusals)
            + "): name one of your own, on a file system that programs may be started from, with -D" + NativeLibrary.UNPACK_PROPERTY
            + "=DIR, or install the package gxsys");
    }

    /** Best first. The home is that of the environment: sessions have one that goes with them. */
    private static List<Path> bases() {
        String named = System.getProperty(NativeLibrary.UNPACK_PROPERTY, "");
        if (!named.isEmpty()) {
            return List.of(Path.of(named).toAbsolutePath());
        }
        String cache = System.getenv().getOrDefault("XDG_CACHE_HOME", "");
        String home = System.getenv().getOrDefault("HOME", System.getProperty("user.home"));
        Path own = cache.startsWith("/") ? Path.of(cache) : Path.of(home, ".cache").toAbsolutePath();
        return List.of(own.resolve("gxsys"), Path.of(System.getProperty("java.io.tmpdir"), "gxsys-" + TrustedDirectory.USER).toAbsolutePath());
    }

    private static Path unpackInto(Path base, Map<String, byte[]> files) throws IOException {
        Path directory = TrustedDirectory.make(TrustedDirectory.make(base).resolve(BuildVersion.TEXT + "-" + hash(files)));
        if (directory.toString().matches(".*[: ].*")) {
            throw new IOException(directory + " has a blank or colon in its path, and could not be preloaded");
        }
        for (Map.Entry<String, byte[]> file : files.entrySet()) {
            if (!TrustedDirectory.holds(directory.resolve(file.getKey()), file.getValue())) {
                TrustedDirectory.put(directory.resolve(file.getKey()), file.getValue());
            }
        }
        removeParts(directory);
        if (!Files.isExecutable(directory.resolve(NAMES[2]))) {
            throw new IOException(directory + " is on a file system that programs must not be started from (noexec)");
        }
        return directory;
    }

    private static String hash(Map<String, byte[]> files) {
        try {
            MessageDigest digest = MessageDigest.getInstance("SHA-256");
            files.values().forEach(digest::update);
            return HexFormat.of().formatHex(digest.digest(), 0, 6);
        } catch (NoSuchAlgorithmException e) {
            throw new IllegalStateException(e); // every Java has it
        }
    }

    /** Those of processes that were killed; a living one has them for less than a second. */
    private static void removeParts(Path directory) throws IOException {
        try (DirectoryStream<Path> parts = Files.newDirectoryStream(directory, "*" + TrustedDirectory.PART)) {
            for (Path part : parts) {
                if (isOld(part)) {
                    Files.deleteIfExists(part);
                }
            }
        }
    }

    private static boolean isOld(Path part) throws IOException {
        try {
            return Files.getLastModifiedTime(part).toInstant().isBefore(Instant.now().minus(LONGEST_WRITE));
        } catch (NoSuchFileException e) { // its process has just renamed it
            return false;
        }
    }
}
