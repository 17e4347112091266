/// How the launcher tells the agent what to do, and how the program is kept from seeing it.
#pragma once

/// The private variables that gxrun sets beside LD_PRELOAD, to whose end it appends the agent's path.
namespace AgentVariable {
inline constexpr const char* pid = "GX_AGENT_PID";         ///< the process to serve, in decimal
inline constexpr const char* library = "GX_AGENT_LIBRARY"; ///< path of libgxsys.so
inline constexpr const char* jar = "GX_AGENT_JAR";         ///< path of gxsys.jar
inline constexpr const char* domain = "GX_AGENT_DOMAIN";   ///< name of the test domain; absent for none
inline constexpr const char* follow = "GX_AGENT_FOLLOW";   ///< set: serve the program's children, too
inline constexpr const char* all[] = {pid, library, jar, domain, follow};
} // namespace AgentVariable

class CAgentVariables {
public:
    /// Takes the variables out of the environment and puts LD_PRELOAD back to what it was, so that the
    /// program and its children see what they would see without the agent; with `follow` they stay. Called
    /// once, before the program has run any code of its own.
    static void enter();
    /// Whether the calling process is one to serve. False in a child that was forked, unless children are
    /// followed. Any thread, also between fork and exec.
    static bool serves();
    /// From now on forked children are not served, followed or not: what was started does not live on in
    /// them.
    static void serveOnlyThisProcess();
    /// What the variable held; null when it was absent.
    static const char* value(const char* variable);

    /// Calls `exec(environment)` with the variables added again when it is the served process that is
    /// replaced by another program: /usr/bin/xpdf, say, is a shell script that ends so. Allocates nothing.
    /// @param otherRights  the program runs with those: it gets none of the variables
    template <class Exec> static int exec(char* const* environment, bool otherRights, Exec&& exec)
    {
        if (otherRights || !addsOnExec())
            return spawn(environment, otherRights, exec);
        char preload[maxPreload];
        char** const whole = static_cast<char**>(__builtin_alloca(roomFor(environment) * sizeof(char*)));
        addVariables(environment, whole, preload);
        return exec(static_cast<char* const*>(whole));
    }

    /// The same for a child: it has only what is in the environment already.
    template <class Spawn> static int spawn(char* const* environment, bool otherRights, Spawn&& spawn)
    {
        if (!otherRights)
            return spawn(environment);
        char** const rest = static_cast<char**>(__builtin_alloca(roomFor(environment) * sizeof(char*)));
        copyOthers(environment, rest);
        return spawn(static_cast<char* const*>(rest));
    }

private:
    static constexpr int maxPreload = 16384; ///< bytes of "LD_PRELOAD=..."; a longer one is left as it is
    static bool addsOnExec();
    static unsigned long roomFor(char* const* environment);
    static void copyOthers(char* const* environment, char** rest);
    static void addVariables(char* const* environment, char** whole, char* preload);
};
