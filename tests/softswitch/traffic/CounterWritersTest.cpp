#include "softswitch/traffic/counter_writers.h"

#include <gmock/gmock.h>

#include <algorithm>

#include "TrafficFixture.h"

namespace softswitch {
namespace {

using Interface::AllEthIntfCounterRillo;
using Interface::EthIntfCounterMountHelper;
using orv::intf_id_t;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class CounterWritersTest : public TrafficFixture {
protected:
   // The directory as a reader sees it.
   std::vector<std::string> directory() const {
      return mounts_->state()->entity<Zelt::Dir>(Interface::ethWriterStatusPath)->names();
   }
   Pavo::Ptr<const AllEthIntfCounterRillo> table(const std::string& writer) const {
      return mounts_->shared()->entity<AllEthIntfCounterRillo>(
           EthIntfCounterMountHelper::path(writer, "current"));
   }
   Pavo::Ptr<const Rillo::Interface::AllIntfCounterDir> lags() const {
      return mounts_->shared()->entity<Rillo::Interface::AllIntfCounterDir>(Interface::lagCounterPath);
   }
   template <typename Table>
   static std::vector<std::string> rows(const Table& table) {
      std::vector<std::string> names;
      for (const auto& intf : table->keys())
         names.emplace_back(intf.name());
      std::sort(names.begin(), names.end());
      return names;
   }
   static std::vector<intf_id_t> ids(std::initializer_list<const char*> names) {
      std::vector<intf_id_t> result;
      for (const char* name : names)
         result.emplace_back(name);
      return result;
   }
   Interface::IntfRates rates(const std::string& writer, std::string_view intf) {
      return table(writer)->row(Lumic::IntfId(intf))->rates;
   }
   void resident() {
      writers_->residentIs(true);
      runLoop();
   }
};

TEST_F(CounterWritersTest, tablesAreKeptWhileCountersAreResident) {
   runLoop();
   EXPECT_THAT(directory(), IsEmpty());
   EXPECT_FALSE(lags());
   writers_->residentIs(true);
   EXPECT_THAT(directory(), IsEmpty()) << "the main loop has not been";
   EXPECT_TRUE(lags()) << "whoever asked looks once, in its next turn";
   runLoop();
   EXPECT_THAT(directory(), ElementsAre("Fixed"));
   ASSERT_TRUE(table("Fixed"));
   EXPECT_THAT(rows(table("Fixed")),
               ElementsAre("Ethernet1", "Ethernet2", "Ethernet3", "Ethernet4", "Management1"));
   ASSERT_TRUE(lags());
   EXPECT_THAT(rows(lags()), ElementsAre("Lag1"));
   writers_->residentIs(false);
   runLoop();
   EXPECT_THAT(directory(), IsEmpty());
   EXPECT_FALSE(table("Fixed"));
   EXPECT_FALSE(lags());
}

TEST_F(CounterWritersTest, aRateIsWhatFlowedSinceTheLastSample) {
   resident();
   EXPECT_TRUE(rates("Fixed", "Ethernet1").isEq({})) << "never had a rate";
   traffic_->trafficIs("Ethernet1", {.inPackets = 100, .inBits = 800, .outPackets = 50, .outBits = 400});
   pass(1);
   sample();
   auto now = rates("Fixed", "Ethernet1");
   EXPECT_EQ(now.inPktsRate, 100);
   EXPECT_EQ(now.inBitsRate, 800);
   EXPECT_EQ(now.outPktsRate, 50);
   EXPECT_EQ(now.outBitsRate, 400);
   EXPECT_GT(now.sampleTime, 1e9);
   pass(1);
   traffic_->trafficIs("Ethernet1", {.inPackets = 300});
   pass(1);
   sample();
   EXPECT_EQ(rates("Fixed", "Ethernet1").inPktsRate, 200) << "half of the time at each rate";
   EXPECT_EQ(table("Fixed")->row(Lumic::IntfId("Ethernet1"))->statistics.inUcastPkts, 500u);
   EXPECT_TRUE(rates("Fixed", "Ethernet2").isEq({}));
}

TEST_F(CounterWritersTest, anInterfaceThatComesToRestIsNewsOnce) {
   resident();
   traffic_->trafficIs("Ethernet1", {.inPackets = 100});
   pass(1);
   sample();
   traffic_->trafficIs("Ethernet1", {});
   std::vector<double> told;
   const auto reaction = table("Fixed")->reactorIs(
        [&](Lumic::IntfId intf) {
           if (intf.name() == "Ethernet1") told.push_back(rates("Fixed", "Ethernet1").inPktsRate);
        },
        context().scheduler);
   runLoop();
   told.clear();
   for (int i = 0; i < 4; ++i) {
      pass(1);
      sample();
   }
   EXPECT_THAT(told, ElementsAre(0));
   EXPECT_FALSE(rates("Fixed", "Ethernet1").isEq({})) << "it once had a rate";
   EXPECT_GT(writers_->sample(Lumic::IntfId("Ethernet1"))->time, 1e9);
}

TEST_F(CounterWritersTest, samplesComeByThemselvesOncePerInterval) {
   resident();
   traffic_->trafficIs("Ethernet1", {.inPackets = 100});
   const auto at = [&] { return table("Fixed")->row(Lumic::IntfId("Ethernet1"))->statistics.inUcastPkts; };
   pass(0.5);
   writers_->scheduleTask();
   runLoop();
   EXPECT_EQ(at(), 0u) << "not yet due";
   pass(0.5);
   writers_->scheduleTask();
   runLoop();
   EXPECT_EQ(at(), 100u);
   writers_->intervalIs(10'000'000);
   pass(0.01);
   writers_->scheduleTask();
   runLoop();
   EXPECT_EQ(at(), 101u);
}

TEST_F(CounterWritersTest, lagsHaveATableOfTheirOwn) {
   resident();
   traffic_->trafficIs("Lag1", {.outBits = 8000});
   pass(1);
   sample();
   EXPECT_EQ(lags()->row(Lumic::IntfId("Lag1"))->rates.outBitsRate, 8000);
   intfs_->intfDel(intf_id_t("Lag1"));
   intfs_->intfAdd(intf_id_t("Lag7"));
   runLoop();
   EXPECT_THAT(rows(lags()), ElementsAre("Lag7"));
}

TEST_F(CounterWritersTest, writersComeAndGoWithTheirInterfaces) {
   resident();
   writers_->writerIntfsAre("Linecard3", ids({"Ethernet3", "Ethernet4", "Ethernet3"}));
   runLoop();
   EXPECT_THAT(directory(), ElementsAre("Fixed", "Linecard3"));
   EXPECT_THAT(rows(table("Linecard3")), ElementsAre("Ethernet3", "Ethernet4"));
   EXPECT_THAT(rows(table("Fixed")), ElementsAre("Ethernet1", "Ethernet2", "Management1"));
   traffic_->trafficIs("Ethernet3", {.inPackets = 7});
   pass(1);
   sample();
   EXPECT_EQ(rates("Linecard3", "Ethernet3").inPktsRate, 7);

   writers_->writerUpIs("Linecard3", false);
   runLoop();
   EXPECT_THAT(directory(), ElementsAre("Fixed"));
   EXPECT_FALSE(table("Linecard3"));
   EXPECT_THAT(rows(table("Fixed")), ElementsAre("Ethernet1", "Ethernet2", "Management1"))
        << "they are uncounted";
   EXPECT_FALSE(writers_->sample(Lumic::IntfId("Ethernet3")));

   writers_->writerUpIs("Linecard3", true);
   pass(1);
   runLoop();
   EXPECT_EQ(rates("Linecard3", "Ethernet3").inPktsRate, 7);
   EXPECT_EQ(table("Linecard3")->row(Lumic::IntfId("Ethernet3"))->statistics.inUcastPkts, 14u)
        << "hardware went on";

   writers_->writerDel("Linecard3");
   writers_->writerDel("NeverThere");
   runLoop();
   EXPECT_THAT(directory(), ElementsAre("Fixed"));
   EXPECT_EQ(rows(table("Fixed")).size(), 5u);
   EXPECT_EQ(writers_->writers().size(), 1u);
}

TEST_F(CounterWritersTest, aNewWriterIsToldOfWhenItsTableIsThere) {
   resident();
   const auto dir = mounts_->state()->entity<Zelt::Dir>(Interface::ethWriterStatusPath);
   std::vector<std::string> seen;
   const auto reaction = dir->reactorIs([&](const std::string& name) {
      const auto status = dir->entityAs<Interface::EthIntfCounterWriterStatus>(name);
      seen.push_back(name + (status ? " " + status->name() : " gone") +
                     (table(name) ? " with table" : " without"));
   });
   writers_->writerUpIs("B", true);
   EXPECT_THAT(seen, IsEmpty()) << "only the main loop changes the directory";
   runLoop();
   writers_->writerUpIs("B", false);
   runLoop();
   EXPECT_THAT(seen, ElementsAre("B B with table", "B gone with table"));
}

TEST_F(CounterWritersTest, internalInterfacesAreInTheTables) {
   resident();
   for (const char* name : {"Internal1", "PeerEthernet1", "PeerLag1"})
      traffic_->trafficIs(name, {.inPackets = 5});
   pass(1);
   sample();
   EXPECT_EQ(rates("Fixed", "Internal1").inPktsRate, 5);
   EXPECT_EQ(rates("Fixed", "PeerEthernet1").inPktsRate, 5);
   EXPECT_THAT(rows(lags()), ElementsAre("Lag1", "PeerLag1"));
}

TEST_F(CounterWritersTest, aDamagedRowIsRepairedFromTheWritersCopy) {
   resident();
   traffic_->trafficIs("Ethernet1", {.inPackets = 100});
   traffic_->trafficIs("Lag1", {.inPackets = 3});
   pass(1);
   sample();
   const auto damageAndRead = [&](auto table, const char* name, double expected) {
      writers_->damageRow(name);
      bool thrown = false;
      try {
         (void)table->row(Lumic::IntfId(name));
      } catch (const Rillo::TableCorruption& corruption) {
         thrown = true;
         table->doCorruptionDetected(corruption);
      }
      EXPECT_TRUE(thrown);
      EXPECT_EQ(table->row(Lumic::IntfId(name))->rates.inPktsRate, expected);
   };
   damageAndRead(table("Fixed"), "Ethernet1", 100);
   damageAndRead(table("Fixed"), "Ethernet2", 0);
   damageAndRead(lags(), "Lag1", 3);
   EXPECT_EQ(writers_->writers()[0].corruptions, 2u);
   EXPECT_EQ(refusal([&] { writers_->damageRow("Loopback0"); }),
             "interface Loopback0 has no row in a counter table");
}

TEST_F(CounterWritersTest, theNextSampleRepairsADamagedRowToo) {
   resident();
   writers_->damageRow("Ethernet2");
   pass(1);
   sample();
   EXPECT_EQ(table("Fixed")->row(Lumic::IntfId("Ethernet2")), Interface::IntfCounter{});
}

TEST_F(CounterWritersTest, portsThatComeAndGoHaveRowsThatDo) {
   resident();
   intfs_->portAdd(intf_id_t("Ethernet9"));
   intfs_->portDel(intf_id_t("Ethernet1"));
   runLoop();
   EXPECT_THAT(rows(table("Fixed")),
               ElementsAre("Ethernet2", "Ethernet3", "Ethernet4", "Ethernet9", "Management1"));
}

TEST_F(CounterWritersTest, refusals) {
   EXPECT_THAT(refusal([&] { writers_->writerUpIs("", true); }), HasSubstr("expected 1 to 64 letters"));
   EXPECT_THAT(refusal([&] { writers_->writerUpIs("a/b", true); }), HasSubstr("counter writer 'a/b'"));
   EXPECT_THAT(refusal([&] { writers_->writerUpIs(std::string(65, 'w'), true); }),
               HasSubstr("expected 1 to 64"));
   EXPECT_EQ(refusal([&] { writers_->writerIntfsAre("w", ids({"Ethernet99"})); }),
             "unknown interface Ethernet99");
   EXPECT_EQ(refusal([&] { writers_->writerIntfsAre("w", ids({"Loopback0"})); }),
             "counter writer w: interface Loopback0 is of type loopback, not a port");
   EXPECT_EQ(refusal([&] { writers_->writerIntfsAre("Fixed", {}); }),
             "counter writer Fixed counts the ports that no other writer claims; it cannot be given a list");
   EXPECT_EQ(refusal([&] { writers_->writerDel("Fixed"); }), "counter writer Fixed cannot be removed");
   writers_->writerIntfsAre("first", ids({"Ethernet1"}));
   EXPECT_EQ(refusal([&] {
                writers_->writerIntfsAre("second", ids({"Ethernet2", "Ethernet1"}));
             }),
             "counter writer second: interface Ethernet1 is claimed by first");
   EXPECT_THAT(refusal([&] { writers_->intervalIs(999'999); }),
               HasSubstr("is out of range, expected 1 to 3600000"));
   EXPECT_THAT(refusal([&] { writers_->intervalIs(3'600'000'000'001); }), HasSubstr("is out of range"));
   for (std::size_t i = writers_->writers().size(); i < CounterWriters::writersMax; ++i)
      writers_->writerUpIs("w" + std::to_string(i), true);
   EXPECT_THAT(refusal([&] { writers_->writerUpIs("one-more", true); }), HasSubstr("table is full"));
}

}  // namespace
}  // namespace softswitch
