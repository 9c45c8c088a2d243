#include "vexa/core/Signal.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "vexa/core/StringId.h"

namespace vexa::vxcore {
namespace {

struct Saved {};
struct Closed {};

TEST(StringId, IsXxh32WithSeedZeroButZeroForTheEmptyText) {
    const StringIDFunc id = GetStringIDFunc(StringIDType::Resource);
    EXPECT_EQ(id(""), 0);
    // Vectors of the xxHash reference implementation.
    EXPECT_EQ(static_cast<unsigned>(id("abc")), 0x32D153FFu);
    EXPECT_EQ(static_cast<unsigned>(id("Nobody inspects the spammish repetition")), 0xE2293B2Fu);
}

TEST(Signal, ReachesTheReceiversOfItsOwnRecordInOrder) {
    SignalManager manager;
    std::string calls;
    manager.Connect<Saved>([&] { calls += 'a'; });
    const auto b = manager.Connect<Saved>([&] { calls += 'b'; });
    manager.Connect<Saved>([&] { calls += 'c'; });
    manager.Connect<Closed>([&] { calls += 'X'; });
    manager.Emit<Saved>();
    manager.Disconnect<Saved>(b);
    manager.Emit<Saved>();
    EXPECT_EQ(calls, "abcac");
}

TEST(Signal, ReceiversMayAddAndRemoveDuringACall) {
    DelegateList list;
    std::string calls;
    DelegateList::Token second = 0;
    const auto first = list.Add([&] {
        calls += '1';
        list.Remove(second);
        list.Add([&] { calls += 'n'; });
    });
    second = list.Add([&] { calls += '2'; });
    list.Call();
    EXPECT_EQ(calls, "1");
    list.Remove(first);
    list.Call();
    EXPECT_EQ(calls, "1n");
}

TEST(Signal, AReceiverThatRemovesItselfDiesOnlyAfterItReturned) {
    DelegateList list;
    auto alive = std::make_shared<int>(0);
    const std::weak_ptr<int> watch = alive;
    DelegateList::Token token = 0;
    token = list.Add([&list, &token, alive = std::move(alive)] {
        list.Remove(token);
        if ((*alive)++ == 0) list.Call();  // nested: removed, so not called again, nor unlinked
        EXPECT_EQ(*alive, 1);
    });
    list.Call();
    EXPECT_TRUE(watch.expired());
    EXPECT_TRUE(list.Empty());
}

TEST(Signal, GoesOnUnlinkingAfterAReceiverThrew) {
    DelegateList list;
    const auto token = list.Add([] { throw std::runtime_error("receiver"); });
    EXPECT_THROW(list.Call(), std::runtime_error);
    auto alive = std::make_shared<int>(0);
    const std::weak_ptr<int> watch = alive;
    list.Remove(list.Add([alive = std::move(alive)] {}));
    list.Remove(token);
    list.Call();
    EXPECT_TRUE(watch.expired());
}

}  // namespace
}  // namespace vexa::vxcore
