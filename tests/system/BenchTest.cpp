// A short run of the benchmark: it completes and reports every figure.
#include <gtest/gtest.h>
#include <malloc.h>

#include <fstream>
#include <nlohmann/json.hpp>
#include <string_view>
#include <vector>

#include "testing/base/TempDir.h"
#include "testing/process/Child.h"
#include "testing/process/Daemon.h"

namespace orvtest {
namespace {

bool mallocKeepsAccount() {
   const auto before = mallinfo2().uordblks;
   const std::vector<char> block(1 << 16);
   return mallinfo2().uordblks >= before + block.size();
}

TEST(Bench, aQuickRunTellsEveryFigure) {
   const TempDir directory("orv-bench-test-");
   Child bench({programPath("orv_bench"), "--quick", "--json", directory / "figures"}, directory / "log");
   ASSERT_EQ(bench.wait(), (Ending{.exitCode = 0})) << bench.log();
   const auto figures = nlohmann::json::parse(std::ifstream(directory / "figures"));

   for (const auto* key : {"unary_ip_route_64",
                           "unary_ip_route_1",
                           "bulk_ip_route_1000",
                           "bulk_nexthop_group_1000",
                           "bulk_mpls_route_1000",
                           "bulk_redirect_1000",
                           "resync_1m_routes_s",
                           "list_nexthop_groups",
                           "watch_fanout_1",
                           "watch_fanout_100",
                           "event_latency_us",
                           "dump_intf_all_fields",
                           "bulk_stream_entries",
                           "list_ip_routes",
                           "list_ip_routes_embedded",
                           "bulk_mirror_ip_route_set_1000",
                           "bulk_mirror_mpls_route_set_1000",
                           "watch_mpls_routes_fanout_1",
                           "mpls_acks_per_s",
                           "policy_counters_entries"}) {
      ASSERT_TRUE(figures.contains(key)) << key;
      const auto& figure = figures.at(key);
      EXPECT_EQ(figure.size(), 4u) << key;
      const double ours = figure.at("ours");
      const double floor = figure.at("floor");
      EXPECT_GT(ours, 0) << key;
      EXPECT_GT(floor, 0) << key;
      EXPECT_DOUBLE_EQ(figure.at("ratio"), ours / floor) << key;
      EXPECT_TRUE(figure.at("unit").is_string()) << key;
   }
   for (const auto* key :
        {"ping_under_load_ms", "restart_1m_routes_s", "rss_1m_routes_mib", "scale_flatness", "list_flatness",
         "publish_ns_per_watcher", "queue_bytes_per_message", "list_filtered_skip_ns",
         "list_filtered_ping_ms", "mpls_ack_latency_ms", "fib_watch_1m"}) {
      ASSERT_TRUE(figures.contains(key)) << key;
      const auto& figure = figures.at(key);
      EXPECT_EQ(figure.size(), 4u) << key;
      // Memory is measured from malloc's statistics, which a sanitizer's allocator does not keep.
      if (std::string_view(key) != "queue_bytes_per_message" || mallocKeepsAccount()) {
         EXPECT_GT(figure.at("ours"), 0) << key;
      }
      EXPECT_TRUE(figure.at("floor").is_null()) << key;
      EXPECT_TRUE(figure.at("ratio").is_null()) << key;
      EXPECT_TRUE(figure.at("unit").is_string()) << key;
   }
}

TEST(Bench, aWrongValueIsRefused) {
   const TempDir directory("orv-bench-test-");
   Child bench({programPath("orv_bench"), "--routes", "1500"}, directory / "log");
   EXPECT_EQ(bench.wait(), (Ending{.exitCode = 2}));
   EXPECT_NE(bench.log().find("--routes 1500"), std::string::npos) << bench.log();
}

}  // namespace
}  // namespace orvtest
