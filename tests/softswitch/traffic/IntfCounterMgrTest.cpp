#include "softswitch/traffic/intf_counter_mgr.h"

#include <gmock/gmock.h>

#include "TrafficFixture.h"

namespace softswitch {
namespace {

using orv::intf_id_t;

class IntfCounterMgrTest : public TrafficFixture {
protected:
   const intf_id_t ethernet1_{"Ethernet1"};
};

TEST_F(IntfCounterMgrTest, onDemandItAnswersWhatHasFlowedByNow) {
   const IntfCounterMgr mgr(*intfs_, *traffic_, *writers_);
   EXPECT_EQ(mgr.counters(ethernet1_), orv::intf_counters_t());
   EXPECT_EQ(mgr.traffic_rates(ethernet1_), orv::intf_traffic_rates_t());
   traffic_->trafficIs("Ethernet1", {.inPackets = 10, .inBits = 8000, .outPackets = 20, .outBits = 1600});
   pass(2.5);
   const auto counters = mgr.counters(ethernet1_);
   EXPECT_EQ(counters.in_ucast_pkts(), 25u);
   EXPECT_EQ(counters.in_octets(), 2500u);
   EXPECT_EQ(counters.out_ucast_pkts(), 50u);
   EXPECT_EQ(counters.out_octets(), 500u);
   EXPECT_EQ(counters.in_errors(), 0u);
   EXPECT_GT(counters.sample_time(), 1e9) << "seconds since the epoch";
   const auto rates = mgr.traffic_rates(ethernet1_);
   EXPECT_EQ(rates.in_pkts_rate(), 10);
   EXPECT_EQ(rates.in_bits_rate(), 8000);
   EXPECT_EQ(rates.out_pkts_rate(), 20);
   EXPECT_EQ(rates.out_bits_rate(), 1600);
   EXPECT_GT(rates.sample_time(), 1e9);
   intfs_->linkIs(ethernet1_, false);
   runLoop();
   EXPECT_EQ(mgr.traffic_rates(ethernet1_).in_pkts_rate(), 0);
}

TEST_F(IntfCounterMgrTest, residentItAnswersTheLastSample) {
   const IntfCounterMgr mgr(*intfs_, *traffic_, *writers_);
   traffic_->trafficIs("Ethernet1", {.inPackets = 10, .inBits = 8000});
   writers_->residentIs(true);
   pass(2);
   sample();
   pass(3);
   EXPECT_EQ(mgr.counters(ethernet1_).in_ucast_pkts(), 20u);
   EXPECT_EQ(mgr.traffic_rates(ethernet1_).in_pkts_rate(), 10);
   EXPECT_GT(mgr.counters(ethernet1_).sample_time(), 1e9);
   sample();
   EXPECT_EQ(mgr.counters(ethernet1_).in_ucast_pkts(), 50u);
   writers_->writerUpIs("Fixed", false);
   runLoop();
   EXPECT_EQ(mgr.counters(ethernet1_), orv::intf_counters_t()) << "nobody counts it";
   EXPECT_EQ(mgr.traffic_rates(ethernet1_), orv::intf_traffic_rates_t());
}

TEST_F(IntfCounterMgrTest, idleAndUncountedInterfacesAnswerZeros) {
   const IntfCounterMgr mgr(*intfs_, *traffic_, *writers_);
   writers_->residentIs(true);
   sample();
   EXPECT_EQ(mgr.counters(ethernet1_).in_ucast_pkts(), 0u);
   EXPECT_GT(mgr.counters(ethernet1_).sample_time(), 0) << "it was looked at";
   EXPECT_EQ(mgr.traffic_rates(ethernet1_).sample_time(), 0) << "there never was a rate";
   EXPECT_EQ(mgr.counters(intf_id_t("Loopback0")), orv::intf_counters_t());
}

TEST_F(IntfCounterMgrTest, anUnknownInterfaceIsRefused) {
   const IntfCounterMgr mgr(*intfs_, *traffic_, *writers_);
   EXPECT_EQ(refusal([&] { mgr.counters(intf_id_t("Ethernet99")); }), "unknown interface Ethernet99");
   EXPECT_EQ(refusal([&] { mgr.traffic_rates(intf_id_t()); }), "unknown interface (none)");
}

}  // namespace
}  // namespace softswitch
