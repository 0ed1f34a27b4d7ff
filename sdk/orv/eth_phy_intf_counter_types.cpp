#include "orv/eth_phy_intf_counter_types.h"

#include "orv/record_text.h"

namespace orv {

std::size_t eth_phy_intf_counters_t::hash() const {
   return detail::hash_of(single_collision_frames_, multiple_collision_frames_, fcs_errors_,
                          alignment_errors_, deferred_transmissions_, late_collisions_, excessive_collisions_,
                          internal_mac_transmit_errors_, carrier_sense_errors_, internal_mac_receive_errors_,
                          frame_too_shorts_, frame_too_longs_, sqe_test_errors_, symbol_errors_,
                          in_unknown_opcodes_, out_pause_frames_, in_pause_frames_, fragments_, jabbers_);
}

std::string eth_phy_intf_counters_t::to_string() const {
   return detail::record_text(
        "eth_phy_intf_counters_t",
        {{"single_collision_frames", detail::text_of(single_collision_frames_)},
         {"multiple_collision_frames", detail::text_of(multiple_collision_frames_)},
         {"fcs_errors", detail::text_of(fcs_errors_)},
         {"alignment_errors", detail::text_of(alignment_errors_)},
         {"deferred_transmissions", detail::text_of(deferred_transmissions_)},
         {"late_collisions", detail::text_of(late_collisions_)},
         {"excessive_collisions", detail::text_of(excessive_collisions_)},
         {"internal_mac_transmit_errors", detail::text_of(internal_mac_transmit_errors_)},
         {"carrier_sense_errors", detail::text_of(carrier_sense_errors_)},
         {"internal_mac_receive_errors", detail::text_of(internal_mac_receive_errors_)},
         {"frame_too_shorts", detail::text_of(frame_too_shorts_)},
         {"frame_too_longs", detail::text_of(frame_too_longs_)},
         {"sqe_test_errors", detail::text_of(sqe_test_errors_)},
         {"symbol_errors", detail::text_of(symbol_errors_)},
         {"in_unknown_opcodes", detail::text_of(in_unknown_opcodes_)},
         {"out_pause_frames", detail::text_of(out_pause_frames_)},
         {"in_pause_frames", detail::text_of(in_pause_frames_)},
         {"fragments", detail::text_of(fragments_)},
         {"jabbers", detail::text_of(jabbers_)}});
}

std::size_t eth_phy_intf_bin_counters_t::hash() const {
   return detail::hash_of(in_64_octet_frames_, in_65_to_127_octet_frames_, in_128_to_255_octet_frames_,
                          in_256_to_511_octet_frames_, in_512_to_1023_octet_frames_,
                          in_1024_to_1522_octet_frames_, in_1523_to_max_octet_frames_, out_64_octet_frames_,
                          out_65_to_127_octet_frames_, out_128_to_255_octet_frames_,
                          out_256_to_511_octet_frames_, out_512_to_1023_octet_frames_,
                          out_1024_to_1522_octet_frames_, out_1523_to_max_octet_frames_);
}

std::string eth_phy_intf_bin_counters_t::to_string() const {
   return detail::record_text(
        "eth_phy_intf_bin_counters_t",
        {{"in_64_octet_frames", detail::text_of(in_64_octet_frames_)},
         {"in_65_to_127_octet_frames", detail::text_of(in_65_to_127_octet_frames_)},
         {"in_128_to_255_octet_frames", detail::text_of(in_128_to_255_octet_frames_)},
         {"in_256_to_511_octet_frames", detail::text_of(in_256_to_511_octet_frames_)},
         {"in_512_to_1023_octet_frames", detail::text_of(in_512_to_1023_octet_frames_)},
         {"in_1024_to_1522_octet_frames", detail::text_of(in_1024_to_1522_octet_frames_)},
         {"in_1523_to_max_octet_frames", detail::text_of(in_1523_to_max_octet_frames_)},
         {"out_64_octet_frames", detail::text_of(out_64_octet_frames_)},
         {"out_65_to_127_octet_frames", detail::text_of(out_65_to_127_octet_frames_)},
         {"out_128_to_255_octet_frames", detail::text_of(out_128_to_255_octet_frames_)},
         {"out_256_to_511_octet_frames", detail::text_of(out_256_to_511_octet_frames_)},
         {"out_512_to_1023_octet_frames", detail::text_of(out_512_to_1023_octet_frames_)},
         {"out_1024_to_1522_octet_frames", detail::text_of(out_1024_to_1522_octet_frames_)},
         {"out_1523_to_max_octet_frames", detail::text_of(out_1523_to_max_octet_frames_)}});
}

}  // namespace orv
