import static org.junit.jupiter.api.Assertions.assertEquals;

import java.io.IOException;
import java.io.UncheckedIOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.LinkedHashMap;
import java.util.List;
import java.util.Map;
import java.util.regex.Matcher;
import java.util.regex.Pattern;
import java.util.stream.Collectors;
import java.util.stream.Stream;
import javax.tools.ToolProvider;

/**
 * The Java examples of the README, of the pages in doc and of the Javadoc. One that has a class is a program as it stands;
 * statements get a class around them, with imports. An example is named after its class, else after the file that it
 * stands in, the second one there with a 2. A comment behind a {@code println} is what that prints.
 */
final class Examples {
    /** Those that work inside of an application only, on its GUI thread. */
    static final List<String> INSIDE = List.of("GuiThread", "ThreadChannel", "Menu", "ListBox");

    private static final String IMPORTS = Stream.of("application", "domain", "engine", "sys", "sys.graphical", "ui")
            .map(each -> "import com.talvern.test.gx." + each + ".*;\n").collect(Collectors.joining())
            + "import java.awt.Point;\nimport java.awt.Rectangle;\nimport java.io.*;\nimport java.time.Duration;\n";
    private static final String JUNIT_IMPORTS = "import com.talvern.test.gx.junit.*;\nimport org.junit.jupiter.api.*;\n"
            + "import static org.junit.jupiter.api.Assertions.*;\n";
    private static final Pattern IN_PAGE = Pattern.compile("```java\n(.*?)```", Pattern.DOTALL);
    private static final Pattern IN_JAVADOC = Pattern.compile("<pre>\\{@code\n(.*?)\n +\\* }</pre>", Pattern.DOTALL);
    private static final Pattern CLASS = Pattern.compile("public class (\\w+)");
    private static final Pattern PRINTED = Pattern.compile("println\\(.*\\); *// (.+)");

    final Map<String, String> all = new LinkedHashMap<>();

    Examples(Path source) throws IOException {
        for (String root : new String[] {"README.md", "doc", "java/src"}) {
            try (Stream<Path> files = Files.walk(source.resolve(root))) {
                files.filter(each -> each.toString().matches(".*\\.(md|java)")).sorted().forEach(this::take);
            }
        }
    }

    private void take(Path file) {
        String name = file.getFileName().toString();
        String stem = name.substring(0, name.indexOf('.')).replace("-", "");
        Matcher found = (name.endsWith(".md") ? IN_PAGE : IN_JAVADOC).matcher(textOf(file));
        int count = 0;
        while (found.find()) {
            String code = name.endsWith(".md") ? found.group(1) : found.group(1).replaceAll("(?m)^ +\\* ?", "");
            Matcher type = CLASS.matcher(code);
            all.put(type.find() ? type.group(1) : stem + (++count > 1 ? count : ""), code);
        }
        long marked = Pattern.compile("<pre>|\\{@snippet|```java").matcher(textOf(file)).results().count();
        assertEquals(marked, found.reset().results().count(), "examples in another form in " + file);
    }

    private static String textOf(Path file) {
        try {
            return Files.readString(file);
        } catch (IOException e) {
            throw new UncheckedIOException(e);
        }
    }

    /** Whether it is a class of tests. */
    boolean isTest(String name) {
        return all.get(name).contains("@GxTest");
    }

    /** What the example says that it prints. */
    List<String> printedBy(String name) {
        return PRINTED.matcher(all.get(name)).results().map(each -> each.group(1)).toList();
    }

    /** Compiles them into a folder, those of {@link #INSIDE} as one service, which writes into the file GX_EXAMPLES. */
    void compile(Path folder) throws IOException {
        List<String> command = new ArrayList<>(
                List.of("-encoding", "UTF-8", "-d", folder.toString(), "-cp", System.getProperty("java.class.path"), "-proc:none"));
        StringBuilder inside = new StringBuilder();
        for (Map.Entry<String, String> example : all.entrySet()) {
            String name = example.getKey();
            String code = example.getValue();
            if (INSIDE.contains(name)) {
                inside.append("{\n").append(code).append("\n}\n");
            } else if (code.contains("public class ")) {
                command.add(write(folder, code.startsWith("import") ? code
                        : IMPORTS + (isTest(name) ? JUNIT_IMPORTS : "") + code));
            } else {
                command.add(write(folder, IMPORTS + "public class " + name + "Example {\n"
                        + "public static void main(String[] args) throws Exception {\n" + code + "\n}\n}\n"));
            }
        }
        command.add(write(folder, IMPORTS + "public class InsideExample implements ApplicationService {\n"
                + "public void stop() {}\npublic void start(GuiThread gui) throws Exception {\n"
                + "System.setOut(new PrintStream(System.getenv(\"GX_EXAMPLES\")));\n"
                + "java.lang.reflect.Field field = GuiThread.class.getDeclaredField(\"channel\");\n"
                + "field.setAccessible(true);\nThreadChannel channel = (ThreadChannel) field.get(gui);\n"
                + inside + "channel.post(() -> System.out.println(\"done\"));\n}\n}\n"));
        assertEquals(0, ToolProvider.getSystemJavaCompiler().run(null, System.out, System.err,
                command.toArray(String[]::new)), "an example does not compile");
    }

    /** Under the name of the class that it is. */
    private static String write(Path folder, String code) throws IOException {
        String name = CLASS.matcher(code).results().findFirst().orElseThrow().group(1);
        return Files.writeString(folder.resolve(name + ".java"), code).toString();
    }
}
