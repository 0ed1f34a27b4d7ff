#include "OrvSdkRpc/types/Counters.h"

namespace OrvSdkRpc::types {

namespace remote = orv::remote;

remote::IntfCounters convert(const orv::intf_counters_t& counters) {
   remote::IntfCounters message;
   message.set_out_ucast_pkts(counters.out_ucast_pkts());
   message.set_out_multicast_pkts(counters.out_multicast_pkts());
   message.set_out_broadcast_pkts(counters.out_broadcast_pkts());
   message.set_in_ucast_pkts(counters.in_ucast_pkts());
   message.set_in_multicast_pkts(counters.in_multicast_pkts());
   message.set_in_broadcast_pkts(counters.in_broadcast_pkts());
   message.set_out_octets(counters.out_octets());
   message.set_in_octets(counters.in_octets());
   message.set_out_discards(counters.out_discards());
   message.set_out_errors(counters.out_errors());
   message.set_in_discards(counters.in_discards());
   message.set_in_errors(counters.in_errors());
   message.set_sample_time(counters.sample_time());
   return message;
}

remote::IntfTrafficRates convert(const orv::intf_traffic_rates_t& rates) {
   remote::IntfTrafficRates message;
   convert(rates, message);
   return message;
}

void convert(const orv::intf_traffic_rates_t& rates, remote::IntfTrafficRates& message) {
   message.set_out_pkts_rate(rates.out_pkts_rate());
   message.set_in_pkts_rate(rates.in_pkts_rate());
   message.set_out_bits_rate(rates.out_bits_rate());
   message.set_in_bits_rate(rates.in_bits_rate());
   message.set_sample_time(rates.sample_time());
}

remote::EthPhyIntfCounters convert(const orv::eth_phy_intf_counters_t& counters) {
   remote::EthPhyIntfCounters message;
   message.set_single_collision_frames(counters.single_collision_frames());
   message.set_multiple_collision_frames(counters.multiple_collision_frames());
   message.set_fcs_errors(counters.fcs_errors());
   message.set_alignment_errors(counters.alignment_errors());
   message.set_deferred_transmissions(counters.deferred_transmissions());
   message.set_late_collisions(counters.late_collisions());
   message.set_excessive_collisions(counters.excessive_collisions());
   message.set_internal_mac_transmit_errors(counters.internal_mac_transmit_errors());
   message.set_carrier_sense_errors(counters.carrier_sense_errors());
   message.set_internal_mac_receive_errors(counters.internal_mac_receive_errors());
   message.set_frame_too_shorts(counters.frame_too_shorts());
   message.set_frame_too_longs(counters.frame_too_longs());
   message.set_sqe_test_errors(counters.sqe_test_errors());
   message.set_symbol_errors(counters.symbol_errors());
   message.set_in_unknown_opcodes(counters.in_unknown_opcodes());
   message.set_out_pause_frames(counters.out_pause_frames());
   message.set_in_pause_frames(counters.in_pause_frames());
   message.set_fragments(counters.fragments());
   message.set_jabbers(counters.jabbers());
   return message;
}

remote::EthPhyIntfBinCounters convert(const orv::eth_phy_intf_bin_counters_t& counters) {
   remote::EthPhyIntfBinCounters message;
   message.set_in_64_octet_frames(counters.in_64_octet_frames());
   message.set_in_65_to_127_octet_frames(counters.in_65_to_127_octet_frames());
   message.set_in_128_to_255_octet_frames(counters.in_128_to_255_octet_frames());
   message.set_in_256_to_511_octet_frames(counters.in_256_to_511_octet_frames());
   message.set_in_512_to_1023_octet_frames(counters.in_512_to_1023_octet_frames());
   message.set_in_1024_to_1522_octet_frames(counters.in_1024_to_1522_octet_frames());
   message.set_in_1523_to_max_octet_frames(counters.in_1523_to_max_octet_frames());
   message.set_out_64_octet_frames(counters.out_64_octet_frames());
   message.set_out_65_to_127_octet_frames(counters.out_65_to_127_octet_frames());
   message.set_out_128_to_255_octet_frames(counters.out_128_to_255_octet_frames());
   message.set_out_256_to_511_octet_frames(counters.out_256_to_511_octet_frames());
   message.set_out_512_to_1023_octet_frames(counters.out_512_to_1023_octet_frames());
   message.set_out_1024_to_1522_octet_frames(counters.out_1024_to_1522_octet_frames());
   message.set_out_1523_to_max_octet_frames(counters.out_1523_to_max_octet_frames());
   return message;
}

remote::NexthopGroupCounter convert(const orv::nexthop_group_entry_counter_t& counter) {
   remote::NexthopGroupCounter message;
   message.set_packets(counter.packets());
   message.set_bytes(counter.bytes());
   message.set_valid(counter.valid());
   return message;
}

}  // namespace OrvSdkRpc::types
