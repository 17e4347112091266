#include "ChildProcess.h"
#include "common/spy/AsciiName.h"
#include "common/spy/SpyMap.h"
#include "common/spy/SpyMemory.h"

#include <gtest/gtest.h>

namespace {
class SpyNamesTest : public testing::Test {
protected:
    void TearDown() override { CSpyHeap::deleteBaseHeap(); }
    const CAsciiName m_name{"a name"};
};

TEST_F(SpyNamesTest, LetsAProcessFindAnObjectByItsName)
{
    CChildProcess other([&](CChildProcess& parent) {
        CSpyMemory object;
        object.allocate(m_name, 20, 4);
        object.write("from the other", 15);
        parent.pass();
        parent.wait();
    });
    CSpyMemory(); // keeps the heap when the other process ends
    other.wait();
    CSpyMemory found(m_name);
    char text[20] = {};
    found.read(text, sizeof text);
    EXPECT_STREQ("from the other", text);
    EXPECT_EQ(1U, found.ref().heapId());
    EXPECT_TRUE(CSpyMemory::locate(m_name).isa(CSpyVariant::SpyMem));
}

TEST_F(SpyNamesTest, ForgetsARemovedNameButNotTheObject)
{
    CSpyMemory object;
    object.allocate(m_name, 20, 0);
    EXPECT_EQ(object.ref(), CSpyMemory::remove(m_name).ref());
    EXPECT_TRUE(CSpyMemory(m_name).isNull());
    EXPECT_TRUE(object.write("alive", 6));
    EXPECT_TRUE(CSpyMemory::remove(m_name).isa(CSpyVariant::SpyEmpty));
}

TEST_F(SpyNamesTest, KnowsNothingUnderTheEmptyName)
{
    CSpyMemory object;
    object.allocate(CAsciiName(""), 20, 0);
    EXPECT_FALSE(object.isNull());
    EXPECT_TRUE(CSpyMemory(CAsciiName("")).isNull());
}

TEST_F(SpyNamesTest, HasOneRegistryHoweverManyProcessesStartAtOnce)
{
    constexpr int Processes = 6;
    for (int round = 0; round < 20; ++round) {
        std::vector<std::unique_ptr<CChildProcess>> children;
        CSpyMemory();
        for (int number = 0; number < Processes; ++number)
            children.push_back(std::make_unique<CChildProcess>([number](CChildProcess& parent) {
                parent.wait();
                CSpyMemory object;
                object.allocate(CAsciiName(("name " + std::to_string(number)).c_str()), 20, 0);
            }));
        for (auto& child : children)
            child->pass();
        children.clear();
        for (int number = 0; number < Processes; ++number)
            EXPECT_FALSE(CSpyMemory(CAsciiName(("name " + std::to_string(number)).c_str())).isNull())
                << number;
        CSpyHeap::deleteBaseHeap();
    }
    CSpyMemory();
}
} // namespace
