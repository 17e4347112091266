package com.talvern.test.gx.cli;

import com.talvern.test.gx.engine.AppWindow;
import com.talvern.test.gx.engine.Application;
import com.talvern.test.gx.engine.ApplicationException;
import com.talvern.test.gx.engine.Complaint;
import com.talvern.test.gx.engine.MenuView;
import com.talvern.test.gx.engine.Query;
import com.talvern.test.gx.engine.Role;
import com.talvern.test.gx.engine.Wait;
import com.talvern.test.gx.engine.Widget;
import com.talvern.test.gx.engine.WidgetView;
import com.talvern.test.gx.protocol.AgentAddress;
import com.talvern.test.gx.util.Json;
import java.io.FileDescriptor;
import java.io.FileOutputStream;
import java.io.IOException;
import java.io.PrintStream;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.time.Duration;
import java.util.ArrayList;
import java.util.HashMap;
import java.util.List;
import java.util.Map;
import java.util.concurrent.locks.LockSupport;
import java.util.stream.Stream;

/**
 * What {@code gx} asks of the engine. It has read the command line, found the process and the window, and passes on: the
 * command, options as {@code --name=value}, {@code --}, arguments. No interface for anybody else.
 */
public final class Main {
    private static final int NOT_SO = 1;
    private static final Duration AGENT_STARTS = Duration.ofSeconds(10);
    private static final Duration POLL = Duration.ofMillis(20);
    private static final Duration QUIET = Duration.ofMillis(250);
    private static final Role[] CLICKED = {Role.TOGGLE, Role.TOOL_ITEM, Role.CHECK_BOX, Role.RADIO_BUTTON, Role.TAB};

    private final String command;
    private final Map<String, String> options = new HashMap<>();
    private final List<String> arguments = new ArrayList<>();

    private Main(String... words) {
        command = words[0];
        int at = 1;
        for (; !words[at].equals("--"); ++at) {
            String[] parts = words[at].substring(2).split("=", 2);
            options.put(parts[0], parts[1]);
        }
        arguments.addAll(List.of(words).subList(at + 1, words.length));
    }

    /** @param words as gx passes them on */
    public static void main(String... words) {
        Main main = new Main(words);
        int status;
        try {
            status = main.run();
        } catch (RuntimeException failure) {
            System.err.println("gx " + main.command + ": "
                + (failure.getMessage() == null ? failure.toString() : failure.getMessage()));
            status = NOT_SO;
        }
        System.out.flush();
        System.exit(status);
    }

    private int run() {
        return switch (command) {
            case "tree" -> tree();
            case "menu" -> menu();
            case "click" -> click();
            case "wait" -> waitUntilIdle();
            default -> throw new IllegalArgumentException(Complaint.of("no command " + command, "the engine has none", "gx and gxsys.jar are of different versions: install gxsys whole"));
        };
    }

    private long pid() {
        return Long.parseLong(options.get("pid"));
    }

    private Duration limit(String otherwise) {
        return Duration.ofMillis((long) (Double.parseDouble(options.getOrDefault("limit", otherwise)) * 1000));
    }

    /** A program shows its first window while the agent in it still starts Java. */
    private Application application() {
        long end = System.nanoTime() + AGENT_STARTS.toNanos();
        while (hasAgent() && !listens() && System.nanoTime() - end < 0) {
            LockSupport.parkNanos(POLL.toNanos());
        }
        return Application.attach(pid());
    }

    private boolean listens() {
        try {
            return AgentAddress.of(options.get("pid")).places().stream().anyMatch(Files::exists);
        } catch (IOException noSuchProcess) {
            return true; // whoever asks it says so
        }
    }

    /** Whether there is something in it that will answer. */
    private boolean hasAgent() {
        try {
            return Files.readString(Path.of("/proc", options.get("pid"), "maps"), StandardCharsets.ISO_8859_1).contains("/libgxagent.so");
        } catch (IOException notForUs) {
            return false;
        }
    }

    /** The window that was named. */
    private AppWindow window(Application application) {
        long id = Long.parseLong(options.get("xwindow"));
        return application.windows().stream().filter(each -> each.window() == id).findFirst()
            .orElseThrow(() -> new ApplicationMismatch(Complaint.of("no widgets of window 0x" + Long.toHexString(id),
                "process " + pid() + ", which shows it, knows it not; it knows "
                    + application.windows().stream().map(AppWindow::caption).toList(), "gx tree " + pid() + " shows all")));
    }

    /** The window may have gone meanwhile, or be one that the program's toolkit knows nothing of. */
    private static final class ApplicationMismatch extends RuntimeException {
        private static final long serialVersionUID = 1L;

        ApplicationMismatch(String message) {
            super(message);
        }
    }

    private void answer(String text) {
        if (options.containsKey("json")) {
            PrintStream out = new PrintStream(new FileOutputStream(FileDescriptor.out), false, StandardCharsets.UTF_8);
            out.println(text);
            out.flush();
        } else {
            System.out.println(text);
        }
    }

    private int tree() {
        Application application = application();
        WidgetView tree = options.containsKey("xwindow") ? window(application).tree() : application.tree();
        answer(options.containsKey("json") ? Json.of(Members.of(tree)) : tree.toString().stripTrailing());
        return 0;
    }

    private int menu() {
        Application application = application();
        application.setTimeout(limit("10"));
        String[] path = arguments.toArray(String[]::new);
        boolean looks = options.containsKey("look") || options.containsKey("json");
        if (!looks) {
            if (options.containsKey("xwindow")) {
                window(application).choose(path);
            } else {
                application.choose(path);
            }
            return 0;
        }
        MenuView.Item item = options.containsKey("xwindow") ? window(application).menuItem(path) : application.menuItem(path);
        String checked = item.checked() == null ? "" : item.checked() ? ", checked" : ", unchecked";
        answer(options.containsKey("json") ? Json.of(Members.of(item)) : (item.enabled() ? "enabled" : "disabled") + checked);
        return item.enabled() ? 0 : NOT_SO;
    }

    /** Of what says the text, what reacts to clicks goes before labels and the like. */
    private int click() {
        Duration limit = limit("5");
        Application application = application();
        application.setPatience(limit);
        AppWindow window = window(application);
        String text = options.get("text");
        Widget reacting = window.find(Query.role(Role.PUSH_BUTTON, CLICKED).called(text));
        Widget target = Stream.of(reacting, window.find(Query.any().text(text))).filter(Widget::exists).findFirst().orElse(reacting);
        boolean isRight = options.getOrDefault("button", "left").equals("right");
        if (isRight) {
            target.rightClick();
        } else if (options.getOrDefault("count", "1").equals("2")) {
            target.doubleClick();
        } else {
            target.click();
        }
        return 0;
    }

    private int waitUntilIdle() {
        try {
            application().awaitIdle(QUIET, limit("10"));
        } catch (ApplicationException.NoAgent lessIsKnown) {
            Wait.untilIdle(ProcessHandle.of(pid()).orElseThrow(), QUIET, limit("10"));
        }
        return 0;
    }
}
