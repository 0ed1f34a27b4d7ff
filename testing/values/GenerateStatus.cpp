#include "testing/values/GenerateStatus.h"

#include <set>
#include <string>
#include <utility>
#include <vector>

namespace orvtest {

namespace {

// A time or a rate, with a fraction that a double represents exactly.
double fraction(ValueSource& source) {
   return source.number<std::uint32_t>() / 16.0;
}

}  // namespace

template <>
orv::macsec_key_t generate(ValueSource& source) {
   auto cak = source.text();
   auto ckn = source.text();
   return {std::move(cak), std::move(ckn), source.flag()};
}

template <>
orv::macsec_profile_t generate(ValueSource& source) {
   orv::macsec_profile_t profile(source.text());
   profile.key_server_priority_is(source.number<std::uint8_t>());
   profile.primary_key_is(generate<orv::macsec_key_t>(source));
   profile.fallback_key_is(generate<orv::macsec_key_t>(source));
   profile.rekey_period_is(source.number<std::uint32_t>());
   profile.mka_life_time_is(source.number<std::uint32_t>());
   profile.cipher_is(source.member<orv::macsec_cipher_suite_t>(4));
   profile.dot1x_is(source.flag());
   profile.include_sci_is(source.flag());
   profile.lldp_bypass_level_is(source.member<orv::macsec_bypass_t>(2));
   profile.traffic_policy_is(source.member<orv::macsec_profile_traffic_policy_t>(3));
   profile.allow_unprotected_is(source.flag());
   profile.replay_protection_is(source.flag());
   profile.replay_protection_window_is(source.number<std::uint32_t>());
   profile.key_retirement_immediate_is(source.flag());
   std::set<orv::intf_id_t> intfs;
   for (std::uint32_t i = source.below(4); i > 0; --i)
      intfs.insert(generate<orv::intf_id_t>(source));
   profile.intfs_is(std::move(intfs));
   return profile;
}

template <>
orv::macsec_intf_status_t generate(ValueSource& source) {
   const auto keyStatus = source.member<orv::macsec_intf_key_status_t>(5);
   return {keyStatus, source.member<orv::macsec_intf_traffic_status_t>(2)};
}

template <>
orv::macsec_intf_counters_t generate(ValueSource& source) {
   orv::macsec_intf_counters_t counters;
   counters.in_octets_decrypted_is(source.number<std::uint64_t>());
   counters.in_pkts_decrypted_is(source.number<std::uint64_t>());
   counters.in_pkts_not_valid_is(source.number<std::uint64_t>());
   counters.out_octets_encrypted_is(source.number<std::uint64_t>());
   counters.out_pkts_encrypted_is(source.number<std::uint64_t>());
   return counters;
}

template <>
orv::bgp_path_attr_t generate(ValueSource& source) {
   orv::bgp_path_attr_t attr;
   attr.next_hop_is(generate<orv::ip_addr_t>(source));
   attr.origin_is(source.number<std::uint32_t>());
   attr.med_is(source.number<std::uint32_t>());
   attr.local_pref_is(source.number<std::uint32_t>());
   std::vector<std::uint32_t> communities(source.below(5));
   for (std::uint32_t& community : communities)
      community = source.number<std::uint32_t>();
   attr.community_list_is(std::move(communities));
   return attr;
}

template <>
orv::bgp_path_t generate(ValueSource& source) {
   auto key = generate<orv::bgp_path_key_t>(source);
   return {std::move(key), generate<orv::bgp_path_attr_t>(source)};
}

template <>
orv::eth_lag_intf_t generate(ValueSource& source) {
   orv::eth_lag_intf_t lag(generate<orv::intf_id_t>(source));
   lag.speed_is(source.number<std::uint64_t>());
   lag.min_links_is(source.number<std::uint32_t>());
   lag.fallback_type_is(source.member<orv::eth_lag_intf_fallback_type_t>(3));
   lag.fallback_timeout_is(source.number<std::uint32_t>());
   lag.fallback_timeout_default_is(source.number<std::uint32_t>());
   lag.min_speed_is(source.number<std::uint64_t>());
   return lag;
}

template <>
orv::eth_lag_intf_membership_t generate(ValueSource& source) {
   orv::eth_lag_intf_membership_t membership(generate<orv::intf_id_t>(source));
   membership.active_is(source.flag());
   membership.reason_is(source.text());
   membership.member_time_is(fraction(source));
   membership.mode_is(source.member<orv::eth_lag_intf_member_lacp_mode_t>(3));
   return membership;
}

template <>
orv::intf_counters_t generate(ValueSource& source) {
   orv::intf_counters_t counters;
   counters.out_ucast_pkts_is(source.number<std::uint64_t>());
   counters.out_multicast_pkts_is(source.number<std::uint64_t>());
   counters.out_broadcast_pkts_is(source.number<std::uint64_t>());
   counters.in_ucast_pkts_is(source.number<std::uint64_t>());
   counters.in_multicast_pkts_is(source.number<std::uint64_t>());
   counters.in_broadcast_pkts_is(source.number<std::uint64_t>());
   counters.out_octets_is(source.number<std::uint64_t>());
   counters.in_octets_is(source.number<std::uint64_t>());
   counters.out_discards_is(source.number<std::uint64_t>());
   counters.out_errors_is(source.number<std::uint64_t>());
   counters.in_discards_is(source.number<std::uint64_t>());
   counters.in_errors_is(source.number<std::uint64_t>());
   counters.sample_time_is(fraction(source));
   return counters;
}

template <>
orv::intf_traffic_rates_t generate(ValueSource& source) {
   orv::intf_traffic_rates_t rates;
   rates.out_pkts_rate_is(fraction(source));
   rates.in_pkts_rate_is(fraction(source));
   rates.out_bits_rate_is(fraction(source));
   rates.in_bits_rate_is(fraction(source));
   rates.sample_time_is(fraction(source));
   return rates;
}

template <>
orv::eth_phy_intf_counters_t generate(ValueSource& source) {
   orv::eth_phy_intf_counters_t counters;
   counters.single_collision_frames_is(source.number<std::uint64_t>());
   counters.multiple_collision_frames_is(source.number<std::uint64_t>());
   counters.fcs_errors_is(source.number<std::uint64_t>());
   counters.alignment_errors_is(source.number<std::uint64_t>());
   counters.deferred_transmissions_is(source.number<std::uint64_t>());
   counters.late_collisions_is(source.number<std::uint64_t>());
   counters.excessive_collisions_is(source.number<std::uint64_t>());
   counters.internal_mac_transmit_errors_is(source.number<std::uint64_t>());
   counters.carrier_sense_errors_is(source.number<std::uint64_t>());
   counters.internal_mac_receive_errors_is(source.number<std::uint64_t>());
   counters.frame_too_shorts_is(source.number<std::uint64_t>());
   counters.frame_too_longs_is(source.number<std::uint64_t>());
   counters.sqe_test_errors_is(source.number<std::uint64_t>());
   counters.symbol_errors_is(source.number<std::uint64_t>());
   counters.in_unknown_opcodes_is(source.number<std::uint64_t>());
   counters.out_pause_frames_is(source.number<std::uint64_t>());
   counters.in_pause_frames_is(source.number<std::uint64_t>());
   counters.fragments_is(source.number<std::uint64_t>());
   counters.jabbers_is(source.number<std::uint64_t>());
   return counters;
}

template <>
orv::eth_phy_intf_bin_counters_t generate(ValueSource& source) {
   orv::eth_phy_intf_bin_counters_t counters;
   counters.in_64_octet_frames_is(source.number<std::uint64_t>());
   counters.in_65_to_127_octet_frames_is(source.number<std::uint64_t>());
   counters.in_128_to_255_octet_frames_is(source.number<std::uint64_t>());
   counters.in_256_to_511_octet_frames_is(source.number<std::uint64_t>());
   counters.in_512_to_1023_octet_frames_is(source.number<std::uint64_t>());
   counters.in_1024_to_1522_octet_frames_is(source.number<std::uint64_t>());
   counters.in_1523_to_max_octet_frames_is(source.number<std::uint64_t>());
   counters.out_64_octet_frames_is(source.number<std::uint64_t>());
   counters.out_65_to_127_octet_frames_is(source.number<std::uint64_t>());
   counters.out_128_to_255_octet_frames_is(source.number<std::uint64_t>());
   counters.out_256_to_511_octet_frames_is(source.number<std::uint64_t>());
   counters.out_512_to_1023_octet_frames_is(source.number<std::uint64_t>());
   counters.out_1024_to_1522_octet_frames_is(source.number<std::uint64_t>());
   counters.out_1523_to_max_octet_frames_is(source.number<std::uint64_t>());
   return counters;
}

template <>
orv::nexthop_group_entry_counter_t generate(ValueSource& source) {
   orv::nexthop_group_entry_counter_t counter;
   counter.packets_is(source.number<std::uint64_t>());
   counter.bytes_is(source.number<std::uint64_t>());
   counter.valid_is(source.flag());
   return counter;
}

template <>
orv::cmdapi_response_t generate(ValueSource& source) {
   orv::cmdapi_response_t response;
   response.success_is(source.flag());
   response.error_code_is(source.number<std::uint32_t>());
   response.error_message_is(source.text());
   std::vector<std::string> responses(source.below(4));
   for (std::string& text : responses)
      text = source.text();
   response.responses_is(std::move(responses));
   response.raw_response_is(source.text());
   return response;
}

}  // namespace orvtest
