// Waiting for children that end in every way, and ending processes.
#include "unix/process/OperatingSystem.h"

#include "ChildProcess.h"
#include "common/trace/Environment.h"
#include "include/ScopedFile.h"
#include "include/Within.h"
#include "unix/process/ProcessStart.h"
#include "unix/process/ProcessStat.h"

#include <gtest/gtest.h>

#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <string>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {
using std::chrono::milliseconds;
using std::chrono::seconds;
using std::chrono::steady_clock;

pid_t start(const char* command)
{
    std::string error;
    return CProcessStart{command}.start(error);
}

/// Keeps sig_chld from reaping while it lives; what is left is reaped at its end.
class CHandlerHeldUp {
public:
    CHandlerHeldUp()
    {
        sigset_t child;
        sigemptyset(&child);
        sigaddset(&child, SIGCHLD);
        pthread_sigmask(SIG_BLOCK, &child, &m_before);
    }
    ~CHandlerHeldUp() { pthread_sigmask(SIG_SETMASK, &m_before, nullptr); }
    CHandlerHeldUp(const CHandlerHeldUp&) = delete;

private:
    sigset_t m_before;
};

[[gnu::noinline]] void bearAndForget()
{
    if (vfork() == 0)
        _exit(0);
}

bool haveNoChild()
{
    siginfo_t any;
    return waitid(P_ALL, 0, &any, WEXITED | WNOHANG | WNOWAIT) != 0 && errno == ECHILD;
}

milliseconds timeOf(const std::function<void()>& action)
{
    const auto before = steady_clock::now();
    action();
    return std::chrono::duration_cast<milliseconds>(steady_clock::now() - before);
}

TEST(OperatingSystemTest, TellsHowAChildEnded)
{
    const struct {
        const char* command;
        CProcessEnd end;
    } rows[] = {
        {"true", {CProcessEnd::exited, 0}},
        {"sh -c 'exit 7'", {CProcessEnd::exited, 7}},
        {"./no-such-command", {CProcessEnd::exited, 127}},
        {"sh -c 'kill -9 $$'", {CProcessEnd::killed, SIGKILL}},
    };
    for (const bool limited : {false, true})
        for (const auto& row : rows) {
            SCOPED_TRACE(row.command);
            const CHandlerHeldUp held;
            const pid_t pid = start(row.command);
            const CProcessEnd end =
                limited ? COperatingSystem::waitWithTimeout(pid, 20000) : COperatingSystem::wait(pid);
            EXPECT_EQ(row.end.kind, end.kind);
            EXPECT_EQ(row.end.code, end.code);
        }
    const pid_t reaped = start("true");
    ASSERT_TRUE(within(seconds(10), [&] { return !COperatingSystem::isAlive(reaped); }));
    for (const pid_t pid : {reaped, getpid(), 0, -1}) {
        EXPECT_EQ(CProcessEnd::noChild, COperatingSystem::wait(pid).kind);
        EXPECT_EQ(CProcessEnd::noChild, COperatingSystem::waitWithTimeout(pid, 1000).kind);
    }
}

std::string newPipe()
{
    const std::string pipe = std::getenv("HOME") + std::string("/pipe");
    unlink(pipe.c_str());
    EXPECT_EQ(0, mkfifo(pipe.c_str(), 0600));
    return pipe;
}

/// A program that ends with this status once somebody has opened the pipe for writing.
pid_t startEnding(int status, const std::string& pipe)
{
    return start(("sh -c ': <" + pipe + "; exit " + std::to_string(status) + "'").c_str());
}

TEST(OperatingSystemTest, EveryWaitUnderWayLearnsHowTheChildEnded)
{
    const std::string pipe = newPipe();
    for (int round = 0; round < 100; ++round) {
        SCOPED_TRACE(round);
        const pid_t pid = startEnding(round, pipe);
        CChildWait first(pid), second(pid);
        EXPECT_FALSE(first.end());
        const CDescriptor go(open(pipe.c_str(), O_RDWR));
        // In every other round the handler reaps, else whoever is first.
        EXPECT_TRUE(within(seconds(20), [&] { return round % 2 == 0 || !COperatingSystem::isAlive(pid); }));
        std::optional<CProcessEnd> end;
        ASSERT_TRUE(within(seconds(20), [&] { return (end = first.end()).has_value(); }));
        for (const auto& known : {end, second.end()}) {
            ASSERT_TRUE(known);
            EXPECT_EQ(CProcessEnd::exited, known->kind);
            EXPECT_EQ(round, known->code);
        }
        EXPECT_EQ(CProcessEnd::noChild, COperatingSystem::wait(pid).kind) << "it begins too late";
    }
}

/// Starts a program that gets a certain id; 0 where the system does not let its choice be steered.
pid_t startWithId(pid_t wanted, int status, const std::string& pipe)
{
    for (int attempt = 0; attempt < 100; ++attempt) {
        std::ofstream last("/proc/sys/kernel/ns_last_pid");
        if (!(last << wanted - 1 << std::flush))
            return 0;
        const pid_t pid = startEnding(status, pipe);
        if (pid == wanted)
            return pid;
        const CDescriptor go(open(pipe.c_str(), O_RDWR));
        COperatingSystem::wait(pid);
    }
    return 0;
}

TEST(OperatingSystemTest, AnIdThatIsUsedAgainHasAnEndOfItsOwn)
{
    const std::string pipe = newPipe();
    const pid_t pid = startEnding(1, pipe);
    {
        CChildWait unfinished(pid); // the handler leaves it a status that is not fetched
        const CDescriptor go(open(pipe.c_str(), O_RDWR));
        ASSERT_TRUE(within(seconds(20), [&] { return !COperatingSystem::isAlive(pid); }));
    }
    if (!startWithId(pid, 2, pipe))
        GTEST_SKIP() << "process ids cannot be chosen here (CAP_CHECKPOINT_RESTORE)";
    CChildWait again(pid);
    EXPECT_FALSE(again.end());
    const CDescriptor go(open(pipe.c_str(), O_RDWR));
    EXPECT_EQ(2, COperatingSystem::wait(pid).code);
}

TEST(OperatingSystemTest, WaitsHalfTheLimit)
{
    const pid_t pid = start("sleep 60");
    const struct {
        int timeoutMs;
        const char* seconds; ///< in the environment
        int lowest, highest;
    } rows[] = {
        {1000, nullptr, 500, 950}, {-1, "2", 1000, 1900}, {60000, "0", 0, 200}, {-5, nullptr, 0, 200}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.timeoutMs);
        CEnvironment::set("TALVERN_EXEC_MAX_WAIT_TIME", row.seconds);
        const milliseconds time = timeOf([&] {
            EXPECT_EQ(CProcessEnd::expired, COperatingSystem::waitWithTimeout(pid, row.timeoutMs).kind);
        });
        CEnvironment::unset("TALVERN_EXEC_MAX_WAIT_TIME");
        EXPECT_LE(row.lowest, time.count());
        EXPECT_GE(row.highest, time.count());
    }
    ::kill(pid, SIGKILL);
    COperatingSystem::wait(pid);
}

void childHandlerOfTheHost(int) {}

TEST(OperatingSystemTest, GivesTheHostsHandlerBackUnlessTheHostTookItItself)
{
    const auto handlerAfter = [](const std::function<void(CChildSignals&)>& use) {
        signal(SIGCHLD, SIG_IGN);
        {
            CChildSignals signals;
            use(signals);
        }
        return signal(SIGCHLD, SIG_DFL);
    };
    EXPECT_EQ(SIG_IGN, handlerAfter([](CChildSignals& signals) {
                  signals.takeOver();
                  signals.takeOver();
              }));
    EXPECT_EQ(childHandlerOfTheHost, handlerAfter([](CChildSignals& signals) {
                  signals.takeOver();
                  signal(SIGCHLD, childHandlerOfTheHost);
              }));
    EXPECT_EQ(childHandlerOfTheHost, handlerAfter([](CChildSignals& signals) {
                  signals.takeOver();
                  signal(SIGCHLD, childHandlerOfTheHost);
                  signals.takeOver();
              }));
}

TEST(OperatingSystemTest, AThousandChildrenThatEndAtOnceLeaveNoZombie)
{
    {
        const CHandlerHeldUp held;
        ASSERT_LT(0, start("true"));
        for (int child = 1; child < 1000; ++child)
            bearAndForget();
    }
    EXPECT_TRUE(within(seconds(60), haveNoChild));
}

TEST(OperatingSystemTest, EndsWhatListensAndLeavesAloneWhatDoesNot)
{
    const pid_t deaf = start("sleep 60");
    const milliseconds tried = timeOf([&] { COperatingSystem::kill(deaf); });
    EXPECT_LE(3900, tried.count());
    EXPECT_TRUE(COperatingSystem::isAlive(deaf));
    ::kill(deaf, SIGKILL);
    COperatingSystem::wait(deaf);

    const pid_t listening = fork();
    if (listening == 0)
        for (;;)
            pause();
    EXPECT_GT(3000, timeOf([&] { COperatingSystem::kill(listening); }).count());
    EXPECT_FALSE(COperatingSystem::isAlive(listening));
}

TEST(OperatingSystemTest, FindsTheParentWhateverTheProgramIsCalled)
{
    signal(SIGCHLD, SIG_DFL); // the verdicts of the children are for the test
    for (const char* name : {"a b", ") S 1 (", "((", "x) R 7"}) {
        SCOPED_TRACE(name);
        CChildProcess child([&](CChildProcess& parent) {
            prctl(PR_SET_NAME, name);
            EXPECT_EQ(getppid(), COperatingSystem::getppid(getpid()));
            parent.pass();
        });
        child.wait();
        EXPECT_EQ(0, child.join());
    }
    for (const pid_t pid : {0, -1, 0x3fffffff})
        EXPECT_EQ(-1, COperatingSystem::getppid(pid));
}

TEST(ProcessStatTest, AProcessMayGoWhileItIsRead)
{
    signal(SIGCHLD, SIG_DFL);
    for (int child = 0; child < 300; ++child) {
        const pid_t pid = fork();
        if (pid == 0)
            _exit(0);
        std::thread reaper([=] { waitpid(pid, nullptr, 0); });
        while (CProcessStat::of(pid)) {
        }
        reaper.join();
    }
}

TEST(EnvironmentTest, IsReadWhileItIsEdited)
{
    const std::string before = CEnvironment::get("HOME").value();
    std::atomic<bool> done = false;
    std::vector<std::thread> readers;
    for (int reader = 0; reader < 3; ++reader)
        readers.emplace_back([&] {
            while (!done) {
                EXPECT_EQ(before, CEnvironment::get("HOME"));
                const std::string value = CEnvironment::get("GX_EDITED").value_or("aa");
                EXPECT_EQ(value.front(), value.back());
                EXPECT_FALSE(CEnvironment::entries().empty());
            }
        });
    readers.emplace_back([&] { // as other libraries do
        while (!done)
            EXPECT_STREQ(before.c_str(), std::getenv("HOME"));
    });
    for (int round = 0; round < 2000; ++round) {
        const char letter = static_cast<char>('a' + round % 26);
        EXPECT_TRUE(CEnvironment::set("GX_EDITED", std::string(1 + round % 50, letter).c_str()));
        CEnvironment::set(("GX_NUMBER_" + std::to_string(round % 500)).c_str(), "1");
        if (round % 7 == 0)
            CEnvironment::unset("GX_EDITED");
    }
    done = true;
    for (std::thread& reader : readers)
        reader.join();
    for (const char* name : {"", "A=B", static_cast<const char*>(nullptr)})
        EXPECT_FALSE(CEnvironment::set(name, "x"));
}

TEST(EnvironmentTest, DoesNotGrowWithTheNumberOfChanges)
{
    if (GX_SANITIZED)
        GTEST_SKIP() << "sanitizers keep what was freed";
    const auto pages = [] {
        size_t total = 0, resident = 0;
        std::ifstream("/proc/self/statm") >> total >> resident;
        return resident;
    };
    const std::string tail(1500, 'v');
    const size_t before = pages();
    for (int round = 0; round < 20'000; ++round)
        CEnvironment::set("GX_CHANGED", (std::to_string(round) + tail).c_str());
    EXPECT_EQ("19999" + tail, CEnvironment::get("GX_CHANGED"));
    EXPECT_LT(pages(), before + 1000) << "4 MB; all of the values are 30";
    CEnvironment::unset("GX_CHANGED");
}
} // namespace
