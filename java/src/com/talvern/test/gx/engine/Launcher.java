package com.talvern.test.gx.engine;

import java.io.File;
import java.nio.file.Files;
import java.nio.file.Path;

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
        for (String directory : System.getProperty("java.library.path", "").split(File.pathSeparator)) {
            for (String way : new String[] {"bin", "../bin", "../../bin"}) {
                Path candidate = Path.of(directory, way, "gxrun");
                if (Files.isExecutable(candidate)) {
                    return candidate.toString();
                }
            }
        }
        return "gxrun";
    }
}
