#include "orv/bgp_types.h"

#include <gtest/gtest.h>

#include "Regular.h"

namespace {

using orv::bgp_peer_key_t;
using orv::bgp_peer_state_t;
using orv::ip_addr_t;

TEST(BgpTypesTest, everyStateHasAName) {
   sdk_test::expectNamed<bgp_peer_state_t>(6);
   sdk_test::expectText(bgp_peer_state_t::open_confirm, "open-confirm");
}

TEST(BgpTypesTest, peerKeys) {
   const bgp_peer_key_t key("red", ip_addr_t("10.0.0.1"));
   sdk_test::expectEveryFieldCounts<bgp_peer_key_t>(
        key,
        {[](auto& k) { k.vrf_name_is("blue"); }, [](auto& k) { k.peer_addr_is(ip_addr_t("10.0.0.2")); }});
   sdk_test::expectRising<bgp_peer_key_t>({bgp_peer_key_t("blue", ip_addr_t("10.0.0.9")), key,
                                           bgp_peer_key_t("red", ip_addr_t("10.0.0.2")),
                                           bgp_peer_key_t("red", ip_addr_t("::1"))});
   sdk_test::expectText(key, "bgp_peer_key_t(vrf_name='red', peer_addr=10.0.0.1)");
}

}  // namespace
