#include "store/MsgDispatcher.h"

#include <gtest/gtest.h>

#include <thread>

#include "log/LogLevel.h"
#include "frame/vocabulary/UpdateOperation.h"

namespace {

using namespace CfgAgent;

// Notes each delivery in one shared journal, to check the order across components.
class NotingComponent : public zef::RefCounted<NotingComponent, Component> {
public:
    NotingComponent(ComponentType type, std::vector<std::pair<ComponentType, bool>>& journal)
        : _type(type), _journal(journal) {}
    void UpdateDesiredState(const LoftDBUpdateList& list, bool isFullSync) override {
        _journal.emplace_back(_type, isFullSync);
        sizes.push_back(list.size());
    }
    std::vector<size_t> sizes;

private:
    ComponentType _type;
    std::vector<std::pair<ComponentType, bool>>& _journal;
};

class MsgDispatcherTest : public ::testing::Test {
protected:
    void SetUp() override { savedConsole = LogLevel::console.exchange(0); }
    void TearDown() override { LogLevel::console = savedConsole; }

    zef::RefPtr<NotingComponent> Add(ComponentType type) {
        auto component = zef::MakeRef<NotingComponent>(type, journal);
        EXPECT_TRUE(dispatcher->Register(type, zef::RefPtr<Component>(component)));
        return component;
    }

    int savedConsole = 0;
    std::shared_ptr<UpdateQueue> queue = std::make_shared<UpdateQueue>(UpdateQueue::kNoLimit, true, true);
    zef::RefPtr<MsgDispatcher> dispatcher = zef::MakeRef<MsgDispatcher>(queue);
    std::vector<std::pair<ComponentType, bool>> journal;
};

TEST_F(MsgDispatcherTest, ComponentsGetTheirShareInAscendingOrder) {
    Add(BFD);
    Add(CONFIGAPP);
    auto cache = Add(CONFIGCACHE);
    Transaction transaction;
    transaction.isFullSync = true;
    transaction.updates[BFD];
    transaction.updates[DFW].Append(LoftDBUpdateMsg(29, "rule", OP_UPDATE, "", ""));
    transaction.updates[CONFIGAPP];
    transaction.updates[CONFIGCACHE].Append(LoftDBUpdateList(3));
    dispatcher->Dispatch(transaction);
    ASSERT_EQ(journal.size(), 3u) << "DFW has no component: its records are dropped";
    EXPECT_EQ(journal[0].first, CONFIGCACHE);
    EXPECT_EQ(journal[1].first, CONFIGAPP);
    EXPECT_EQ(journal[2].first, BFD);
    EXPECT_TRUE(journal[2].second);
    EXPECT_EQ(cache->sizes, std::vector<size_t>{3});
}

TEST_F(MsgDispatcherTest, RegistrationRules) {
    auto first = Add(CONFIGCACHE);
    auto second = zef::MakeRef<NotingComponent>(CONFIGCACHE, journal);
    EXPECT_FALSE(dispatcher->Register(CONFIGCACHE, zef::RefPtr<Component>(second)));
    Transaction transaction;
    transaction.updates[CONFIGCACHE];
    dispatcher->Dispatch(transaction);
    EXPECT_EQ(first->sizes.size(), 1u) << "the first registration stays";
    EXPECT_TRUE(second->sizes.empty());

    EXPECT_FALSE(dispatcher->Unregister(zef::RefPtr<Component>(second)));
    EXPECT_TRUE(dispatcher->Unregister(zef::RefPtr<Component>(first)));
    dispatcher->Dispatch(transaction);
    EXPECT_EQ(first->sizes.size(), 1u);
}

TEST_F(MsgDispatcherTest, LoopDeliversInQueueOrderAndEndsOnStop) {
    Add(CONFIGCACHE);
    dispatcher->Start();  // without a work group the loop is this test's own thread
    std::thread loop([this] { dispatcher->Run(); });
    for (uint64_t id = 0; id < 3; ++id) {
        auto transaction = std::make_unique<Transaction>();
        transaction->transactionId = id;
        transaction->isFullSync = id == 0;
        transaction->updates[CONFIGCACHE];
        queue->Put(std::move(transaction));
    }
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (queue->Size() != 0 && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    dispatcher->Stop();
    loop.join();
    ASSERT_EQ(journal.size(), 3u);
    EXPECT_TRUE(journal[0].second);
    EXPECT_FALSE(journal[2].second);
}

}  // namespace
