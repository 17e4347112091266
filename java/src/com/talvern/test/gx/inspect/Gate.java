package com.talvern.test.gx.inspect;

import com.sun.net.httpserver.Headers;
import java.nio.charset.StandardCharsets;
import java.security.MessageDigest;
import java.security.SecureRandom;
import java.util.HexFormat;
import java.util.List;
import java.util.regex.Pattern;

/** Who may ask what: whoever has the address with the token, from a page of this server or from no page. */
final class Gate {
    /** Through a tunnel the port is another one. */
    private static final Pattern HOST = Pattern.compile("(127\\.0\\.0\\.1|localhost)(:[0-9]{1,5})?");
    private static final int TOKEN_BYTES = 24;
    private static final int LONGEST_URI = 2000;

    private final String token;

    /** Why somebody gets no answer. */
    record Refusal(int status, String reason) {}

    Gate() {
        byte[] random = new byte[TOKEN_BYTES];
        new SecureRandom().nextBytes(random);
        token = HexFormat.of().formatHex(random);
    }

    String token() {
        return token;
    }

    /**
     * Looks at a request.
     *
     * @param path of it, as it was sent
     * @return null when it may pass
     */
    Refusal refuse(Headers headers, String path) {
        if (path.length() > LONGEST_URI) {
            return new Refusal(414, "This address is too long.");
        }
        List<String> host = headers.getOrDefault("Host", List.of());
        if (host.size() != 1 || !HOST.matcher(host.get(0)).matches()) {
            return new Refusal(403, "The inspector is asked at 127.0.0.1 or localhost only.");
        }
        if (!isOwn(headers.getOrDefault("Origin", List.of()), "http://" + host.get(0))) {
            return new Refusal(403, "The inspector answers no page of another site.");
        }
        if (!List.of("same-origin", "none").containsAll(headers.getOrDefault("Sec-Fetch-Site", List.of()))) {
            return new Refusal(403, "The inspector answers no page of another site. Type or paste its address.");
        }
        return hasToken(path) ? null : new Refusal(403, "The inspector wants the whole address that it has printed.");
    }

    private static boolean isOwn(List<String> origins, String own) {
        return origins.stream().allMatch(own::equals);
    }

    /** Takes as long whatever of it is right. */
    private boolean hasToken(String path) {
        String[] parts = path.split("/", 3);
        return parts.length == 3 && MessageDigest.isEqual(parts[1].getBytes(StandardCharsets.UTF_8),
            token.getBytes(StandardCharsets.UTF_8));
    }

    /** What stands behind the token in a path that has passed. */
    static String nameIn(String path) {
        return path.split("/", 3)[2];
    }
}
