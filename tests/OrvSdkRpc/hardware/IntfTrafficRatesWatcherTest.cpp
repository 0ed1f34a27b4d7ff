#include "OrvSdkRpc/hardware/IntfTrafficRatesWatcher.h"

#include "testing/server/CounterTables.h"
#include "testing/server/TraceCapture.h"

namespace OrvSdkRpc {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

class IntfTrafficRatesWatcherTest : public CounterTables {
protected:
   void mount() {
      watcher_.initialized_is(true);
      watcher_.onMountsComplete(state_, shared_);
   }

   IntfTrafficRatesWatcher watcher_{nullptr};
};

TEST_F(IntfTrafficRatesWatcherTest, tellsAllFiveRatesFromTheLoop) {
   mount();
   const auto table = writerIs("a");
   std::vector<std::pair<orv::intf_id_t, orv::intf_traffic_rates_t>> told;
   watcher_.startWatching([&](orv::intf_id_t intf, orv::intf_traffic_rates_t rates) {
      told.emplace_back(std::move(intf), rates);
   });
   table->rowIs(
        id("Ethernet1"),
        {.statistics = {},
         .rates = {.outPktsRate = 1, .inPktsRate = 2, .outBitsRate = 3, .inBitsRate = 4, .sampleTime = 5}});
   EXPECT_THAT(told, IsEmpty());
   runLoop();
   EXPECT_THAT(told, ElementsAre(testing::Pair(orv::intf_id_t("Ethernet1"),
                                               orv::intf_traffic_rates_t(1, 2, 3, 4, 5))));
   watcher_.stopWatching();
}

TEST_F(IntfTrafficRatesWatcherTest, nothingFollowsTheTablesWithoutAWatch) {
   mount();
   const auto table = writerIs("a");
   EXPECT_FALSE(watcher_.watching());
   table->rowIs(id("Ethernet1"), row(5));
   EXPECT_THAT(take(), IsEmpty());
   watcher_.onTrafficRatesUpdate(id("Ethernet1"), row(5).rates);
   EXPECT_THAT(take(), IsEmpty()) << "no function is set";
}

TEST_F(IntfTrafficRatesWatcherTest, aRowOfNoInterfaceIsNotTold) {
   mount();
   const auto table = writerIs("a");
   watcher_.startWatching(listener());
   table->rowIs(Lumic::IntfId(), row(4));
   table->rowIs(id("Ethernet1"), row(5));
   EXPECT_THAT(take(), ElementsAre("Ethernet1 5"));
   watcher_.stopWatching();
}

TEST_F(IntfTrafficRatesWatcherTest, aRowWhoseNameTheSdkRefusesIsTracedAndNotTold) {
   mount();
   const auto table = writerIs("a");
   watcher_.startWatching(listener());
   const orvtest::TraceCapture traces("intf_counter/0");
   table->rowIs(id("Ethernet 1"), row(4));
   table->rowIs(id("Ethernet1"), row(5));
   EXPECT_THAT(take(), ElementsAre("Ethernet1 5"));
   EXPECT_THAT(traces.texts(), ElementsAre(testing::AllOf(testing::StartsWith("rates is not told: "),
                                                          testing::HasSubstr("Ethernet 1"))));
   watcher_.stopWatching();
}

TEST_F(IntfTrafficRatesWatcherTest, theLastOneOutDropsEverythingAndTheNextRebuildsIt) {
   mount();
   const auto table = writerIs("a");
   table->rowIs(id("Ethernet1"), row(5));
   const auto references = table->refCount();
   watcher_.startWatching(listener());
   EXPECT_TRUE(watcher_.watching());
   EXPECT_GT(table->refCount(), references);
   EXPECT_THAT(take(), ElementsAre("Ethernet1 5")) << "what is known comes first";
   watcher_.stopWatching();
   watcher_.stopWatching();
   EXPECT_FALSE(watcher_.watching());
   EXPECT_EQ(table->refCount(), references);
   table->rowIs(id("Ethernet1"), row(6));
   EXPECT_THAT(take(), IsEmpty());
   watcher_.startWatching(listener());
   EXPECT_THAT(take(), ElementsAre("Ethernet1 6"));
   watcher_.stopWatching();
}

TEST_F(IntfTrafficRatesWatcherTest, aSecondStartOnlyChangesTheFunction) {
   mount();
   const auto table = writerIs("a");
   table->rowIs(id("Ethernet1"), row(5));
   watcher_.startWatching([](auto&&...) { FAIL() << "replaced"; });
   watcher_.startWatching(listener());
   EXPECT_THAT(take(), ElementsAre("Ethernet1 5"));
   watcher_.stopWatching();
}

TEST_F(IntfTrafficRatesWatcherTest, aWatchBeforeTheMountsBeginsWithThem) {
   const auto table = writerIs("a");
   table->rowIs(id("Ethernet1"), row(5));
   watcher_.startWatching(listener());
   EXPECT_FALSE(watcher_.watching());
   EXPECT_THAT(take(), IsEmpty());
   mount();
   EXPECT_THAT(take(), ElementsAre("Ethernet1 5"));
   watcher_.stopWatching();
}

TEST_F(IntfTrafficRatesWatcherTest, aWriterThatIsAddedLaterIsFollowed) {
   mount();
   watcher_.startWatching(listener());
   const auto table = writerIs("later");
   table->rowIs(id("Ethernet1"), row(5));
   lags_->rowIs(id("Lag1"), row(7));
   EXPECT_THAT(take(), UnorderedElementsAre("Ethernet1 5", "Lag1 7"));
   table->rowIs(id("Ethernet1"), row(6));
   EXPECT_THAT(take(), ElementsAre("Ethernet1 6"));
   watcher_.stopWatching();
}

TEST_F(IntfTrafficRatesWatcherTest, withoutTablesAWatchIsSilent) {
   const auto otherState = Pavo::makePtr<Tessel::EntityManager>();
   const auto otherShared = Pavo::makePtr<ZeltSharedMem::EntityManager>();
   // An entity of an unexpected type counts as missing.
   const auto wrong = Pavo::makePtr<ZeltSharedMem::MountGroup>(otherShared);
   wrong->mount<Zelt::Dir>(std::string(Interface::lagCounterPath), Tessel::MountMode::write);
   watcher_.initialized_is(true);
   watcher_.onMountsComplete(otherState, otherShared);
   watcher_.startWatching(listener());
   EXPECT_TRUE(watcher_.watching());
   EXPECT_THAT(take(), IsEmpty());
   watcher_.stopWatching();
}

}  // namespace
}  // namespace OrvSdkRpc
