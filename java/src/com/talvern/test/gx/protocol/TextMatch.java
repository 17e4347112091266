package com.talvern.test.gx.protocol;

import java.util.concurrent.CancellationException;
import java.util.function.Predicate;
import java.util.regex.Pattern;

/** Which texts are meant by those that tests give. Engine and application agree on that. */
public final class TextMatch {
    private static final Pattern MARKS = Pattern.compile("_(?=\\S)");
    private static final Pattern END = Pattern.compile("\\s*(:|\\.\\.\\.|\u2026)$");
    private static final Pattern BLANKS = Pattern.compile("\\s+");

    private TextMatch() {}

    /**
     * Whether a pattern matches the whole of a text. Some patterns take years for a short one.
     *
     * @param pattern for texts
     * @param text one of them
     * @return whether it does
     * @throws CancellationException the thread was interrupted, and still is
     */
    public static boolean matches(Pattern pattern, String text) {
        return pattern.matcher(new InterruptibleText(text)).matches();
    }

    private record InterruptibleText(String text) implements CharSequence {
        @Override
        public char charAt(int index) {
            if (Thread.currentThread().isInterrupted()) {
                throw new CancellationException("interrupted while a pattern was matched");
            }
            return text.charAt(index);
        }

        @Override
        public int length() {
            return text.length();
        }

        @Override
        public CharSequence subSequence(int start, int end) {
            return new InterruptibleText(text.substring(start, end));
        }

        @Override
        public String toString() {
            return text;
        }
    }

    /**
     * A text without what people leave out when they read it aloud.
     *
     * @param text any
     * @return less blanks around it, mnemonic marks, a colon or dots at its end
     */
    public static String loose(String text) {
        String unmarked = MARKS.matcher(text.strip()).replaceAll("");
        return BLANKS.matcher(END.matcher(unmarked).replaceFirst("")).replaceAll(" ");
    }

    /**
     * What says a text, exactly or but for what is left out by {@link #loose}.
     *
     * @param wanted the text
     * @return takes what may say it
     */
    public static Predicate<String> nearly(String wanted) {
        String loose = loose(wanted);
        return text -> text.equals(wanted)
            || !loose.isEmpty() && mayBecome(loose, text) && loose(text).equals(loose);
    }

    /** Leaving out changes no order. To see that it cannot help is quick, and most of many rows are other ones. */
    private static boolean mayBecome(String loose, String text) {
        int found = 0;
        for (int at = 0; at < text.length() && found < loose.length(); ++at) {
            char here = text.charAt(at);
            char next = loose.charAt(found);
            if (here == next || next == ' ' && Character.isWhitespace(here)) {
                ++found;
            }
        }
        return found == loose.length();
    }
}
