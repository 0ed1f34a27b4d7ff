#include "OrvSdkRpc/hardware/PolicyMapCountersEncoder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <iterator>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "OrvSdkRpc/hardware/PbrPolicyCountersMgr.h"
#include "testing/server/PolicyCounterTables.h"

namespace OrvSdkRpc {
namespace {

namespace remote = orv::remote;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr PbrCountersEncodingFlags noFlags;
constexpr PbrCountersEncodingFlags longKeyFlag(PbrCountersEncodingFlags::longKeyBit);
constexpr PbrCountersEncodingFlags deleteFlag(PbrCountersEncodingFlags::deleteBit);

class PolicyMapCountersEncoderTest : public PolicyCounterTables, public testing::Test {
protected:
   PolicyMapCountersEncoderTest() {
      mount(*mgr_);
      const orv::sdk_scoped_lock lock;
      encoder_.emplace(*mgr_, &policies_);
   }
   ~PolicyMapCountersEncoderTest() override {
      const orv::sdk_scoped_lock lock;
      encoder_.reset();
      mgr_.reset();
   }

   PbrCounters counters(const std::string& className = "web") const {
      return {.shortKey = 7, .key = keyOf(className), .status = &counted_};
   }
   std::string encoded(const PbrCounters& counters, const PbrCountersEncodingFlags& flags) const {
      remote::PolicyMapCounters entry;
      return encoder_->encodeEntry(entry, counters, flags) ? shown(entry) : "nothing";
   }
   // The actions of the class "web" as the wire has them.
   std::string wireActions(const std::vector<Pbr::PbrAction>& actions) {
      actionsAre("web", actions);
      const std::string text = encoded(counters(), noFlags);
      const std::string counted = "7 5 packets 500 bytes";
      EXPECT_TRUE(text.starts_with(counted)) << text;
      return text.substr(counted.size());
   }
   // The entries of each response.
   std::vector<std::vector<std::string>> dumped(unsigned long limit) const {
      std::vector<std::vector<std::string>> responses;
      for (const auto& response : encoder_->dumpMessages(limit)) {
         std::vector<std::string>& entries = responses.emplace_back();
         for (const auto& entry : response.data())
            entries.push_back(shown(entry));
      }
      return responses;
   }

   const Pbr::CounterStatus counted_{.packets = 5, .bytes = 500, .time = 10.5};
   std::optional<PbrPolicyCountersMgr> mgr_{std::in_place, nullptr};
   std::optional<PolicyMapCountersEncoder> encoder_;
};

TEST_F(PolicyMapCountersEncoderTest, theFlagsSayWhatAnEntryHas) {
   EXPECT_EQ(encoded(counters(), noFlags), "7 5 packets 500 bytes");
   EXPECT_EQ(encoded(counters(), longKeyFlag), "7 edge/web/10 5 packets 500 bytes");
   EXPECT_EQ(encoded(counters(), deleteFlag), "7 edge/web/10 gone");
   EXPECT_EQ(encoded(counters(), PbrCountersEncodingFlags(3)), "7 edge/web/10 gone");
}

TEST_F(PolicyMapCountersEncoderTest, aCounterThatIsGoneCanOnlyBeDeleted) {
   auto gone = counters();
   gone.status = nullptr;
   EXPECT_EQ(encoded(gone, noFlags), "nothing");
   EXPECT_EQ(encoded(gone, longKeyFlag), "nothing");
   EXPECT_EQ(encoded(gone, deleteFlag), "7 edge/web/10 gone");
}

TEST_F(PolicyMapCountersEncoderTest, aPolicyIsKnownByItsNameAndTheFeaturePbr) {
   remote::PolicyMapCounters entry;
   PolicyMapCountersEncoder::encodeLongKey({"edge", "slice", "web", "10"}, entry);
   EXPECT_EQ(entry.key_name().class_name(), "web");
   EXPECT_EQ(entry.key_name().rule_name(), "10");
   EXPECT_EQ(entry.key_name().policy_map_key().name(), "edge");
   EXPECT_EQ(entry.key_name().policy_map_key().feature(), 1);
   EXPECT_EQ(entry.key(), 0U);
}

TEST_F(PolicyMapCountersEncoderTest, theTimeIsShifted) {
   remote::PolicyMapCounters entry;
   EXPECT_TRUE(encoder_->encodeEntry(entry, counters(), noFlags, 100));
   EXPECT_EQ(entry.counters().time(), 110.5);
   entry.Clear();
   EXPECT_TRUE(encoder_->encodeEntry(entry, counters(), noFlags));
   EXPECT_EQ(entry.counters().time(), 10.5);
}

TEST_F(PolicyMapCountersEncoderTest, eachActionHasItsPlace) {
   EXPECT_EQ(wireActions({}), "");
   EXPECT_EQ(wireActions({Pbr::PbrDropAction{}}), " drop");
   EXPECT_EQ(wireActions({Pbr::PbrTtlAction{.ttl = 9}}), " out ttl 9");
   EXPECT_EQ(wireActions({Pbr::PbrNexthopAction{.nexthops = {"\x0a\x01\x01\x01", "\x0a\x01\x01\x02"}}}),
             " out to 2 hops");
   EXPECT_EQ(wireActions({Pbr::PbrNexthopGroupAction{.nexthopGroupName = "core"}}), " out through core");
   EXPECT_EQ(wireActions({Pbr::PbrOtherAction{.type = 6}}), "");
}

TEST_F(PolicyMapCountersEncoderTest, theLaterOfDropAndTtlWins) {
   EXPECT_EQ(wireActions({Pbr::PbrDropAction{}, Pbr::PbrTtlAction{.ttl = 9}}), " out ttl 9");
   EXPECT_EQ(wireActions({Pbr::PbrTtlAction{.ttl = 9}, Pbr::PbrDropAction{}}), " drop");
}

TEST_F(PolicyMapCountersEncoderTest, theTtlStandsBesideTheWayAndTheLaterWayWins) {
   const Pbr::PbrNexthopAction hops{.nexthops = {"\x0a\x01\x01\x01"}};
   const Pbr::PbrNexthopGroupAction group{.nexthopGroupName = "core"};
   EXPECT_EQ(wireActions({Pbr::PbrTtlAction{.ttl = 9}, hops}), " out to 1 hops ttl 9");
   EXPECT_EQ(wireActions({hops, Pbr::PbrOtherAction{.type = 6}, Pbr::PbrTtlAction{.ttl = 9}, group}),
             " out through core ttl 9");
   EXPECT_EQ(wireActions({group, Pbr::PbrNexthopGroupAction{.nexthopGroupName = "edge"}, hops}),
             " out to 1 hops");
}

TEST_F(PolicyMapCountersEncoderTest, theAddressesGoOutAsTheyAre) {
   actionsAre("web", {Pbr::PbrNexthopAction{.nexthops = {std::string("\x0a\0\0\x01", 4)}}});
   remote::PolicyMapCounters entry;
   EXPECT_TRUE(encoder_->encodeEntry(entry, counters(), noFlags));
   EXPECT_EQ(entry.policy_action().out().nexthops().nexthops(0), std::string("\x0a\0\0\x01", 4));
}

TEST_F(PolicyMapCountersEncoderTest, aClassIsLookedUpInTheSwitchAndThenInItsSlices) {
   const auto slice = [this](const std::string& name, const std::string& className, std::uint32_t ttl) {
      const auto status = Pavo::makePtr<Pbr::Status>(name);
      const orv::sdk_scoped_lock lock;
      Pbr::PolicyMapStatus policy;
      policy.classMapStatus[className] = {.sequence = 1, .actions = {Pbr::PbrTtlAction{.ttl = ttl}}};
      status->rowIs("edge", policy);
      slices_->entityIs(name, status);
   };
   EXPECT_EQ(encoded(counters(), noFlags), "7 5 packets 500 bytes") << "no one has the class";
   slice("Linecard2", "web", 2);
   EXPECT_EQ(encoded(counters(), noFlags), "7 5 packets 500 bytes out ttl 2");
   slice("Linecard1", "mail", 1);
   EXPECT_EQ(encoded(counters(), noFlags), "7 5 packets 500 bytes out ttl 2");
   slice("Linecard1", "web", 1);
   EXPECT_EQ(encoded(counters(), noFlags), "7 5 packets 500 bytes out ttl 1");
   {
      const orv::sdk_scoped_lock lock;
      slices_->entityIs("Foreign", Pavo::makePtr<Zelt::Dir>());
   }
   EXPECT_EQ(encoded(counters(), noFlags), "7 5 packets 500 bytes out ttl 1");
   actionsAre("mail", {});
   EXPECT_EQ(encoded(counters(), noFlags), "7 5 packets 500 bytes out ttl 1");
   actionsAre("web", {Pbr::PbrDropAction{}});
   EXPECT_EQ(encoded(counters(), noFlags), "7 5 packets 500 bytes drop");
}

TEST_F(PolicyMapCountersEncoderTest, withoutAStatusNoActionIsTold) {
   actionsAre("web", {Pbr::PbrDropAction{}});
   PbrPolicyCountersMgr unmounted(nullptr);
   const PolicyMapCountersEncoder encoder(unmounted, nullptr);
   EXPECT_EQ(encoder.classMapStatus("edge", "web"), nullptr);
   EXPECT_THAT(encoder.dumpMessages(1000), IsEmpty());
}

TEST_F(PolicyMapCountersEncoderTest, aDumpHasEveryCounterWithItsLongKey) {
   EXPECT_THAT(dumped(65535), IsEmpty());
   rowIs("web", 5);
   rowIs("mail", 6);
   runLoop();
   rowIs("voice", 7);
   rowDel("mail");
   actionsAre("web", {Pbr::PbrDropAction{}});
   EXPECT_THAT(dumped(65535), ElementsAre(ElementsAre("1 edge/web/10 5 packets 500 bytes drop",
                                                      "3 edge/voice/10 7 packets 700 bytes")));
}

TEST_F(PolicyMapCountersEncoderTest, aDumpHasWallClockTimes) {
   {
      const orv::sdk_scoped_lock lock;
      table_->rowIs(keyOf("web"), {.time = Zelt::Clock::seconds(Zelt::Clock::steadyNanos())});
   }
   const auto responses = encoder_->dumpMessages(65535);
   ASSERT_EQ(responses.size(), 1U);
   EXPECT_NEAR(responses.front().data(0).counters().time(), Zelt::Clock::seconds(Zelt::Clock::wallNanos()),
               60);
}

TEST_F(PolicyMapCountersEncoderTest, aResponseOfADumpStaysBelowTheLimit) {
   constexpr int rows = 50;
   for (int i = 0; i < rows; ++i)
      rowIs(std::to_string(100 + i), 1);
   const auto whole = encoder_->dumpMessages(1'000'000);
   ASSERT_EQ(whole.size(), 1U);
   const auto size = whole.front().ByteSizeLong();
   EXPECT_EQ(encoder_->dumpMessages(size + 1).size(), 1U);
   EXPECT_EQ(encoder_->dumpMessages(size).size(), 2U) << "it has to be below the limit";
   int entries = 0;
   const auto responses = encoder_->dumpMessages(size / 3);
   EXPECT_EQ(responses.size(), 4U);
   for (const auto& response : responses) {
      EXPECT_LT(response.ByteSizeLong(), size / 3);
      entries += response.data_size();
   }
   EXPECT_EQ(entries, rows);
}

TEST_F(PolicyMapCountersEncoderTest, anEntryAboveTheLimitIsAResponseOfItsOwn) {
   rowIs("a", 1);
   rowIs(std::string(500, 'b'), 2);
   rowIs("c", 3);
   const auto responses = encoder_->dumpMessages(300);
   ASSERT_EQ(responses.size(), 3U);
   for (const auto& response : responses)
      EXPECT_EQ(response.data_size(), 1);
   EXPECT_GT(std::next(responses.begin())->ByteSizeLong(), 500U);
}

}  // namespace
}  // namespace OrvSdkRpc
