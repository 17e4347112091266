package com.talvern.test.gx.protocol;

import java.io.IOException;
import java.net.ConnectException;
import java.net.StandardProtocolFamily;
import java.net.UnixDomainSocketAddress;
import java.nio.channels.SocketChannel;
import java.nio.file.DirectoryIteratorException;
import java.nio.file.DirectoryStream;
import java.nio.file.FileSystems;
import java.nio.file.Files;
import java.nio.file.LinkOption;
import java.nio.file.Path;
import java.nio.file.attribute.BasicFileAttributes;
import java.nio.file.attribute.UserPrincipal;
import java.time.Duration;
import java.time.Instant;
import java.util.List;
import jdk.net.ExtendedSocketOptions;

/**
 * The socket at which an application is asked, and who may ask: the user that it runs as, and root.
 *
 * <p>It lies in a directory that is this user's alone, in {@code /run/user} where a login has made that, else in
 * {@code /tmp}. Both sides find it without regard to their environments. Its name is made of the process id and of the
 * namespace that this is counted in, since containers may have the directory in common.
 */
public final class AgentAddress {

    private static final String DRAFT = ".new";
    private static final Duration DRAFTED = Duration.ofMinutes(1);

    private final String uid;
    private final String name;

    private AgentAddress(String uid, String name) {
        this.uid = uid;
        this.name = name;
    }

    /**
     * The address of a process.
     *
     * @param pid its id, or "self"
     * @return where its agent is asked if it has one
     * @throws IOException there is no such process
     */
    public static AgentAddress of(String pid) throws IOException {
        String uid = null;
        String innermost = pid;
        for (String line : Files.readAllLines(Path.of("/proc", pid, "status"))) {
            String[] fields = line.split("\\s+");
            if (fields[0].equals("Uid:")) {
                uid = fields[2]; // the effective one
            } else if (fields[0].equals("NSpid:")) {
                innermost = fields[fields.length - 1];
            }
        }
        return new AgentAddress(uid, innermost + "-" + namespaceOf(pid));
    }

    private static String namespaceOf(String pid) throws IOException {
        Path link = Path.of("/proc", pid, "ns/pid");
        try {
            return Files.readSymbolicLink(link).toString().replaceAll("\\D", "");
        } catch (IOException notForUs) {
            return Files.readSymbolicLink(Path.of("/proc/self/ns/pid")).toString().replaceAll("\\D", "");
        }
    }

    private List<OwnDirectory> directories() {
        return List.of(new OwnDirectory(Path.of("/run/user", uid, "gx"), uid),
            new OwnDirectory(Path.of("/tmp/gx-" + uid), uid));
    }

    /** @return where the socket may be, the likeliest place first */
    public List<Path> places() {
        return directories().stream().flatMap(directory -> directory.places().stream())
            .map(directory -> directory.resolve(name)).toList();
    }

    /**
     * Makes sure that there is a directory for the socket of this process.
     *
     * @return the socket's place
     * @throws IOException there is none that is this user's alone
     */
    public Path prepare() throws IOException {
        List<OwnDirectory> both = directories();
        boolean hasLogin = Files.isWritable(both.get(0).usual().getParent());
        return both.get(hasLogin ? 0 : 1).make().resolve(name);
    }

    /**
     * What a socket is called until it answers, so that one that does not is nobody's any more.
     *
     * @param place of the socket
     * @return its name before
     */
    public static Path draftOf(Path place) {
        return place.resolveSibling(place.getFileName() + DRAFT);
    }

    /** Removes the sockets of applications of this user that were killed. To be called on the address of "self". */
    public void sweep() {
        for (Path place : places()) {
            try (DirectoryStream<Path> files = Files.newDirectoryStream(place.getParent())) {
                for (Path file : files) {
                    if (isAbandoned(file)) {
                        Files.deleteIfExists(file);
                    }
                }
            } catch (IOException | DirectoryIteratorException gone) {
                continue; // what was in it, was somebody else's then
            }
        }
    }

    private static boolean isAbandoned(Path file) throws IOException {
        BasicFileAttributes found = Files.readAttributes(file, BasicFileAttributes.class, LinkOption.NOFOLLOW_LINKS);
        boolean isBeingMade = file.toString().endsWith(DRAFT)
            && found.lastModifiedTime().toInstant().isAfter(Instant.now().minus(DRAFTED));
        return found.isOther() && !isBeingMade && !answers(file);
    }

    private static boolean answers(Path socket) {
        try (SocketChannel line = SocketChannel.open(StandardProtocolFamily.UNIX)) {
            line.configureBlocking(false);
            line.connect(UnixDomainSocketAddress.of(socket));
            return true;
        } catch (ConnectException refused) {
            return false;
        } catch (IOException busy) {
            return true;
        }
    }

    private static UserPrincipal user(String uid) throws IOException {
        return FileSystems.getDefault().getUserPrincipalLookupService().lookupPrincipalByName(uid);
    }

    /**
     * Who is at the other end of a line.
     *
     * @param line connected
     * @return whether it is the user of this address, or root
     * @throws IOException nobody is there any more
     */
    public boolean isUsedBy(SocketChannel line) throws IOException {
        UserPrincipal peer = line.getOption(ExtendedSocketOptions.SO_PEERCRED).user();
        return peer.equals(user(uid)) || peer.equals(user("0"));
    }

    /**
     * Whether this process may trust what the user of this address says.
     *
     * @param own the address of this process
     * @return whether it is the same user, or one of the two is root
     */
    public boolean isOfSameUser(AgentAddress own) {
        return uid.equals(own.uid) || uid.equals("0") || own.uid.equals("0");
    }
}
