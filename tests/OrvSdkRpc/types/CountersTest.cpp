#include "OrvSdkRpc/types/Counters.h"

#include "Conversions.h"
#include "testing/values/GenerateStatus.h"

namespace {

using namespace types_test;
using namespace OrvSdkRpc::types;
namespace remote = orv::remote;

TEST(CountersTest, everyCounterOfAnInterfaceGoesWhereItBelongs) {
   orv::intf_counters_t counters;
   counters.out_ucast_pkts_is(18446744073709551615U);
   counters.out_multicast_pkts_is(2);
   counters.out_broadcast_pkts_is(3);
   counters.in_ucast_pkts_is(4);
   counters.in_multicast_pkts_is(5);
   counters.in_broadcast_pkts_is(6);
   counters.out_octets_is(7);
   counters.in_octets_is(8);
   counters.out_discards_is(9);
   counters.out_errors_is(10);
   counters.in_discards_is(11);
   counters.in_errors_is(12);
   counters.sample_time_is(13.25);
   EXPECT_TRUE(same(convert(counters), parsed<remote::IntfCounters>(R"(
      out_ucast_pkts: 18446744073709551615 out_multicast_pkts: 2 out_broadcast_pkts: 3
      in_ucast_pkts: 4 in_multicast_pkts: 5 in_broadcast_pkts: 6 out_octets: 7 in_octets: 8
      out_discards: 9 out_errors: 10 in_discards: 11 in_errors: 12 sample_time: 13.25)")));
}

TEST(CountersTest, everyRateGoesWhereItBelongs) {
   orv::intf_traffic_rates_t counters;
   counters.out_pkts_rate_is(1.25);
   counters.in_pkts_rate_is(2.25);
   counters.out_bits_rate_is(3.25);
   counters.in_bits_rate_is(4.25);
   counters.sample_time_is(5.25);
   EXPECT_TRUE(same(convert(counters), parsed<remote::IntfTrafficRates>(R"(
      out_pkts_rate: 1.25 in_pkts_rate: 2.25 out_bits_rate: 3.25 in_bits_rate: 4.25 sample_time: 5.25)")));
}

TEST(CountersTest, everyCounterOfAPortGoesWhereItBelongs) {
   orv::eth_phy_intf_counters_t counters;
   counters.single_collision_frames_is(18446744073709551615U);
   counters.multiple_collision_frames_is(2);
   counters.fcs_errors_is(3);
   counters.alignment_errors_is(4);
   counters.deferred_transmissions_is(5);
   counters.late_collisions_is(6);
   counters.excessive_collisions_is(7);
   counters.internal_mac_transmit_errors_is(8);
   counters.carrier_sense_errors_is(9);
   counters.internal_mac_receive_errors_is(10);
   counters.frame_too_shorts_is(11);
   counters.frame_too_longs_is(12);
   counters.sqe_test_errors_is(13);
   counters.symbol_errors_is(14);
   counters.in_unknown_opcodes_is(15);
   counters.out_pause_frames_is(16);
   counters.in_pause_frames_is(17);
   counters.fragments_is(18);
   counters.jabbers_is(19);
   EXPECT_TRUE(same(convert(counters), parsed<remote::EthPhyIntfCounters>(R"(
      single_collision_frames: 18446744073709551615 multiple_collision_frames: 2 fcs_errors: 3
      alignment_errors: 4 deferred_transmissions: 5 late_collisions: 6 excessive_collisions: 7
      internal_mac_transmit_errors: 8 carrier_sense_errors: 9 internal_mac_receive_errors: 10
      frame_too_shorts: 11 frame_too_longs: 12 sqe_test_errors: 13 symbol_errors: 14
      in_unknown_opcodes: 15 out_pause_frames: 16 in_pause_frames: 17 fragments: 18 jabbers: 19)")));
}

TEST(CountersTest, everyBinGoesWhereItBelongs) {
   orv::eth_phy_intf_bin_counters_t counters;
   counters.in_64_octet_frames_is(18446744073709551615U);
   counters.in_65_to_127_octet_frames_is(2);
   counters.in_128_to_255_octet_frames_is(3);
   counters.in_256_to_511_octet_frames_is(4);
   counters.in_512_to_1023_octet_frames_is(5);
   counters.in_1024_to_1522_octet_frames_is(6);
   counters.in_1523_to_max_octet_frames_is(7);
   counters.out_64_octet_frames_is(8);
   counters.out_65_to_127_octet_frames_is(9);
   counters.out_128_to_255_octet_frames_is(10);
   counters.out_256_to_511_octet_frames_is(11);
   counters.out_512_to_1023_octet_frames_is(12);
   counters.out_1024_to_1522_octet_frames_is(13);
   counters.out_1523_to_max_octet_frames_is(14);
   EXPECT_TRUE(same(convert(counters), parsed<remote::EthPhyIntfBinCounters>(R"(
      in_64_octet_frames: 18446744073709551615 in_65_to_127_octet_frames: 2
      in_128_to_255_octet_frames: 3 in_256_to_511_octet_frames: 4 in_512_to_1023_octet_frames: 5
      in_1024_to_1522_octet_frames: 6 in_1523_to_max_octet_frames: 7 out_64_octet_frames: 8
      out_65_to_127_octet_frames: 9 out_128_to_255_octet_frames: 10 out_256_to_511_octet_frames: 11
      out_512_to_1023_octet_frames: 12 out_1024_to_1522_octet_frames: 13
      out_1523_to_max_octet_frames: 14)")));
}

TEST(CountersTest, aCounterOfAGroupsEntryDoesNotNameItsEntry) {
   orv::nexthop_group_entry_counter_t counters;
   counters.packets_is(18446744073709551615U);
   counters.bytes_is(2);
   counters.valid_is(true);
   EXPECT_TRUE(same(convert(counters), parsed<remote::NexthopGroupCounter>(R"(
      packets: 18446744073709551615 bytes: 2 valid: true)")));
}

}  // namespace
