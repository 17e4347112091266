#include "ChildProcess.h"
#include "common/trace/GxInstallOptions.h"
#include "include/GxGlobals.h"
#include "include/InApplication.h"
#include "unix/app/CallbackGlobals.h"
#include "unix/app/Infestor.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <poll.h>
#include <pthread.h>
#include <set>
#include <thread>
#include <vector>

// Without a JVM: a spy port exists all the same. Each test is a process of its own, since a process has one
// port.
namespace {
std::multiset<long> s_run; ///< by the callback, on the GUI thread
pthread_t s_thread;        ///< that it ran on

int noteParameter(JNIEnv*, long parameter)
{
    s_run.insert(parameter);
    s_thread = pthread_self();
    return 0;
}

/// Makes this process an application under test whose calling thread is the GUI thread.
CSpyPort& becomeInfested(bool accelerated)
{
    GetDefaultScreen();
    EXPECT_NE(nullptr, infestCurrentThread(""));
    accelerate_on_linux = accelerated;
    return *CInfestor::getSpyPort(pthread_self());
}

/// Delivers whenever a descriptor is readable, until nothing is for a while.
void deliverWhileWoken(size_t wanted)
{
    int descriptors[2];
    ASSERT_EQ(2, gxRequestDescriptors(descriptors, 2));
    pollfd watched[] = {{descriptors[0], POLLIN, 0}, {descriptors[1], POLLIN, 0}};
    while (s_run.size() < wanted && poll(watched, 2, 5000) > 0)
        gxDeliverRequests();
}
} // namespace

TEST(SpyPortTest, AccelerationIsOnUnlessTheOptionSaysSomethingElse)
{
    const std::filesystem::path home = std::getenv("HOME");
    const struct {
        const char* line;
        int accelerated;
    } rows[] = {{"", 1}, {"=TRUE", 1}, {"=true", 1}, {"=false", 0}, {"=yes", 0}};
    for (const auto& row : rows)
        CChildProcess([&](CChildProcess&) {
            std::ofstream(home / "marlo.properties")
                << "a=b\n"
                << GxInstallOptions::ACCELERATE_ON_LINUX << row.line << '\n';
            GxInstallOptions::SetInstallDir(home.c_str());
            CInfestor::createSpyPort("");
            EXPECT_EQ(row.accelerated, accelerate_on_linux) << row.line;
        }).join();
    std::filesystem::remove(home / "marlo.properties");
}

TEST(SpyPortTest, ARequestWakesTheGuiThreadAndRunsThereOnce)
{
    for (const bool accelerated : {true, false})
        CChildProcess([&](CChildProcess&) {
            SCOPED_TRACE(accelerated);
            CSpyPort& port = becomeInfested(accelerated);
            const long parameter = 0x123456789abcdef0;
            std::thread([&] {
                EXPECT_EQ(1, port.send(noteParameter, parameter));
                EXPECT_EQ(0, gxDeliverRequests()) << "on another thread";
                EXPECT_EQ(0, run_callback(noteParameter, 1)) << "on another thread";
            }).join();
            deliverWhileWoken(1);
            EXPECT_EQ(std::multiset<long>{parameter}, s_run);
            EXPECT_TRUE(pthread_equal(s_thread, pthread_self()));
            EXPECT_EQ(0, gxDeliverRequests());
            EXPECT_EQ(!accelerated, gx_MarloSUT);
        });
}

TEST(SpyPortTest, TheCallbackGlobalsHoldTheLastRequestUntilItIsTaken)
{
    CChildProcess([](CChildProcess&) {
        CSpyPort& port = becomeInfested(true);
        for (const long parameter : {1L, 2L, 3L})
            port.send(noteParameter, parameter);
        EXPECT_EQ(&noteParameter, GlobalMessageCallback);
        EXPECT_EQ(3, GlobalParam);
        EXPECT_EQ(pthread_self(), GlobalThreadId);
        EXPECT_EQ(reinterpret_cast<void*>(&run_callback), GlobalRunCallback);
        EXPECT_FALSE(CCallbackGlobals::take(GlobalThreadId + 1));
        EXPECT_EQ(1, gxDeliverRequests());
        EXPECT_EQ(std::multiset<long>{3}, s_run);
        EXPECT_EQ(nullptr, GlobalMessageCallback);
    });
}

TEST(SpyPortTest, NoneOfManyRequestsByMessageIsLostAndTheirAddressesStayWhole)
{
    CChildProcess([](CChildProcess&) {
        constexpr long Threads = 16, Requests = 60, SameLowHalf = 0x5a5a;
        CSpyPort& port = becomeInfested(false);
        std::vector<std::thread> senders;
        std::multiset<long> expected;
        for (long sender = 0; sender < Threads; ++sender) {
            for (long i = 0; i < Requests; ++i)
                expected.insert((sender * Requests + i) << 32 | SameLowHalf);
            senders.emplace_back([&port, sender] {
                for (long i = 0; i < Requests; ++i)
                    port.send(noteParameter, (sender * Requests + i) << 32 | SameLowHalf);
            });
        }
        deliverWhileWoken(expected.size());
        for (std::thread& sender : senders)
            sender.join();
        EXPECT_EQ(expected, s_run);
    });
}

TEST(SpyPortTest, OfThreadsThatWantThePortOneGetsIt)
{
    CChildProcess([](CChildProcess&) {
        std::atomic<int> ports = 0;
        std::vector<std::thread> threads;
        for (int i = 0; i < 16; ++i)
            threads.emplace_back([&] {
                void* const port = infestCurrentThread("");
                EXPECT_EQ(port, infestCurrentThread(""));
                EXPECT_EQ(port != nullptr, CInfestor::getSpyPort(pthread_self()) != nullptr);
                ports += port != nullptr;
            });
        for (std::thread& thread : threads)
            thread.join();
        EXPECT_EQ(1, ports);
        const CSpyPort* const port = CInfestor::getDefaultSpyPort();
        // A thread that comes later may have the id of the one that ended.
        std::thread([&] { EXPECT_FALSE(port->isAlive(pthread_self())); }).join();
    });
}
