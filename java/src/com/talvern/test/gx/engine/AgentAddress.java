package com.talvern.test.gx.engine;

import java.io.IOException;
import java.nio.channels.SocketChannel;
import java.nio.file.FileAlreadyExistsException;
import java.nio.file.FileSystems;
import java.nio.file.Files;
import java.nio.file.LinkOption;
import java.nio.file.Path;
import java.nio.file.attribute.PosixFileAttributes;
import java.nio.file.attribute.PosixFilePermission;
import java.nio.file.attribute.PosixFilePermissions;
import java.nio.file.attribute.UserPrincipal;
import java.util.List;
import java.util.Set;
import jdk.net.ExtendedSocketOptions;

/**
 * The socket at which an application is asked, and who may ask: the user that it runs as, and root.
 *
 * <p>It lies in a directory that is this user's alone, in {@code /run/user} where a login has made that, else in
 * {@code /tmp}. Both sides find it without regard to their environments. Its name is made of the process id and of the
 * namespace that this is counted in, since containers may have the directory in common.
 */
public final class AgentAddress {
    private static final Set<PosixFilePermission> OWN = PosixFilePermissions.fromString("rwx------");

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

    private List<Path> directories() {
        return List.of(Path.of("/run/user", uid, "gx"), Path.of("/tmp/gx-" + uid));
    }

    /** @return where the socket may be, the likeliest place first */
    public List<Path> places() {
        return directories().stream().map(directory -> directory.resolve(name)).toList();
    }

    /**
     * Makes sure that there is a directory for the socket of this process.
     *
     * @return the socket's place
     * @throws IOException there is none that is this user's alone
     */
    public Path prepare() throws IOException {
        List<Path> directories = directories();
        Path directory = Files.isWritable(directories.get(0).getParent()) ? directories.get(0) : directories.get(1);
        try {
            Files.createDirectory(directory, PosixFilePermissions.asFileAttribute(OWN));
        } catch (FileAlreadyExistsException known) {
            // somebody has made it; who, is seen below
        }
        PosixFileAttributes found =
            Files.readAttributes(directory, PosixFileAttributes.class, LinkOption.NOFOLLOW_LINKS);
        if (!found.isDirectory() || !found.owner().equals(user(uid)) || !found.permissions().equals(OWN)) {
            throw new IOException(directory + " is no directory that only its user can enter");
        }
        return directory.resolve(name);
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
