#include "OrvSdkRpc/hardware/EthIntfCounterSliceSm.h"

#include "testing/server/CounterTables.h"
#include "testing/server/TraceCapture.h"

namespace OrvSdkRpc {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class EthIntfCounterSliceSmTest : public CounterTables {
protected:
   void SetUp() override { watcher_.startWatching(listener()); }

   IntfTrafficRatesWatcher watcher_{nullptr};
   const Pavo::Ptr<EthTable> table_ = Pavo::makePtr<EthTable>("table");
   Pavo::Ptr<EthIntfCounterSliceSm> slice_ = Pavo::makePtr<EthIntfCounterSliceSm>("a", &watcher_, table_);
};

TEST_F(EthIntfCounterSliceSmTest, knowsItsWriter) {
   EXPECT_EQ(slice_->name(), "a");
   EXPECT_EQ(slice_->counters(), table_);
}

TEST_F(EthIntfCounterSliceSmTest, tellsEachChangedRowOnce) {
   const orvtest::TraceCapture traces("intf_counter/8");
   table_->rowIs(id("Ethernet1"), row(1));
   table_->rowIs(id("Ethernet2"), row(2));
   table_->rowIs(id("Ethernet1"), row(3));
   EXPECT_THAT(take(), ElementsAre("Ethernet1 3", "Ethernet2 2"));
   EXPECT_EQ(traces.count("Eth counters update"), 2U);
   EXPECT_THAT(take(), IsEmpty());
}

TEST_F(EthIntfCounterSliceSmTest, internalAndPeerInterfacesAreNeverTold) {
   const orvtest::TraceCapture traces("intf_counter/8");
   for (const char* name : {"Internal1", "PeerEthernet1", "PeerEthernet3/1", "PeerLag4"})
      table_->rowIs(id(name), row(5));
   EXPECT_THAT(take(), IsEmpty());
   EXPECT_EQ(traces.count("Treating interface as internal. Leaving."), 4U);
   EXPECT_EQ(traces.count("Eth counters update"), 0U);
}

TEST_F(EthIntfCounterSliceSmTest, aRowWithoutAnyRateIsNoNews) {
   table_->rowIs(id("Ethernet1"), {});
   table_->rowIs(id("Ethernet2"), {.statistics = {.inUcastPkts = 5, .sampleTime = 1}, .rates = {}});
   EXPECT_THAT(take(), IsEmpty());
   table_->rowIs(id("Ethernet1"), row(0, 7));
   EXPECT_THAT(take(), ElementsAre("Ethernet1 0")) << "it had a rate once, and has come to rest";
}

TEST_F(EthIntfCounterSliceSmTest, aRowThatIsGoneIsNoNews) {
   table_->rowIs(id("Ethernet1"), row(1));
   table_->rowDel(id("Ethernet1"));
   EXPECT_THAT(take(), IsEmpty());
   slice_->handleEthCounter(id("Ethernet9"));
   EXPECT_THAT(take(), IsEmpty());
}

TEST_F(EthIntfCounterSliceSmTest, aDamagedRowIsRepairedAndReadAgain) {
   table_->repairIs([this](const Lumic::IntfId& intf) { table_->rowIs(intf, row(9)); });
   table_->rowIs(id("Ethernet1"), row(1));
   take();
   ASSERT_TRUE(table_->damageRow(id("Ethernet1")));
   EXPECT_THAT(take(), ElementsAre("Ethernet1 9", "Ethernet1 9"))
        << "the damage was told, and so is the repair";
   EXPECT_EQ(table_->corruptions(), 1U);
}

TEST_F(EthIntfCounterSliceSmTest, aDamagedRowThatNobodyRepairsIsLeftOut) {
   table_->rowIs(id("Ethernet1"), row(1));
   table_->damageRow(id("Ethernet1"));
   table_->rowIs(id("Ethernet2"), row(2));
   EXPECT_THAT(take(), ElementsAre("Ethernet2 2"));
   EXPECT_EQ(table_->corruptions(), 1U);
   EXPECT_FALSE(table_->contains(id("Ethernet1")));
}

TEST_F(EthIntfCounterSliceSmTest, aSliceThatIsGoneTellsNothing) {
   table_->rowIs(id("Ethernet1"), row(1));
   slice_ = nullptr;
   EXPECT_THAT(take(), IsEmpty());
}

}  // namespace
}  // namespace OrvSdkRpc
