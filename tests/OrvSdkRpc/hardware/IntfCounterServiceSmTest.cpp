#include "OrvSdkRpc/hardware/IntfCounterServiceSm.h"

#include "testing/server/CounterTables.h"
#include "testing/server/TraceCapture.h"

namespace OrvSdkRpc {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

class IntfCounterServiceSmTest : public CounterTables {
protected:
   void SetUp() override { watcher_.startWatching(listener()); }

   Pavo::Ptr<IntfCounterServiceSm> stateMachine() {
      return Pavo::makePtr<IntfCounterServiceSm>(&watcher_, shared_, dir_, lags_);
   }

   IntfTrafficRatesWatcher watcher_{nullptr};
};

TEST_F(IntfCounterServiceSmTest, hasASlicePerWriter) {
   writerIs("a")->rowIs(id("Ethernet1"), row(1));
   writerIs("b")->rowIs(id("Ethernet2"), row(2));
   const auto sm = stateMachine();
   EXPECT_EQ(sm->slices(), 2U);
   EXPECT_THAT(take(), UnorderedElementsAre("Ethernet1 1", "Ethernet2 2"));
   writerIs("c")->rowIs(id("Ethernet3"), row(3));
   EXPECT_EQ(sm->slices(), 3U);
   EXPECT_THAT(take(), ElementsAre("Ethernet3 3"));
}

TEST_F(IntfCounterServiceSmTest, tracesEachNewWriter) {
   const orvtest::TraceCapture traces("intf_counter/8");
   writerIs("a");
   const auto sm = stateMachine();
   writerIs("Linecard3");
   EXPECT_EQ(traces.count("New eth counter writer: a"), 1U);
   EXPECT_EQ(traces.count("New eth counter writer: Linecard3"), 1U);
}

TEST_F(IntfCounterServiceSmTest, aWriterThatGoesTakesItsSliceAlong) {
   const auto table = writerIs("a");
   const auto sm = stateMachine();
   table->rowIs(id("Ethernet1"), row(1));
   writerDel("a");
   EXPECT_EQ(sm->slices(), 0U);
   table->rowIs(id("Ethernet1"), row(2));
   EXPECT_THAT(take(), IsEmpty()) << "also for what was waiting";
   sm->handleEthCounterSlice("a");
   EXPECT_EQ(sm->slices(), 0U);
}

TEST_F(IntfCounterServiceSmTest, aWriterThatComesBackHasANewTable) {
   const auto old = writerIs("a");
   const auto sm = stateMachine();
   const auto renewed = writerIs("a");
   EXPECT_EQ(sm->slices(), 1U);
   old->rowIs(id("Ethernet1"), row(1));
   renewed->rowIs(id("Ethernet1"), row(2));
   EXPECT_THAT(take(), ElementsAre("Ethernet1 2"));
}

TEST_F(IntfCounterServiceSmTest, anotherLookAtAWriterChangesNothing) {
   writerIs("a")->rowIs(id("Ethernet1"), row(1));
   const auto sm = stateMachine();
   take();
   sm->handleEthCounterSlice("a");
   sm->handleEthCounterSlice();
   EXPECT_EQ(sm->slices(), 1U);
   EXPECT_THAT(take(), IsEmpty());
}

TEST_F(IntfCounterServiceSmTest, anEntryThatIsNoWriterOrHasNoTableHasNoSlice) {
   dir_->entityIs("other", Pavo::makePtr<Zelt::Dir>());
   dir_->entityIs("without", Pavo::makePtr<Interface::EthIntfCounterWriterStatus>("without"));
   const auto sm = stateMachine();
   EXPECT_EQ(sm->slices(), 0U);
}

TEST_F(IntfCounterServiceSmTest, followsTheLags) {
   lags_->rowIs(id("Lag1"), row(1));
   const auto sm = stateMachine();
   const orvtest::TraceCapture traces("intf_counter/8");
   EXPECT_THAT(take(), ElementsAre("Lag1 1"));
   lags_->rowIs(id("Lag1"), row(2));
   lags_->rowIs(id("PeerLag1"), row(3));
   lags_->rowIs(id("Lag2"), {});
   EXPECT_THAT(take(), ElementsAre("Lag1 2"));
   EXPECT_EQ(traces.count("Lag counters update"), 2U);
   EXPECT_EQ(traces.count("Treating interface as internal. Leaving."), 1U);
}

TEST_F(IntfCounterServiceSmTest, nothingIsToldOnceItIsGone) {
   const auto table = writerIs("a");
   auto sm = stateMachine();
   table->rowIs(id("Ethernet1"), row(1));
   lags_->rowIs(id("Lag1"), row(1));
   sm = nullptr;
   EXPECT_THAT(take(), IsEmpty());
   EXPECT_NO_THROW(writerIs("b"));
}

TEST_F(IntfCounterServiceSmTest, aDirectoryOrLagsMayBeMissing) {
   writerIs("a")->rowIs(id("Ethernet1"), row(1));
   lags_->rowIs(id("Lag1"), row(2));
   auto sm = Pavo::makePtr<IntfCounterServiceSm>(&watcher_, shared_, nullptr, lags_);
   EXPECT_THAT(take(), ElementsAre("Lag1 2"));
   sm = Pavo::makePtr<IntfCounterServiceSm>(&watcher_, shared_, dir_, nullptr);
   EXPECT_THAT(take(), ElementsAre("Ethernet1 1"));
   sm = Pavo::makePtr<IntfCounterServiceSm>(&watcher_, nullptr, nullptr, nullptr);
   EXPECT_EQ(sm->slices(), 0U);
}

}  // namespace
}  // namespace OrvSdkRpc
