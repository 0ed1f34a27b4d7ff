#include "orv/eth_phy_intf_counter_types.h"

#include <gtest/gtest.h>

#include "Regular.h"

namespace {

TEST(EthPhyIntfCounterTypesTest, everyCounterCounts) {
   sdk_test::expectEveryFieldCounts<orv::eth_phy_intf_counters_t>(
        {},
        {[](auto& c) { c.single_collision_frames_is(1); }, [](auto& c) { c.multiple_collision_frames_is(1); },
         [](auto& c) { c.fcs_errors_is(1); }, [](auto& c) { c.alignment_errors_is(1); },
         [](auto& c) { c.deferred_transmissions_is(1); }, [](auto& c) { c.late_collisions_is(1); },
         [](auto& c) { c.excessive_collisions_is(1); }, [](auto& c) { c.internal_mac_transmit_errors_is(1); },
         [](auto& c) { c.carrier_sense_errors_is(1); }, [](auto& c) { c.internal_mac_receive_errors_is(1); },
         [](auto& c) { c.frame_too_shorts_is(1); }, [](auto& c) { c.frame_too_longs_is(1); },
         [](auto& c) { c.sqe_test_errors_is(1); }, [](auto& c) { c.symbol_errors_is(1); },
         [](auto& c) { c.in_unknown_opcodes_is(1); }, [](auto& c) { c.out_pause_frames_is(1); },
         [](auto& c) { c.in_pause_frames_is(1); }, [](auto& c) { c.fragments_is(1); },
         [](auto& c) { c.jabbers_is(1); }});
}

TEST(EthPhyIntfCounterTypesTest, everyBinCounts) {
   sdk_test::expectEveryFieldCounts<orv::eth_phy_intf_bin_counters_t>(
        {},
        {[](auto& c) { c.in_64_octet_frames_is(1); }, [](auto& c) { c.in_65_to_127_octet_frames_is(1); },
         [](auto& c) { c.in_128_to_255_octet_frames_is(1); },
         [](auto& c) { c.in_256_to_511_octet_frames_is(1); },
         [](auto& c) { c.in_512_to_1023_octet_frames_is(1); },
         [](auto& c) { c.in_1024_to_1522_octet_frames_is(1); },
         [](auto& c) { c.in_1523_to_max_octet_frames_is(1); }, [](auto& c) { c.out_64_octet_frames_is(1); },
         [](auto& c) { c.out_65_to_127_octet_frames_is(1); },
         [](auto& c) { c.out_128_to_255_octet_frames_is(1); },
         [](auto& c) { c.out_256_to_511_octet_frames_is(1); },
         [](auto& c) { c.out_512_to_1023_octet_frames_is(1); },
         [](auto& c) { c.out_1024_to_1522_octet_frames_is(1); },
         [](auto& c) { c.out_1523_to_max_octet_frames_is(1); }});
}

}  // namespace
