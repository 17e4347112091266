package com.talvern.test.gx.engine;

import com.talvern.test.gx.sys.NativeLibrary;
import java.io.File;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;

/** Where {@code gxrun} is. */
final class Launcher {
    /** System property with the path of {@code gxrun}, which is looked for beside the library unless this is set. */
    static final String PROPERTY = "com.talvern.test.gx.gxrun";

    private Launcher() {}

    static String path() {
        String path = System.getProperty(PROPERTY);
        return path != null ? path : besideLibrary();
    }

    /** In a build directory the programs lie in bin, when installed in the bin beside lib or lib/x86_64-linux-gnu. */
    private static String besideLibrary() {
        for (Path directory : libraryDirectories()) {
            for (String way : new String[] {"bin", "../bin", "../../bin"}) {
                Path candidate = directory.resolve(way).resolve("gxrun");
                if (Files.isExecutable(candidate)) {
                    return candidate.toString();
                }
            }
        }
        return "gxrun";
    }

    /** Absolute: the program may be started in another directory. */
    private static List<Path> libraryDirectories() {
        List<Path> directories = new ArrayList<>();
        String library = System.getProperty(NativeLibrary.PATH_PROPERTY, "");
        if (!library.isEmpty()) {
            directories.add(Path.of(library).toAbsolutePath().getParent());
        }
        Arrays.stream(System.getProperty("java.library.path", "").split(File.pathSeparator))
            .forEach(directory -> directories.add(Path.of(directory).toAbsolutePath()));
        return directories;
    }
}
