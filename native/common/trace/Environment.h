/// The environment of the process, as this library reads and changes it.
#pragma once

#include <optional>
#include <string>
#include <vector>

/// All functions may be called from any thread at any time, before the static initialisers have run as well;
/// one lock covers them, so they never see each other half-way. A child that is forked meanwhile finds it
/// free.
///
/// A host's own getenv, which takes no lock, may be called at any time as well: adding a variable and
/// replacing a value are one store each, and arrays of entries and texts that are set here live until the
/// process ends. Three things are not covered:
///  - a text is kept for 64 further changes of its variable; then it becomes another value of that variable;
///  - a variable's removal moves the entries behind it up, so that such a reader may miss one of them;
///  - of a variable added here and one that the host adds by setenv or putenv at the same moment, one may be
///    lost.
/// The JVM reads its environment only once, when Java first asks for it: System.getenv does not see what is
/// set here.
class CEnvironment {
public:
    /// A copy of a variable's value; nothing when it is not set, or when `name` is null.
    static std::optional<std::string> get(const char* name);
    /// Sets a variable. Costs memory for its name and its last 64 values, however often it is set.
    /// @return false, and nothing is changed, when name or value is null, or when the name is empty or has a
    /// "="
    static bool set(const char* name, const char* value);
    /// Removes a variable. A name that is null, empty or has a "=" is not there.
    static void unset(const char* name);
    /// The value of a variable that holds a list with the separator ":". From now on the variable has its
    /// first entry only, with the separators before it.
    /// @return the value before; nothing when it is not set
    static std::optional<std::string> takeList(const char* name);
    /// Every entry "NAME=value". The pointers are those of the environment itself: they are valid until their
    /// variables have been changed 64 times, and as long as the host does not free texts that it once gave to
    /// putenv.
    static std::vector<char*> entries();
};
