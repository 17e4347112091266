package com.talvern.test.gx.inspect;

import com.sun.net.httpserver.Headers;
import com.sun.net.httpserver.HttpExchange;
import com.sun.net.httpserver.HttpHandler;
import com.talvern.test.gx.engine.ApplicationException;
import com.talvern.test.gx.engine.WidgetView;
import com.talvern.test.gx.util.Json;
import java.awt.Rectangle;
import java.io.IOException;
import java.io.InputStream;
import java.nio.charset.StandardCharsets;
import java.time.Duration;
import java.util.LinkedHashMap;
import java.util.List;
import java.util.Map;
import java.util.concurrent.CancellationException;
import java.util.concurrent.Future;
import java.util.concurrent.ScheduledExecutorService;
import java.util.concurrent.Semaphore;
import java.util.concurrent.TimeUnit;

/** What the pages ask for. Any thread. */
final class Answers implements HttpHandler {
    private static final Duration LONGEST_WAIT = Duration.ofSeconds(10);
    private static final Duration LONGEST_QUERY = Duration.ofSeconds(3);
    private static final int LONGEST_BODY = 4096;
    private static final int MOST_MATCHES = 200;
    private static final String TEXT = "text/plain; charset=utf-8";
    private static final String JSON = "application/json; charset=utf-8";
    private static final String POLICY = "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self'; "
        + "connect-src 'self'; base-uri 'none'; form-action 'none'; frame-ancestors 'none'";

    /** Files of the page: these and no others. */
    private static final Map<String, Answer> FILES = Map.of(
        "", file("page.html", "text/html; charset=utf-8"), "page.css", file("page.css", "text/css; charset=utf-8"),
        "page.js", file("page.js", "text/javascript; charset=utf-8"), "icon.svg", file("icon.svg", "image/svg+xml"));

    private final Gate gate;
    private final Subject subject;
    private final Board board;
    private final Marker marker;
    private final ScheduledExecutorService clock;
    private final Semaphore queries = new Semaphore(1);

    /** One answer. */
    private record Answer(int status, String type, byte[] body, Map<String, String> headers) {
        static Answer of(int status, String type, String body) {
            return new Answer(status, type, body.getBytes(StandardCharsets.UTF_8), Map.of());
        }

        static Answer json(Object value) {
            return of(200, JSON, Json.of(value));
        }

        static Answer refused(int status, String reason) {
            return of(status, TEXT, reason + "\n");
        }
    }

    Answers(Gate gate, Subject subject, Board board, Marker marker, ScheduledExecutorService clock) {
        this.gate = gate;
        this.subject = subject;
        this.board = board;
        this.marker = marker;
        this.clock = clock;
    }

    private static Answer file(String name, String type) {
        try (InputStream in = Answers.class.getResourceAsStream(name)) {
            return new Answer(200, type, in.readAllBytes(), Map.of());
        } catch (IOException incomplete) {
            throw new IllegalStateException(name + " is missing in the jar", incomplete);
        }
    }

    @Override
    public void handle(HttpExchange exchange) throws IOException {
        board.begin();
        try (exchange) {
            send(exchange, answer(exchange));
        } catch (InterruptedException closed) {
            Thread.currentThread().interrupt();
        } finally {
            board.end();
        }
    }

    private static void send(HttpExchange exchange, Answer answer) throws IOException {
        Headers headers = exchange.getResponseHeaders();
        headers.set("Content-Type", answer.type());
        headers.set("Cache-Control", "no-store");
        headers.set("Content-Security-Policy", POLICY);
        headers.set("X-Content-Type-Options", "nosniff");
        headers.set("X-Frame-Options", "DENY");
        headers.set("Referrer-Policy", "no-referrer");
        headers.set("Cross-Origin-Resource-Policy", "same-origin");
        headers.set("Cross-Origin-Opener-Policy", "same-origin");
        answer.headers().forEach(headers::set);
        if (answer.status() == 413) {
            headers.set("Connection", "close");
        }
        boolean isEmpty = answer.body().length == 0 || exchange.getRequestMethod().equals("HEAD");
        exchange.sendResponseHeaders(answer.status(), isEmpty ? -1 : answer.body().length);
        if (!isEmpty) {
            exchange.getResponseBody().write(answer.body());
        }
    }

    private Answer answer(HttpExchange exchange) throws IOException, InterruptedException {
        String path = exchange.getRequestURI().getRawPath();
        Gate.Refusal refusal = path == null ? new Gate.Refusal(400, "This is no address.")
            : gate.refuse(exchange.getRequestHeaders(), path);
        if (refusal != null) {
            return Answer.refused(refusal.status(), refusal.reason());
        }
        String name = Gate.nameIn(path);
        String query = exchange.getRequestURI().getQuery();
        String value = query == null ? "" : query;
        boolean changes = List.of("frame", "query").contains(name);
        if (!exchange.getRequestMethod().equals(changes ? "POST" : "GET")) {
            return Answer.refused(405, "This is asked for by " + (changes ? "POST" : "GET") + ".");
        }
        return changes ? posted(name, exchange.getRequestBody()) : got(name, value);
    }

    private Answer posted(String name, InputStream in) throws IOException {
        byte[] body = in.readNBytes(LONGEST_BODY + 1);
        if (body.length > LONGEST_BODY) {
            return Answer.refused(413, "That is too long.");
        }
        String text = new String(body, StandardCharsets.UTF_8);
        return name.equals("frame") ? frame(text) : query(text);
    }

    private Answer got(String name, String value) throws IOException, InterruptedException {
        return switch (name) {
            case "look" -> look(value);
            case "picture" -> picture(value);
            case "tree" -> tree();
            case "line" -> line(value);
            default -> FILES.containsKey(name) ? FILES.get(name) : Answer.refused(404, "There is no such thing here.");
        };
    }

    /** @param value the numbers of picture, tree and news that the page has, with dots between them */
    private Answer look(String value) throws InterruptedException {
        if (!value.matches("([0-9]{1,18}\\.){2}[0-9]{1,18}")) {
            return Answer.refused(400, "This is no picture, tree and news.");
        }
        String[] seen = value.split("\\.");
        Board.State state = board.await(new Board.State(Long.parseLong(seen[0]), Long.parseLong(seen[1]),
            Long.parseLong(seen[2]), "", ""), LONGEST_WAIT);
        return state == null ? Answer.refused(503, "Too many pages are open.")
            : Answer.json(Map.of("picture", state.picture(), "tree", state.tree(), "news", state.news(),
                "trouble", state.trouble(), "end", state.end(), "name", subject.name()));
    }

    private Answer picture(String since) throws IOException {
        if (!since.matches("[0-9]{1,18}")) {
            return Answer.refused(400, "This is no number of a picture.");
        }
        Film.Change change = subject.film().since(Long.parseLong(since));
        Map<String, String> headers = Map.of("X-Picture", String.valueOf(change.number()),
            "X-Box", numbers(change.box()), "X-Part", numbers(change.part()));
        return change.png() == null ? new Answer(204, "image/png", new byte[0], headers)
            : new Answer(200, "image/png", change.png(), headers);
    }

    private static String numbers(Rectangle box) {
        return box.x + "," + box.y + "," + box.width + "," + box.height;
    }

    private Answer tree() {
        return Answer.of(200, JSON, subject.look().json());
    }

    private Answer line(String key) {
        try {
            return Answer.json(Map.of("line", subject.line(key).orElse("")));
        } catch (ApplicationException notNow) {
            return Answer.json(Map.of("line", "", "reason", notNow.getMessage()));
        }
    }

    private Answer frame(String key) {
        Rectangle seen = key.isEmpty() ? null : subject.seen(key);
        marker.show(seen);
        return Answer.json(Map.of("framed", seen != null));
    }

    /** A pattern may take for ever: the thread is interrupted then, and answers the next one. */
    private Answer query(String line) {
        if (!queries.tryAcquire()) {
            return Answer.json(Map.of("reason", "Another question is being asked."));
        }
        Thread asking = Thread.currentThread();
        Object over = new Object();
        boolean[] isOver = new boolean[1];
        Future<?> end = clock.schedule(() -> {
            synchronized (over) {
                if (!isOver[0]) {
                    asking.interrupt();
                }
            }
        }, LONGEST_QUERY.toMillis(), TimeUnit.MILLISECONDS);
        try {
            return found(subject.ask(line));
        } catch (CancellationException late) {
            return Answer.json(Map.of("reason", "That takes more than " + LONGEST_QUERY.toSeconds() + " seconds."));
        } catch (Line.Unclear | RuntimeException | StackOverflowError wrong) {
            return Answer.json(Map.of("reason", String.valueOf(wrong.getMessage())));
        } finally {
            synchronized (over) {
                isOver[0] = true;
            }
            end.cancel(false);
            Thread.interrupted();
            queries.release();
        }
    }

    private static Answer found(Line.Found found) {
        List<WidgetView> views = found.views();
        Map<String, Object> answer = new LinkedHashMap<>();
        answer.put("line", found.path());
        answer.put("count", views.size());
        answer.put("matches", views.stream().limit(MOST_MATCHES).map(Subject::match).toList());
        return Answer.json(answer);
    }
}
