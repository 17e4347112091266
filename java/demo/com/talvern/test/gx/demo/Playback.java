package com.talvern.test.gx.demo;

import com.talvern.test.gx.sys.graphical.NativePlayerThread;
import java.awt.Dimension;
import java.nio.file.Path;
import java.util.concurrent.BlockingQueue;
import java.util.concurrent.CompletableFuture;
import java.util.concurrent.LinkedBlockingQueue;
import java.util.concurrent.TimeUnit;

/**
 * A user stops and pauses a playback from the keyboard. The engine's side of it is {@link #listen} and {@link
 * #typeUntilStopped}; the user is another X client, which knows nothing of the library.
 */
final class Playback {
    private static final String STOP_KEY = "F11";
    private static final String PAUSE_KEY = "F12";
    private static final String TEXT = "Nobody stops this text but the user. ".repeat(50);
    /** Characters: what the user has to wait for at most when the hot key is pressed. */
    private static final int PIECE = 6;
    /** Characters, after which the user has had enough. */
    private static final int ENOUGH = 60;
    private static final long ANSWER_MS = 10_000;
    private static final long SILENCE_MS = 500;

    private final Transcript transcript;
    private final DrivenProgram editor;
    private final Path file;
    private final String userProgram;
    private final NativePlayerThread player = new NativePlayerThread();
    private final BlockingQueue<Integer> events = new LinkedBlockingQueue<>();
    private Thread listener;
    private volatile boolean stopped;
    private volatile int typed;

    /** @param file the one that the editor saves to */
    Playback(Transcript transcript, DrivenProgram editor, Path file, String userProgram) {
        this.transcript = transcript;
        this.editor = editor;
        this.file = file;
        this.userProgram = userProgram;
    }

    /** What the thread of an engine does that listens for the hot keys. */
    private void listen() {
        int event;
        do {
            event = player.getNextEvent();
            if (event != NativePlayerThread.PAUSE) {
                stopped = true; // by the user, or since the playback has ended
            }
            events.add(event);
        } while (event != NativePlayerThread.ENDED);
    }

    /** What the thread of an engine does that plays: it types in small pieces and looks each time whether to go on. */
    private void typeUntilStopped() {
        while (!stopped && typed < TEXT.length()) {
            final int end = Math.min(typed + PIECE, TEXT.length());
            editor.type(TEXT.substring(typed, end));
            typed = end;
        }
    }

    void play() {
        transcript.heading("Stop a playback with the hot key");
        try {
            stopTyping();
            typeHotKey();
        } finally {
            player.endPlayback();
        }
    }

    private void stopTyping() {
        final Dimension size = editor.size();
        final String step = "type " + TEXT.length() + " characters until a user, another X client, presses " + STOP_KEY;
        editor.step(transcript, step, () -> {
            editor.keys("^a{DEL}");
            begin();
            final CompletableFuture<Void> playing = CompletableFuture.runAsync(this::typeUntilStopped);
            Expect.soon(ENOUGH + " characters are typed", () -> typed >= ENOUGH || playing.isDone());
            userPresses(STOP_KEY, NativePlayerThread.STOP);
            playing.get(ANSWER_MS, TimeUnit.MILLISECONDS);
            if (typed > TEXT.length() / 2) {
                throw new AssertionError("stopped after " + typed + " characters only");
            }
            return "getNextEvent answered " + NativePlayerThread.STOP + ", stopped after " + typed + " characters";
        });
        editor.step(transcript, "the editor has that text and has not seen the key, by which it fills the screen", () -> {
            editor.keys("^s");
            // What is typed while the hot key is down goes to the player.
            final String sure = TEXT.substring(0, typed - 2 * PIECE);
            final String saved = Expect.fileWith(file, sure);
            if (saved.length() > typed || !saved.startsWith(sure)) {
                throw new AssertionError("saved: " + saved);
            }
            Expect.same("size of the window", size.toString(), editor.size().toString());
            return saved.length() + " characters";
        });
    }

    private void typeHotKey() {
        editor.step(transcript, "play back again and type {" + STOP_KEY + "} itself: the playback goes on", () -> {
            end();
            begin();
            editor.keys("{" + STOP_KEY + "}");
            final Integer event = events.poll(SILENCE_MS, TimeUnit.MILLISECONDS);
            if (event != null) {
                throw new AssertionError("getNextEvent answered " + event);
            }
            return "getNextEvent still waits after " + SILENCE_MS + " ms";
        });
        editor.step(transcript, "the user presses " + PAUSE_KEY + ", the key that pauses",
            () -> userPresses(PAUSE_KEY, NativePlayerThread.PAUSE));
        editor.step(transcript, "the user presses " + STOP_KEY + ", which is not taken for the one that was typed",
            () -> userPresses(STOP_KEY, NativePlayerThread.STOP));
        transcript.step("end the playback: the thread that listens ends", () -> {
            end();
            return "";
        });
    }

    private void begin() {
        stopped = false;
        player.startPlayback();
        listener = new Thread(this::listen, "hot keys");
        listener.start();
    }

    private void end() throws Exception {
        player.endPlayback();
        expectEvent(NativePlayerThread.ENDED);
        listener.join(ANSWER_MS);
    }

    private String userPresses(String key, int expected) throws Exception {
        Program.run(userProgram, key);
        expectEvent(expected);
        return "getNextEvent answered " + expected;
    }

    private void expectEvent(int expected) throws Exception {
        final Integer event = events.poll(ANSWER_MS, TimeUnit.MILLISECONDS);
        if (event == null || event != expected) {
            throw new AssertionError("getNextEvent answered " + event + " instead of " + expected);
        }
    }
}
