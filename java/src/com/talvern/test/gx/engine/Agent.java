package com.talvern.test.gx.engine;

import com.talvern.test.gx.protocol.AgentAddress;
import com.talvern.test.gx.protocol.Frame;
import java.io.IOException;
import java.nio.ByteBuffer;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.Deque;
import java.util.concurrent.ConcurrentLinkedDeque;
import java.util.concurrent.TimeoutException;

/** The agent in an application, as an engine reaches it: over a line for each thread that asks at the same time. */
final class Agent implements AutoCloseable {
    private static final long RETRY_MS = 5;

    private final ProcessHandle process;
    private final Deque<AgentLine> idle = new ConcurrentLinkedDeque<>();
    private volatile boolean closed;

    /** The application has ended. */
    static final class EndedException extends Exception {
        private static final long serialVersionUID = 1L;

        EndedException(Throwable cause) {
            super(cause);
        }
    }

    private Agent(ProcessHandle process) {
        this.process = process;
    }

    /** @throws IOException none answers now */
    static Agent of(ProcessHandle process) throws IOException {
        Agent agent = new Agent(process);
        agent.idle.push(AgentLine.open(process.pid()));
        return agent;
    }

    /** @return null when none answers now */
    static Agent find(ProcessHandle process) {
        try {
            return of(process);
        } catch (IOException none) {
            return null;
        }
    }

    /**
     * Asks. An application that replaces itself by another program, or by itself, loses its lines without an answer: it
     * is asked again when it listens again.
     *
     * @param question whole
     * @param end when to give up, on the clock of {@link System#nanoTime}
     * @return a frame with the answer, or with what failed
     * @throws EndedException it has ended before it answered
     * @throws TimeoutException it has not answered in time
     * @throws Frame.ProtocolException it speaks differently
     */
    Frame.Reader ask(ByteBuffer question, long end)
            throws EndedException, TimeoutException, Frame.ProtocolException {
        while (true) {
            try {
                return askOnce(question.duplicate(), end);
            } catch (Frame.ProtocolException other) {
                throw other;
            } catch (IOException lost) {
                if (!lives()) {
                    sweep();
                    throw new EndedException(lost);
                }
                if (System.nanoTime() - end >= 0) {
                    throw new TimeoutException(lost.getMessage());
                }
                Application.pause(RETRY_MS);
            }
        }
    }

    private Frame.Reader askOnce(ByteBuffer question, long end) throws IOException, TimeoutException {
        AgentLine known = idle.poll();
        AgentLine line = known != null ? known : AgentLine.open(process.pid());
        boolean answered = false;
        try {
            Frame.Reader answer = line.ask(question, end, this::lives);
            answered = true;
            return answer;
        } finally {
            if (answered && !closed) {
                idle.push(line);
            } else {
                line.close();
            }
        }
    }

    /** A process that has ended stays in the table until its parent has seen it. */
    private boolean lives() {
        return process.isAlive() && "ZX".indexOf(state()) < 0;
    }

    /** Why it does not answer. */
    String whyLate() {
        return "Tt".indexOf(state()) < 0 ? "its GUI thread does something else, or stands still"
            : "the process is stopped, as by SIGSTOP or a debugger";
    }

    /** As proc(5) has it; X for one that has ended. */
    private char state() {
        try {
            String stat = Files.readString(Path.of("/proc", Long.toString(process.pid()), "stat"));
            return stat.charAt(stat.lastIndexOf(')') + 2);
        } catch (IOException gone) {
            return 'X';
        }
    }

    /** Removes what those applications have left that ended without an exit. */
    static void sweep() {
        try {
            AgentAddress.of("self").sweep();
        } catch (IOException noSuchProcess) {
            throw new AssertionError(noSuchProcess); // it is this one
        }
    }

    /** Hangs up. Who asks again gets a new line. */
    @Override
    public void close() {
        closed = true;
        for (AgentLine line = idle.poll(); line != null; line = idle.poll()) {
            line.close();
        }
    }
}
