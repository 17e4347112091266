package com.talvern.test.gx.protocol;

import java.io.IOException;
import java.nio.file.FileAlreadyExistsException;
import java.nio.file.FileSystems;
import java.nio.file.Files;
import java.nio.file.LinkOption;
import java.nio.file.Path;
import java.nio.file.attribute.PosixFileAttributes;
import java.nio.file.attribute.PosixFilePermission;
import java.nio.file.attribute.PosixFilePermissions;
import java.util.List;
import java.util.Set;
import java.util.stream.Stream;

/**
 * A directory that only one user can enter, where others may have been before: who finds its name taken makes one with
 * a longer name beside it, and who looks for it then finds that.
 *
 * @param usual its name
 * @param uid of its user
 */
public record OwnDirectory(Path usual, String uid) {
    private static final Set<PosixFilePermission> OWN = PosixFilePermissions.fromString("rwx------");

    /** @return where it is, or may be; empty when somebody else has taken the name and there is no other */
    public List<Path> places() {
        if (!Files.exists(usual, LinkOption.NOFOLLOW_LINKS) || isOwn(usual)) {
            return List.of(usual);
        }
        try (Stream<Path> beside = Files.list(usual.getParent())) {
            return beside.filter(path -> path.toString().startsWith(usual + ".") && isOwn(path)).sorted().toList();
        } catch (IOException unreadable) {
            return List.of();
        }
    }

    /**
     * Makes it unless it is there.
     *
     * @return where it is
     * @throws IOException there can be none
     */
    public Path make() throws IOException {
        try {
            Files.createDirectory(usual, PosixFilePermissions.asFileAttribute(OWN));
        } catch (FileAlreadyExistsException known) {
            // by whom, is seen next
        }
        List<Path> found = places();
        return found.isEmpty() ? Files.createTempDirectory(usual.getParent(), usual.getFileName() + ".",
            PosixFilePermissions.asFileAttribute(OWN)) : found.get(0);
    }

    private boolean isOwn(Path path) {
        try {
            PosixFileAttributes found = Files.readAttributes(path, PosixFileAttributes.class, LinkOption.NOFOLLOW_LINKS);
            return found.isDirectory() && found.permissions().equals(OWN) && found.owner().equals(
                FileSystems.getDefault().getUserPrincipalLookupService().lookupPrincipalByName(uid));
        } catch (IOException gone) {
            return false;
        }
    }
}
