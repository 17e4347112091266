package com.talvern.test.gx.engine;

import com.talvern.test.gx.sys.NativeLibrary;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.List;
import java.util.Optional;
import java.util.stream.Stream;

/** Where {@code gxrun} is. */
final class Launcher {
    /** System property with the path of {@code gxrun}, which is looked for beside the library unless this is set. */
    static final String PROPERTY = "com.talvern.test.gx.gxrun";

    private Launcher() {}

    /** @return {@code gxrun}, with the jar to use when there is none where it looks */
    static List<String> command() {
        String named = System.getProperty(PROPERTY);
        if (named != null) {
            return List.of(named);
        }
        Optional<Path> directory = NativeLibrary.file().map(Path::getParent);
        Optional<Path> unpacked = directory.flatMap(each -> program(each, "gxrun"));
        if (unpacked.isPresent() && NativeLibrary.classes().isPresent()) {
            return List.of(unpacked.get().toString(), "--jar", NativeLibrary.classes().get().toString());
        }
        return List.of(directory.flatMap(Launcher::ofInstallation).map(Path::toString).orElse("gxrun"));
    }

    /** In a build directory the programs lie in bin, when installed in the bin beside lib/jni or lib/x86_64-linux-gnu/jni. */
    private static Optional<Path> ofInstallation(Path directory) {
        return Stream.of("bin", "../bin", "../../bin", "../../../bin").flatMap(way -> program(directory, way + "/gxrun").stream())
            .findFirst();
    }

    private static Optional<Path> program(Path directory, String way) {
        return Optional.of(directory.resolve(way)).filter(Files::isExecutable);
    }
}
