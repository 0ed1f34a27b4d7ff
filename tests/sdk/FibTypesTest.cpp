#include "orv/fib_types.h"

#include <gtest/gtest.h>

#include "Regular.h"

namespace {

using orv::fib_fec_key_t;
using orv::fib_fec_t;
using orv::fib_route_key_t;
using orv::fib_via_t;
using orv::intf_id_t;
using orv::ip_addr_t;
using orv::ip_prefix_t;

TEST(FibTypesTest, keys) {
   sdk_test::expectText(fib_route_key_t(ip_prefix_t("10.0.0.0/8")), "10.0.0.0/8");
   sdk_test::expectText(fib_fec_key_t(42), "42");
   EXPECT_EQ(fib_fec_key_t().fec_id(), 0U);
   sdk_test::expectRising<fib_route_key_t>({fib_route_key_t(), fib_route_key_t(ip_prefix_t("10.0.0.0/8")),
                                            fib_route_key_t(ip_prefix_t("10.0.0.0/9"))});
   sdk_test::expectRising<fib_fec_key_t>({fib_fec_key_t(), fib_fec_key_t(1), fib_fec_key_t(~0ULL)});
   EXPECT_NE(fib_fec_key_t(1).hash(), fib_fec_key_t(2).hash());
}

TEST(FibTypesTest, routes) {
   const orv::fib_route_t route(fib_route_key_t(ip_prefix_t("10.0.0.0/8")));
   EXPECT_EQ(route.route_type(), orv::fib_route_type_t::undefined);
   EXPECT_EQ(static_cast<int>(orv::fib_route_type_t::undefined), 4);
   EXPECT_EQ(static_cast<int>(orv::fib_fec_type_t::undefined), 7);
   sdk_test::expectEveryFieldCounts<orv::fib_route_t>(
        route,
        {[](auto& r) { r.route_key_is(fib_route_key_t(ip_prefix_t("11.0.0.0/8"))); },
         [](auto& r) { r.preference_is(2); }, [](auto& r) { r.metric_is(2); },
         [](auto& r) { r.route_type_is(orv::fib_route_type_t::drop); }, [](auto& r) { r.fec_id_is(2); }});
}

TEST(FibTypesTest, aFecHoldsEachViaOnceInTheOrderOfTheCalls) {
   fib_fec_t fec(fib_fec_key_t(1));
   const fib_via_t second(ip_addr_t("10.0.0.2"), intf_id_t("Ethernet2"));
   const fib_via_t first(ip_addr_t("10.0.0.1"), intf_id_t("Ethernet1"));
   fec.via_set(second);
   fec.via_set(first);
   fec.via_set(second);
   EXPECT_EQ(fec.via(), (std::vector<fib_via_t>{second, first}));
   sdk_test::expectEveryFieldCounts<fib_fec_t>(
        fec, {[](auto& f) { f.fec_key_is(fib_fec_key_t(2)); },
              [](auto& f) { f.fec_type_is(orv::fib_fec_type_t::nexthop_group); },
              [](auto& f) { f.nexthop_group_name_is("g"); },
              [](auto& f) { f.via_set(fib_via_t(ip_addr_t("10.0.0.3"), intf_id_t())); }});
   sdk_test::expectEveryFieldCounts<fib_via_t>(
        first, {[](auto& v) { v.hop_is(ip_addr_t()); }, [](auto& v) { v.intf_is(intf_id_t()); },
                [](auto& v) { v.mpls_label_is(orv::mpls_label_t(0)); }});
}

// Each via costs the same: a linear search for each would take minutes here.
TEST(FibTypesTest, aFecOfManyViasHoldsEachOnce) {
   constexpr std::uint32_t count = 200000;
   const auto via = [](std::uint32_t i) {
      fib_via_t made(ip_addr_t("10.0.0.1"), intf_id_t("Ethernet1"));
      made.mpls_label_is(orv::mpls_label_t(i));
      return made;
   };
   fib_fec_t fec(fib_fec_key_t(1));
   for (int round = 0; round < 2; ++round) {
      for (std::uint32_t i = 0; i < count; ++i)
         fec.via_set(via(i));
   }
   ASSERT_EQ(fec.via().size(), count);
   for (std::uint32_t i = 0; i < count; ++i)
      ASSERT_EQ(fec.via()[i], via(i));
   // A copy is independent.
   fib_fec_t copy = fec;
   EXPECT_EQ(copy, fec);
   copy.via_set(via(7));
   EXPECT_EQ(copy, fec);
   copy.via_set(via(count));
   EXPECT_NE(copy, fec);
   EXPECT_EQ(fec.via().size(), count);
}

}  // namespace
