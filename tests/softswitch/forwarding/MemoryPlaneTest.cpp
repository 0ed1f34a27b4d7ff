#include "softswitch/forwarding/memory_plane.h"

#include <gtest/gtest.h>

namespace softswitch {
namespace {

class Answers final : public GroupAnswers, public RouteAnswers, public MplsRouteAnswers {
public:
   void groupAnswer(NameId group, std::uint16_t version, GroupAnswer answer) override {
      EXPECT_TRUE(answer.programmed);
      groups.emplace_back(group, version);
   }
   void routesAnswer(std::span<const RouteIndex> tokens, bool programmed) override {
      EXPECT_TRUE(programmed);
      routes.insert(routes.end(), tokens.begin(), tokens.end());
   }
   void mplsRouteAnswer(const orv::mpls_route_key_t& key, std::uint16_t version, bool programmed) override {
      EXPECT_TRUE(programmed);
      mplsRoutes.emplace_back(key, version);
   }
   std::vector<std::pair<NameId, std::uint16_t>> groups;
   std::vector<RouteIndex> routes;
   std::vector<std::pair<orv::mpls_route_key_t, std::uint16_t>> mplsRoutes;
};

class MemoryPlaneTest : public testing::Test {
protected:
   void SetUp() override {
      plane_.answersTo({.groups = answers_, .routes = answers_, .mplsRoutes = answers_});
   }

   static orv::nexthop_group_t group(std::string_view first, std::string_view second,
                                     bool persistent = false) {
      orv::nexthop_group_t g("g", orv::nexthop_group_encap_t::mpls);
      g.nexthop_set(0, orv::nexthop_group_entry_t{orv::ip_addr_t(first)});
      g.nexthop_set(1, orv::nexthop_group_entry_t{orv::ip_addr_t(second)});
      g.counters_persistent_is(persistent);
      g.version_id_is(7);
      return g;
   }

   Answers answers_;
   MemoryPlane plane_;
};

TEST_F(MemoryPlaneTest, answersEverything) {
   plane_.groupSet(3, group("192.0.2.1", "192.0.2.2"));
   const std::vector<PlaneRoute> routes{{.token = 5, .key = {}, .action = {}, .group = 3, .vias = nullptr},
                                        {.token = 9, .key = {}, .action = {}, .group = 3, .vias = nullptr}};
   plane_.routesSet(routes);
   const orv::mpls_route_key_t key(orv::mpls_label_t(100));
   plane_.mplsRouteSet({.key = key, .version = 4, .vias = {}});
   EXPECT_EQ(answers_.groups, (std::vector<std::pair<NameId, std::uint16_t>>{{3, 7}}));
   EXPECT_EQ(answers_.routes, (std::vector<RouteIndex>{5, 9}));
   ASSERT_EQ(answers_.mplsRoutes.size(), 1u);
   EXPECT_EQ(answers_.mplsRoutes[0].second, 4);
}

TEST_F(MemoryPlaneTest, countsWhatItIsTold) {
   plane_.groupSet(3, group("192.0.2.1", "192.0.2.2"));
   plane_.countTraffic(3, 1, {.packets = 2, .bytes = 200});
   plane_.countTraffic(3, 1, {.packets = 1, .bytes = 64});
   plane_.countTraffic(3, 9, {.packets = 1, .bytes = 1});
   plane_.countTraffic(4, 0, {.packets = 1, .bytes = 1});
   EXPECT_EQ(plane_.counter(3, 1).packets, 3u);
   EXPECT_EQ(plane_.counter(3, 1).bytes, 264u);
   EXPECT_EQ(plane_.counter(3, 0).packets, 0u);
   EXPECT_EQ(plane_.counter(3, 9).packets, 0u);
   EXPECT_EQ(plane_.counter(4, 0).packets, 0u);
   plane_.groupDel(3);
   EXPECT_EQ(plane_.counter(3, 1).packets, 0u);
}

TEST_F(MemoryPlaneTest, anEntryThatChangesCountsFromZero) {
   plane_.groupSet(3, group("192.0.2.1", "192.0.2.2"));
   plane_.countTraffic(3, 0, {.packets = 1, .bytes = 1});
   plane_.countTraffic(3, 1, {.packets = 2, .bytes = 2});
   plane_.groupSet(3, group("192.0.2.1", "192.0.2.9"));
   EXPECT_EQ(plane_.counter(3, 0).packets, 1u);
   EXPECT_EQ(plane_.counter(3, 1).packets, 0u);
}

TEST_F(MemoryPlaneTest, persistentCountersGoOn) {
   plane_.groupSet(3, group("192.0.2.1", "192.0.2.2"));
   plane_.countTraffic(3, 1, {.packets = 2, .bytes = 2});
   plane_.groupSet(3, group("192.0.2.1", "192.0.2.9", true));
   EXPECT_EQ(plane_.counter(3, 1).packets, 2u);
}

}  // namespace
}  // namespace softswitch
