#include "orv/intf_counter_types.h"

#include <gtest/gtest.h>

#include "Regular.h"

namespace {

using orv::intf_counters_t;
using orv::intf_traffic_rates_t;

TEST(IntfCounterTypesTest, everyCounterCounts) {
   sdk_test::expectEveryFieldCounts<intf_counters_t>(
        {}, {[](auto& c) { c.out_ucast_pkts_is(1); }, [](auto& c) { c.out_multicast_pkts_is(1); },
             [](auto& c) { c.out_broadcast_pkts_is(1); }, [](auto& c) { c.in_ucast_pkts_is(1); },
             [](auto& c) { c.in_multicast_pkts_is(1); }, [](auto& c) { c.in_broadcast_pkts_is(1); },
             [](auto& c) { c.out_octets_is(1); }, [](auto& c) { c.in_octets_is(1); },
             [](auto& c) { c.out_discards_is(1); }, [](auto& c) { c.out_errors_is(1); },
             [](auto& c) { c.in_discards_is(1); }, [](auto& c) { c.in_errors_is(1); },
             [](auto& c) { c.sample_time_is(1); }});
}

TEST(IntfCounterTypesTest, everyRateCounts) {
   sdk_test::expectEveryFieldCounts<intf_traffic_rates_t>(
        {}, {[](auto& r) { r.out_pkts_rate_is(1); }, [](auto& r) { r.in_pkts_rate_is(1); },
             [](auto& r) { r.out_bits_rate_is(1); }, [](auto& r) { r.in_bits_rate_is(1); },
             [](auto& r) { r.sample_time_is(1); }});
   EXPECT_EQ(intf_traffic_rates_t(0.0, 0, 0, 0, 0).hash(), intf_traffic_rates_t(-0.0, 0, 0, 0, 0).hash());
   sdk_test::expectText(intf_traffic_rates_t(1, 2, 3.5, 4, 5),
                        "intf_traffic_rates_t(out_pkts_rate=1, in_pkts_rate=2, out_bits_rate=3.5, "
                        "in_bits_rate=4, sample_time=5)");
}

}  // namespace
