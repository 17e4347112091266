package com.talvern.test.gx.sys;

import java.io.File;
import java.net.URISyntaxException;
import java.nio.file.Files;
import java.nio.file.InvalidPathException;
import java.nio.file.Path;
import java.security.CodeSource;
import java.util.Arrays;
import java.util.Optional;

/**
 * Loads the native layer. Every class with native methods calls {@link #load()} in its static initialiser:
 *
 * <pre>{@code
 * public class Extension {
 *     static {
 *         NativeLibrary.load();
 *     }
 * }
 * }</pre>
 *
 * <p>The library opens a connection to the X server of the environment variable {@code DISPLAY} when it is loaded.
 * Without a server it loads all the same: windows are then not found, and input fails. AWT is not touched, so a headless
 * JVM works as well.
 *
 * <p>It is the file that {@link #PATH_PROPERTY} names, else the first {@code libgxsys.so} of {@code java.library.path}, else
 * the one that the jar carries: that of Maven has the native files inside, and they are unpacked into a directory that
 * belongs to the user alone, {@code $XDG_CACHE_HOME/gxsys} ({@code ~/.cache/gxsys}) or, where that cannot be, one below
 * {@code java.io.tmpdir}; {@link #UNPACK_PROPERTY} names another. What lies there already is compared and left as it is.
 * The library has to be of the version of these classes.
 */
public final class NativeLibrary {
    /** System property with the absolute path of the library, for use instead of {@code java.library.path}. */
    public static final String PATH_PROPERTY = "com.talvern.test.gx.library";

    /** System property with the directory for what the jar carries. Made when it is missing; nobody else may write there. */
    public static final String UNPACK_PROPERTY = "com.talvern.test.gx.unpack";

    private static boolean loaded;
    private static Path file;

    private NativeLibrary() {}

    /**
     * Loads the library unless it is loaded already. Any thread.
     *
     * @throws UnsatisfiedLinkError there is no such library, what it needs is missing, it cannot be unpacked, or it is of
     *         another version than these classes; the message says which and what to do
     */
    public static synchronized void load() {
        if (loaded) {
            return;
        }
        Path found = find();
        if (found == null) {
            loadByName();
        } else {
            requireSameVersion(found);
            System.load(found.toString());
        }
        file = found;
        loaded = true;
    }

    /**
     * Loads the library unless it is loaded already, and says where it is. Any thread.
     *
     * @return its absolute path; empty when a class loader has found it in a way of its own
     * @throws UnsatisfiedLinkError as {@link #load()}
     */
    public static synchronized Optional<Path> file() {
        load();
        return Optional.ofNullable(file);
    }

    /** @return the jar or directory that these classes come from; empty when that is no file */
    public static Optional<Path> classes() {
        CodeSource source = NativeLibrary.class.getProtectionDomain().getCodeSource();
        try {
            return source == null ? Optional.empty() : Optional.of(Path.of(source.getLocation().toURI()));
        } catch (URISyntaxException | RuntimeException e) { // a jar inside of a jar, for which there is no file system
            return Optional.empty();
        }
    }

    /**
     * Prints the version and the files that are used: {@code java -cp gxsys.jar com.talvern.test.gx.sys.NativeLibrary}.
     *
     * @param arguments none
     */
    public static void main(String[] arguments) {
        try {
            System.out.println("gxsys " + BuildVersion.TEXT + ": " + describeClasses() + ", "
                + file().map(Path::toString).orElse("libgxsys.so"));
        } catch (UnsatisfiedLinkError e) {
            System.err.println("gxsys " + BuildVersion.TEXT + ": " + e.getMessage());
            System.exit(1);
        }
    }

    private static Path find() {
        String named = System.getProperty(PATH_PROPERTY, "");
        if (!named.isEmpty()) {
            return Path.of(named);
        }
        return inLibraryPath().or(CarriedFiles::unpackLibrary).orElse(null);
    }

    private static Optional<Path> inLibraryPath() {
        String directories = System.getProperty("java.library.path", "");
        return directories.isEmpty() ? Optional.empty() // to the JVM, too: an empty part is the working directory, nothing is not
            : Arrays.stream(directories.split(File.pathSeparator, -1)).map(NativeLibrary::libraryIn)
                .filter(each -> each != null && Files.exists(each)).findFirst();
    }

    private static Path libraryIn(String directory) {
        try {
            return Path.of(directory).resolve("libgxsys.so").toAbsolutePath();
        } catch (InvalidPathException e) {
            return null;
        }
    }

    /** Finds what a class loader provides, else fails. */
    private static void loadByName() {
        try {
            System.loadLibrary("gxsys");
        } catch (UnsatisfiedLinkError e) {
            throw new UnsatisfiedLinkError(e.getMessage() + ", and " + describeClasses() + " carries none for "
                + System.getProperty("os.arch") + ": install the package gxsys, give java -Djava.library.path=DIR with the directory"
                + " of libgxsys.so, or use the jar of Maven, which carries it");
        }
    }

    private static void requireSameVersion(Path library) {
        String version = VersionNote.of(library).orElse(BuildVersion.TEXT); // no library at all: System.load says what it is
        if (!version.equals(BuildVersion.TEXT)) {
            throw new UnsatisfiedLinkError(library + " is of " + (version.isEmpty() ? "no version" : "version " + version) + ", "
                + describeClasses() + " of version " + BuildVersion.TEXT + ": use both of one version"
                + (CarriedFiles.exist() ? ", or the library that the jar carries (java -Djava.library.path= without a directory)" : ""));
        }
    }

    private static String describeClasses() {
        return classes().map(Path::toString).orElse("gxsys.jar");
    }
}
