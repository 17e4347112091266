/// The environment of the process, as this library reads and changes it.
#pragma once

#include <optional>
#include <string>
#include <vector>

/// All functions may be called from any thread at any time, before the static initialisers have run as well;
/// one lock covers them, so they never see each other half-way. A child that is forked meanwhile finds it
/// free.
///
/// The C library guards its environment by no lock that a reader takes. A host's own getenv, or a walk over
/// `environ`, can therefore still race with a change made here:
///  - the array of entries moves when a variable is added, so that a reader may walk over freed memory;
///  - a variable's removal moves the entries behind it up, so that a reader may miss one of them.
/// Replacing the value of a variable is one store and harms no reader, and the text of a value that was read
/// stays valid: what is set here lives until the process ends. Set variables before other threads start, or
/// set them once (to any value) while there is one thread. The JVM reads its environment only once, when Java
/// first asks for it: System.getenv does not see what is set here.
class CEnvironment {
public:
    /// A copy of a variable's value; nothing when it is not set, or when `name` is null.
    static std::optional<std::string> get(const char* name);
    /// Sets a variable; every distinct text that was ever set is kept once.
    /// @return false, and nothing is changed, when name or value is null, or when the name is empty or has a
    /// "="
    static bool set(const char* name, const char* value);
    /// Removes a variable. A name that is null, empty or has a "=" is not there.
    static void unset(const char* name);
    /// The value of a variable that holds a list with the separator ":". From now on the variable has its
    /// first entry only, with the separators before it.
    /// @return the value before; nothing when it is not set
    static std::optional<std::string> takeList(const char* name);
    /// Every entry "NAME=value". The pointers are those of the environment itself: they are valid as long as
    /// the host does not free texts that it once gave to putenv.
    static std::vector<char*> entries();
};
