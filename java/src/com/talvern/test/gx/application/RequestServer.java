package com.talvern.test.gx.application;

import com.talvern.test.gx.protocol.AgentAddress;
import com.talvern.test.gx.protocol.FileDialogValues;
import com.talvern.test.gx.protocol.Frame;
import com.talvern.test.gx.protocol.ListValues;
import com.talvern.test.gx.protocol.MenuValues;
import com.talvern.test.gx.protocol.Operation;
import com.talvern.test.gx.protocol.RowQuery;
import com.talvern.test.gx.protocol.RowValues;
import com.talvern.test.gx.protocol.Values;
import java.awt.Point;
import java.io.IOException;
import java.net.StandardProtocolFamily;
import java.net.UnixDomainSocketAddress;
import java.nio.ByteBuffer;
import java.nio.channels.ClosedChannelException;
import java.nio.channels.ServerSocketChannel;
import java.nio.channels.SocketChannel;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.StandardCopyOption;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;
import java.util.Optional;
import java.util.Set;
import java.util.concurrent.Callable;
import java.util.concurrent.CancellationException;
import java.util.concurrent.ConcurrentHashMap;
import java.util.concurrent.ExecutionException;
import java.util.concurrent.TimeUnit;
import java.util.concurrent.TimeoutException;
import java.util.concurrent.locks.LockSupport;
import java.util.function.BiConsumer;
import java.util.function.Consumer;
import java.util.function.Function;
import java.util.function.Predicate;
import java.util.stream.IntStream;

/**
 * Answers the engine's questions about this application's widgets: takes them at a socket that only its own user and
 * root can ask at, looks on the GUI thread, and sends what it saw.
 */
public final class RequestServer implements ApplicationService {
    /** Engines, and threads of engines, that come at the same moment. */
    private static final int BACKLOG = 128;
    private static final long POLL_NS = 500_000;
    /** Longer than the toolkit's timers take that look whether there is nothing left to do. */
    private static final long KNOCK_NS = 12_000_000;
    /** Few enough to be read without a user noticing. */
    private static final int ROWS_AT_ONCE = 1000;
    /** More than anybody looks through. */
    private static final int MOST_ROWS = 100_000;
    private static final int MOST_FOUND = 1000;

    private final Set<SocketChannel> lines = ConcurrentHashMap.newKeySet();
    private AgentAddress address;
    private Path place;
    private ServerSocketChannel door;

    /** Made by the service loader. */
    public RequestServer() {}

    @Override
    public void start(GuiThread gui) throws IOException {
        address = AgentAddress.of("self");
        place = address.prepare();
        address.sweep();
        door = listen(place);
        daemon("gx-requests", () -> admit(gui));
    }

    /** The socket has its name only once it answers, so that one that does not is nobody's any more. */
    private static ServerSocketChannel listen(Path place) throws IOException {
        Path draft = AgentAddress.draftOf(place);
        Files.deleteIfExists(draft);
        ServerSocketChannel door = ServerSocketChannel.open(StandardProtocolFamily.UNIX);
        try {
            door.bind(UnixDomainSocketAddress.of(draft), BACKLOG);
            Descriptors.closeOnExec(draft.toString());
            Descriptors.closeOwnOnExec(); // nothing reaches a child once an engine finds the way in
            Files.move(draft, place, StandardCopyOption.ATOMIC_MOVE); // over that of a process with the same id
            return door;
        } catch (IOException | LinkageError failure) {
            door.close();
            Files.deleteIfExists(draft);
            throw failure;
        }
    }

    @Override
    public void stop() {
        try {
            Files.deleteIfExists(place);
            door.close();
            for (SocketChannel line : lines) {
                line.close();
            }
        } catch (IOException gone) {
            // the process ends, and with it the rest
        }
    }

    private static void daemon(String name, Runnable work) {
        Thread thread = new Thread(work, name);
        thread.setDaemon(true);
        thread.start();
    }

    private void admit(GuiThread gui) {
        while (door.isOpen()) {
            try {
                SocketChannel line = door.accept();
                Descriptors.closeOnExec(AgentAddress.draftOf(place).toString());
                daemon("gx-line", () -> serve(line, gui));
            } catch (ClosedChannelException stopped) {
                return;
            } catch (IOException noRoom) {
                LockSupport.parkNanos(TimeUnit.MILLISECONDS.toNanos(100)); // the program may be out of descriptors
            }
        }
    }

    private void serve(SocketChannel line, GuiThread gui) {
        lines.add(line);
        try (line) {
            boolean isOpen = address.isUsedBy(line);
            while (isOpen) {
                isOpen = serveNext(line, gui);
            }
        } catch (IOException gone) {
            // the engine has hung up, or given up
        } finally {
            lines.remove(line);
        }
    }

    /** @return whether the line is of further use */
    private static boolean serveNext(SocketChannel line, GuiThread gui) throws IOException {
        Frame.Reader question = new Frame.Reader();
        try {
            question.read(line);
            send(line, Frame.of(Frame.ANSWER, answer(gui, question.content())));
            return true;
        } catch (Frame.ProtocolException foreign) {
            send(line, failure(foreign));
            return false;
        } catch (IOException gone) {
            throw gone;
        } catch (TimeoutException | CancellationException noAnswer) {
            return false; // the engine notices by itself that its time is over, or that the application ends
        } catch (Exception | LinkageError | VirtualMachineError failure) { // memory may just not do for this answer
            send(line, failure(failure));
            return true;
        }
    }

    private static ByteBuffer failure(Throwable failure) throws IOException {
        return Frame.of(Frame.FAILURE, Values.create().add(failure.toString()));
    }

    private static void send(SocketChannel line, ByteBuffer frame) throws IOException {
        while (frame.hasRemaining()) {
            frame.position(frame.position() + line.write(Frame.piece(frame)));
        }
    }

    private static Values answer(GuiThread gui, Values question) throws Exception {
        Operation operation = Operation.valueOf(question.nextText());
        long end = System.nanoTime() + question.nextLong();
        Values answer = Values.create();
        if (operation == Operation.FIND_ROWS) {
            findRows(gui, question, answer, end);
            return answer;
        }
        if (operation == Operation.AWAIT_CHANGE) {
            return answer.add(awaitChange(gui, question, end));
        }
        Callable<Consumer<Values>> look = look(operation, question);
        question.end();
        onGuiThread(gui, look, end).accept(answer);
        return answer;
    }

    /** @param end on the clock of {@link System#nanoTime} */
    private static <T> T onGuiThread(GuiThread gui, Callable<T> work, long end) throws Exception {
        try {
            return gui.call(work, TimeUnit.NANOSECONDS.toMillis(end - System.nanoTime()) + 1); // what is left counts
        } catch (ExecutionException failure) {
            throw failure.getCause() instanceof Exception cause ? cause : failure;
        }
    }

    /** Reads what goes with the request. @return what to do on the GUI thread; that answers how to write what it saw */
    private static Callable<Consumer<Values>> look(Operation operation, Values in) {
        return switch (operation) {
            case MENU_BAR -> with(in.nextLong(), window -> perhaps(Widgets.menuBar(window), MenuValues::write));
            case MENU -> with(in.nextLong(), window -> perhapsReady(Widgets.menu(window)));
            case OPEN_MENUS -> () -> {
                List<MenuValues> menus = Widgets.openMenus();
                return whenReady(menus, all(menus, MenuValues::write));
            };
            case CONTEXT_MENU -> () -> perhapsReady(Widgets.contextMenu());
            case AWAIT_IDLE -> with(in.nextLong(), limit -> {
                int mark = MenuItems.markEvents();
                return out -> out.add(awaitIdle(mark, limit));
            });
            case LIST -> with(in.nextLong(), window -> perhaps(Widgets.list(window), ListValues::write));
            case LIST_AT_POINT -> with(new Point(in.nextInt(), in.nextInt()),
                place -> perhaps(Widgets.listAt(place), ListValues::write));
            case LIST_AT_RECTANGLE -> with(in.nextBox(),
                box -> perhaps(Widgets.listIn(box), ListValues::write));
            case FILE_DIALOGS -> () -> all(Widgets.fileDialogs(), FileDialogValues::write);
            case WIDGETS -> () -> block(WidgetTree.windows());
            case WIDGETS_AT -> with(new Point(in.nextInt(), in.nextInt()), place -> ids(WidgetTree.at(place.x, place.y)));
            case REVEAL -> with(in.nextLong(), id -> truth(WidgetTree.reveal(id)));
            case ROWS -> rows(in.nextLong(), in.nextInt(), in.nextInt());
            case REVEAL_ROW -> revealRow(in.nextLong(), in.nextText(), in.nextInt());
            case SCROLL_BAR -> with(in.nextLong(), id -> block(WidgetTree.scrollBar(id)));
            case FIND_ROWS, AWAIT_CHANGE -> throw new IllegalArgumentException(operation + " is no single look");
            case SET_FILE -> setFile(in.nextLong(), in.nextText());
        };
    }

    private static Callable<Consumer<Values>> rows(long id, int first, int count) {
        return () -> block(WidgetTree.rows(id, first, Math.min(count, ROWS_AT_ONCE)));
    }

    private static Callable<Consumer<Values>> revealRow(long id, String path, int column) {
        return () -> truth(WidgetTree.revealRow(id, path, column));
    }

    private static Callable<Consumer<Values>> setFile(long window, String file) {
        return () -> {
            WidgetTree.setFile(window, file);
            return out -> { };
        };
    }

    /** Looks through what all rows say, with time for the application between so many of them, and reads those found. */
    private static void findRows(GuiThread gui, Values question, Values answer, long end) throws Exception {
        long id = question.nextLong();
        RowQuery query = RowQuery.read(question);
        question.end();
        Predicate<List<String>> isNear = query.nearness();
        List<RowValues> found = new ArrayList<>();
        int first = 0;
        int count;
        do {
            int from = first;
            Optional<List<RowValues>> rows;
            do {
                List<List<String>> texts = textsOf(onGuiThread(gui, () -> WidgetTree.texts(id, from, ROWS_AT_ONCE), end));
                int[] near = IntStream.range(0, texts.size()).filter(row -> isNear.test(texts.get(row))).toArray();
                rows = near.length == 0 ? Optional.of(List.of()) : readIfThere(gui, id, from, near, isNear, end);
                count = texts.size();
            } while (rows.isEmpty());
            found.addAll(rows.get());
            first += count;
        } while (count == ROWS_AT_ONCE && first < MOST_ROWS && found.size() < MOST_FOUND);
        answer.addAll(query.pick(found, RowValues::texts), RowValues::write);
    }

    /**
     * Texts are compared between two turns of the GUI thread, as a pattern may take its time.
     *
     * @param near which of the rows behind so many had a text that matches
     * @return empty when rows have moved since
     */
    private static Optional<List<RowValues>> readIfThere(GuiThread gui, long id, int from, int[] near,
            Predicate<List<String>> isNear, long end) throws Exception {
        int least = near[0];
        int reach = near[near.length - 1] - least + 1;
        byte[] block = onGuiThread(gui, () -> WidgetTree.rows(id, from + least, reach), end);
        List<RowValues> rows = Values.of(ByteBuffer.wrap(block)).nextAll(RowValues::read);
        boolean areThere = Arrays.stream(near).map(row -> row - least)
            .allMatch(row -> row < rows.size() && isNear.test(rows.get(row).texts()));
        return areThere ? Optional.of(Arrays.stream(near).limit(MOST_FOUND).mapToObj(row -> rows.get(row - least)).toList())
            : Optional.empty();
    }

    private static List<List<String>> textsOf(byte[] block) {
        return Values.of(ByteBuffer.wrap(block)).nextAll(row -> row.nextAll(Values::nextTextOrEmpty));
    }

    /** The GUI thread is asked for this once, when somebody waits for the first time. */
    private static long awaitChange(GuiThread gui, Values question, long end) throws Exception {
        long known = question.nextLong();
        int limitMs = question.nextInt();
        question.end();
        if (known < 0) {
            onGuiThread(gui, () -> {
                LoopChanges.watch();
                return null;
            }, end);
        }
        return LoopChanges.await(known, limitMs);
    }

    private static <T, R> Callable<R> with(T value, Function<T, R> work) {
        return () -> work.apply(value);
    }

    private static Consumer<Values> perhapsReady(MenuValues menu) {
        return whenReady(menu == null ? List.of() : List.of(menu), perhaps(menu, MenuValues::write));
    }

    /** Holds an answer back until a click on any of these menus is taken for one; the GUI thread does not wait. */
    private static Consumer<Values> whenReady(List<MenuValues> menus, Consumer<Values> answer) {
        int wait = menus.stream().mapToInt(menu -> MenuItems.msUntilClickIsTaken(menu.window())).max().orElse(0);
        return out -> {
            LockSupport.parkNanos(TimeUnit.MILLISECONDS.toNanos(wait));
            answer.accept(out);
        };
    }

    private static Consumer<Values> block(byte[] values) {
        return out -> out.addBlock(values);
    }

    private static Consumer<Values> truth(boolean value) {
        return out -> out.add(value);
    }

    private static Consumer<Values> ids(long[] ids) {
        return out -> {
            out.add(ids.length);
            Arrays.stream(ids).forEach(out::add);
        };
    }

    private static boolean awaitIdle(int mark, long limitMs) {
        long begin = System.nanoTime();
        long end = begin + TimeUnit.MILLISECONDS.toNanos(limitMs);
        long knock = begin + KNOCK_NS;
        while (!MenuItems.hasSeenTo(mark)) {
            long now = System.nanoTime();
            if (now - end >= 0) {
                return false;
            }
            if (now - knock >= 0) {
                LoopChanges.knock();
                knock = now + KNOCK_NS;
            }
            LockSupport.parkNanos(POLL_NS);
        }
        return true;
    }

    private static <T> Consumer<Values> perhaps(T found, BiConsumer<T, Values> write) {
        return out -> out.addOptional(found, write);
    }

    private static <T> Consumer<Values> all(List<T> found, BiConsumer<T, Values> write) {
        return out -> out.addAll(found, write);
    }
}
