package com.talvern.test.gx.inspect;

import com.talvern.test.gx.engine.AppWindow;
import com.talvern.test.gx.engine.Application;
import com.talvern.test.gx.engine.Query;
import com.talvern.test.gx.engine.Role;
import com.talvern.test.gx.engine.Widget;
import com.talvern.test.gx.engine.WidgetQuery;
import com.talvern.test.gx.engine.WidgetView;
import java.lang.reflect.InvocationTargetException;
import java.lang.reflect.Method;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;
import java.util.Map;
import java.util.Set;
import java.util.regex.Pattern;
import java.util.stream.Stream;

/**
 * A line of Java that asks for widgets, as {@link Widget#path} gives it, out of a few methods that ask and change nothing. A
 * text that is no call means everything that is called so.
 */
final class Line {
    // line  = [ "application" "." ] call { "." call } [ ";" ] | text
    // call  = name "(" [ value { "," value } ] ")"
    // value = string | number | "Pattern.compile(" string [ "," number ] ")" | "Query." call { "." call } | "Role." name

    private static final Set<String> SCOPE = Set.of("button", "toggle", "field", "label", "list", "table", "comboBox",
        "optionMenu", "slider", "tab", "find");
    /** What may be called, and no more: the line comes from outside. */
    private static final Map<Class<?>, Set<String>> CALLABLE = Map.of(
        Application.class, with("awaitWindow", "awaitDialog", "windows"), AppWindow.class, SCOPE,
        Widget.class, with("at", "cell", "header"), List.class, Set.of("get"),
        Query.class, Set.of("role", "any", "name"), // a query begins with these, and goes on with the next
        WidgetQuery.class, Set.of("role", "name", "named", "text", "label", "called", "at", "in"));

    /** What was typed is no line that can be asked. */
    static final class Unclear extends Exception {
        private static final long serialVersionUID = 1L;

        Unclear(String message) {
            super(message);
        }
    }

    /** The parts of a line, and where one is in it. */
    private static final class Scanner {
        private final String text;
        private int at;

        Scanner(String text) {
            this.text = text;
        }

        private void skipBlanks() {
            while (at < text.length() && Character.isWhitespace(text.charAt(at))) {
                ++at;
            }
        }

        boolean takes(String part) {
            skipBlanks();
            boolean isThere = text.startsWith(part, at);
            at += isThere ? part.length() : 0;
            return isThere;
        }

        void expect(String part) throws Unclear {
            if (!takes(part)) {
                throw unclear("\"" + part + "\" is missing");
            }
        }

        boolean isAtEnd() {
            skipBlanks();
            return at == text.length();
        }

        String name() throws Unclear {
            skipBlanks();
            int start = at;
            while (at < text.length() && Character.isJavaIdentifierPart(text.charAt(at))) {
                ++at;
            }
            if (start == at) {
                throw unclear("a name is missing");
            }
            return text.substring(start, at);
        }

        char next() throws Unclear {
            if (at == text.length()) {
                throw unclear("the text has no end");
            }
            return text.charAt(at++);
        }

        Unclear unclear(String what) {
            return new Unclear(what + " at " + (at == text.length() ? "the end" : "\"" + text.substring(at) + "\""));
        }
    }

    private final Application application;
    private final Scanner in;

    private Line(Application application, String line) {
        this.application = application;
        this.in = new Scanner(line);
    }

    /**
     * Asks.
     *
     * @param application is to have no patience
     * @return what the line finds now
     * @throws Unclear the line cannot be understood
     * @throws RuntimeException as the methods in it throw
     */
    static Found ask(Application application, String line) throws Unclear {
        String stripped = line.strip();
        if (!stripped.isEmpty() && !stripped.startsWith("\"") && !stripped.contains("(")) {
            return found(application.find(Query.any().called(stripped)));
        }
        return new Line(application, stripped).ask();
    }

    /**
     * What a line has found.
     *
     * @param path the line, as Java has it
     * @param views what it finds
     */
    record Found(String path, List<WidgetView> views) {}

    private Found ask() throws Unclear {
        if (in.text.startsWith("\"")) {
            return found(application.find(Query.any().called(string())));
        }
        if (in.takes("application")) {
            in.expect(".");
        }
        Object answer = chain(application);
        in.takes(";");
        if (!in.isAtEnd()) {
            throw in.unclear("this cannot be understood:");
        }
        return found(answer);
    }

    private static Found found(Object answer) throws Unclear {
        if (answer instanceof Widget widget) {
            return new Found(widget.path(), widget.views());
        }
        if (answer instanceof AppWindow window) {
            return new Found(window.path(), List.of(window.tree()));
        }
        throw new Unclear("that asks for no widget");
    }

    private Object chain(Object first) throws Unclear {
        Object value = first;
        do {
            value = call(value instanceof List ? List.class : value.getClass(), value);
        } while (in.takes("."));
        return value;
    }

    private Object call(Class<?> type, Object target) throws Unclear {
        String name = in.name();
        if (!CALLABLE.getOrDefault(type, Set.of()).contains(name)) {
            throw new Unclear("\"" + name + "\" asks for nothing here; there is: "
                + String.join(", ", CALLABLE.getOrDefault(type, Set.of()).stream().sorted().toList()));
        }
        return call(type, target, name, values());
    }

    private List<Object> values() throws Unclear {
        List<Object> values = new ArrayList<>();
        in.expect("(");
        while (!in.takes(")")) {
            if (!values.isEmpty()) {
                in.expect(",");
            }
            values.add(value());
        }
        return values;
    }

    private Object value() throws Unclear {
        if (in.takes("Pattern.compile")) {
            return pattern(values());
        }
        if (in.takes("Query.")) {
            Object query = call(Query.class, null);
            return in.takes(".") ? chain(query) : query;
        }
        if (in.takes("Role.")) {
            return role(in.name());
        }
        in.skipBlanks();
        return in.at < in.text.length() && in.text.charAt(in.at) == '"' ? string() : number();
    }

    private static Object role(String name) throws Unclear {
        return Arrays.stream(Role.values()).filter(role -> role.name().equals(name)).findFirst()
            .orElseThrow(() -> new Unclear("there is no role " + name + "; there is: "
                + Arrays.stream(Role.values()).map(Role::name).toList()));
    }

    private static Pattern pattern(List<Object> values) throws Unclear {
        try {
            if (values.size() == 1 && values.get(0) instanceof String text) {
                return Pattern.compile(text);
            }
            if (values.size() == 2 && values.get(0) instanceof String text && values.get(1) instanceof Integer flags) {
                return Pattern.compile(text, flags);
            }
        } catch (IllegalArgumentException | StackOverflowError wrong) {
            throw new Unclear("the pattern is wrong: " + wrong.getMessage());
        }
        throw new Unclear("Pattern.compile takes a text, and perhaps a number");
    }

    private Integer number() throws Unclear {
        String digits = in.name();
        try {
            return Integer.valueOf(digits);
        } catch (NumberFormatException none) {
            throw new Unclear("a text in quotes or a number is missing at \"" + digits + "\"");
        }
    }

    private String string() throws Unclear {
        in.expect("\"");
        StringBuilder text = new StringBuilder();
        for (char next = in.next(); next != '"'; next = in.next()) {
            text.append(next);
            if (next == '\\') {
                text.append(in.next());
            }
        }
        try {
            return text.toString().translateEscapes();
        } catch (IllegalArgumentException wrong) {
            throw new Unclear("the text has an escape that is none: " + wrong.getMessage());
        }
    }

    private static Object call(Class<?> type, Object target, String name, List<Object> values) throws Unclear {
        if (name.equals("role") && !values.isEmpty() && values.stream().allMatch(Role.class::isInstance)) {
            Role role = (Role) values.get(0);
            Role[] others = values.stream().skip(1).toArray(Role[]::new);
            return target instanceof WidgetQuery query ? query.role(role, others) : Query.role(role, others);
        }
        Method method = Arrays.stream(type.getMethods()).filter(each -> each.getName().equals(name)
            && fits(each.getParameterTypes(), values)).findFirst()
            .orElseThrow(() -> new Unclear("\"" + name + "\" does not take that"));
        try {
            return method.invoke(target, values.toArray());
        } catch (InvocationTargetException thrown) {
            if (thrown.getCause() instanceof RuntimeException cause) {
                throw cause;
            }
            throw new IllegalStateException(thrown.getCause());
        } catch (IllegalAccessException impossible) {
            throw new IllegalStateException(impossible);
        }
    }

    private static boolean fits(Class<?>[] types, List<Object> values) {
        if (types.length != values.size()) {
            return false;
        }
        for (int index = 0; index < types.length; ++index) {
            Class<?> type = types[index] == int.class ? Integer.class : types[index];
            if (!type.isInstance(values.get(index))) {
                return false;
            }
        }
        return true;
    }

    private static Set<String> with(String... more) {
        return Set.copyOf(Stream.concat(SCOPE.stream(), Arrays.stream(more)).toList());
    }
}
