package com.talvern.test.gx.engine;

import com.talvern.test.gx.protocol.AgentAddress;
import com.talvern.test.gx.protocol.Frame;
import java.io.IOException;
import java.net.StandardProtocolFamily;
import java.net.UnixDomainSocketAddress;
import java.nio.ByteBuffer;
import java.nio.channels.SelectionKey;
import java.nio.channels.Selector;
import java.nio.channels.SocketChannel;
import java.nio.file.Path;
import java.util.concurrent.TimeUnit;
import java.util.concurrent.TimeoutException;
import java.util.function.BooleanSupplier;

/** A connection to the agent of an application, for one question at a time. */
final class AgentLine implements AutoCloseable {
    /** When it is looked first whether the other side still runs, and how often later: a child may have the line open. */
    private static final long LOOK_MS = 50;
    private static final long LATER_MS = 400;

    private final SocketChannel channel;
    private final Selector selector;
    private final SelectionKey key;

    /** This process may not ask it. */
    static final class ForeignException extends IOException {
        private static final long serialVersionUID = 1L;

        ForeignException(String message) {
            super(message);
        }
    }

    private AgentLine(SocketChannel channel) throws IOException {
        this.channel = channel;
        this.selector = Selector.open();
        this.key = channel.register(selector, 0);
    }

    /** @throws IOException nobody listens there now, or somebody who is not to be trusted */
    static AgentLine open(long pid) throws IOException {
        AgentAddress address = AgentAddress.of(Long.toString(pid));
        if (!address.isOfSameUser(AgentAddress.of("self"))) {
            throw new ForeignException("it is another user's, and only that user and root may ask it");
        }
        IOException failure = null;
        for (Path place : address.places()) {
            SocketChannel channel = SocketChannel.open(StandardProtocolFamily.UNIX);
            try {
                channel.configureBlocking(false);
                if (channel.connect(UnixDomainSocketAddress.of(place)) && address.isUsedBy(channel)) {
                    return new AgentLine(channel);
                }
                failure = new IOException("at " + place + " somebody else answers than its user");
            } catch (IOException nobody) {
                failure = nobody;
            }
            channel.close();
        }
        throw failure;
    }

    /**
     * Asks.
     *
     * @param question what to send
     * @param end when to give up, on the clock of {@link System#nanoTime}
     * @param lives whether the other side still runs
     * @return the answer
     * @throws Frame.ProtocolException the other side speaks differently
     * @throws IOException the other side has gone
     * @throws TimeoutException it has not answered; this line is of no further use
     */
    Frame.Reader ask(ByteBuffer question, long end, BooleanSupplier lives) throws IOException, TimeoutException {
        while (question.hasRemaining()) {
            int count = channel.write(Frame.piece(question));
            question.position(question.position() + count);
            if (count == 0) {
                await(SelectionKey.OP_WRITE, end, lives);
            }
        }
        Frame.Reader answer = new Frame.Reader();
        while (!answer.read(channel)) {
            await(SelectionKey.OP_READ, end, lives);
        }
        return answer;
    }

    private void await(int operation, long end, BooleanSupplier lives) throws IOException, TimeoutException {
        key.interestOps(operation);
        int ready = 0;
        long look = LOOK_MS;
        while (ready == 0) {
            long left = TimeUnit.NANOSECONDS.toMillis(end - System.nanoTime() + 999_999);
            if (left <= 0) {
                throw new TimeoutException();
            }
            ready = selector.select(Math.min(left, look));
            look = Math.min(2 * look, LATER_MS);
            if (Thread.currentThread().isInterrupted()) {
                throw Application.interrupted("it waited for an application");
            }
            if (ready == 0 && !lives.getAsBoolean()) {
                throw new IOException("the other side has ended");
            }
        }
        selector.selectedKeys().clear();
    }

    @Override
    public void close() {
        try {
            selector.close();
            channel.close();
        } catch (IOException gone) {
            // it is of no further use, however that came
        }
    }
}
