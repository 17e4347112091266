package com.talvern.test.gx.demo;

import com.talvern.test.gx.sys.Mailslot;
import java.util.Locale;

/**
 * The second JVM of {@link Messages}: opens the mailslot whose name is its argument, prints {@code true} once it can be
 * found, and answers. Numbers are counted as long as each is the next one; the text {@code count} asks how many were.
 * {@code sleep} prints {@code true} and is not answered for a minute; any other text comes back in capitals.
 */
public final class Answerer {
    private static final long SLEEP_MS = 60_000;

    private int inOrder;

    private Answerer() {}

    public static void main(String[] arguments) {
        try (Mailslot slot = Mailslot.open(arguments[0])) {
            System.out.println(true);
            slot.serve(new Answerer()::answer);
        }
    }

    private Object answer(Object message) throws InterruptedException {
        if (message instanceof Integer number) {
            inOrder += number == inOrder ? 1 : 0;
            return null;
        }
        final String text = (String) message;
        switch (text) {
            case "count":
                return inOrder;
            case "sleep":
                System.out.println(true);
                Thread.sleep(SLEEP_MS);
                return null;
            default:
                return text.toUpperCase(Locale.ROOT);
        }
    }
}
