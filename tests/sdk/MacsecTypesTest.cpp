#include "orv/macsec_types.h"

#include <gtest/gtest.h>

#include "Regular.h"

namespace {

using orv::macsec_bypass_t;
using orv::macsec_cipher_suite_t;
using orv::macsec_intf_key_status_t;
using orv::macsec_intf_status_t;
using orv::macsec_intf_traffic_status_t;
using orv::macsec_key_t;
using orv::macsec_profile_t;
using orv::macsec_profile_traffic_policy_t;

TEST(MacsecTypesTest, enumeratorsHaveNames) {
   sdk_test::expectNamed<macsec_bypass_t>(2);
   sdk_test::expectNamed<macsec_cipher_suite_t>(4);
   sdk_test::expectNamed<macsec_profile_traffic_policy_t>(3);
   sdk_test::expectNamed<macsec_intf_key_status_t>(5);
   sdk_test::expectNamed<macsec_intf_traffic_status_t>(2);
   sdk_test::expectText(macsec_cipher_suite_t::gcm_aes_xpn_256, "gcm-aes-xpn-256");
}

TEST(MacsecTypesTest, theTextOfAKeyDoesNotTellIt) {
   const macsec_key_t key("0123456789abcdef", "00", true);
   sdk_test::expectText(key, "macsec_key_t(cak=(hidden), ckn='00', encoded=true)");
   sdk_test::expectText(macsec_key_t(), "macsec_key_t(cak='', ckn='', encoded=false)");
   sdk_test::expectEveryFieldCounts<macsec_key_t>(
        key, {[](auto& k) { k.cak_is(""); }, [](auto& k) { k.ckn_is("01"); },
              [](auto& k) { k.encoded_is(false); }});
   const macsec_key_t other("fedcba9876543210", "00", true);
   EXPECT_NE(key, other);
   EXPECT_NE(key.hash(), other.hash());
   macsec_profile_t profile("p");
   profile.primary_key_is(key);
   EXPECT_EQ(profile.to_string().find("0123456789abcdef"), std::string::npos);
}

TEST(MacsecTypesTest, everyFieldOfAProfileCounts) {
   const macsec_key_t key("a", "b");
   sdk_test::expectEveryFieldCounts<macsec_profile_t>(
        macsec_profile_t("p"),
        {[](auto& p) { p.key_server_priority_is(17); }, [](auto& p) { p.name_is("q"); },
         [&](auto& p) { p.primary_key_is(key); }, [&](auto& p) { p.fallback_key_is(key); },
         [](auto& p) { p.rekey_period_is(1); }, [](auto& p) { p.mka_life_time_is(1); },
         [](auto& p) { p.cipher_is(macsec_cipher_suite_t::gcm_aes_256); }, [](auto& p) { p.dot1x_is(true); },
         [](auto& p) { p.include_sci_is(true); },
         [](auto& p) { p.lldp_bypass_level_is(macsec_bypass_t::always); },
         [](auto& p) { p.traffic_policy_is(macsec_profile_traffic_policy_t::blocked); },
         [](auto& p) { p.allow_unprotected_is(true); }, [](auto& p) { p.replay_protection_is(false); },
         [](auto& p) { p.replay_protection_window_is(1); },
         [](auto& p) { p.key_retirement_immediate_is(true); },
         [](auto& p) { p.intfs_is({orv::intf_id_t("Ethernet1")}); }});
}

TEST(MacsecTypesTest, defaultsOfAProfile) {
   const macsec_profile_t profile;
   EXPECT_EQ(profile.key_server_priority(), 16);
   EXPECT_EQ(profile.mka_life_time(), 6U);
   EXPECT_TRUE(profile.replay_protection());
}

TEST(MacsecTypesTest, discoveryFramesPassFromTheFirstBypassLevelOn) {
   macsec_profile_t profile;
   EXPECT_FALSE(profile.bypass_lldp());
   profile.lldp_bypass_level_is(macsec_bypass_t::until_secured);
   EXPECT_TRUE(profile.bypass_lldp());
   profile.lldp_bypass_level_is(macsec_bypass_t::always);
   EXPECT_TRUE(profile.bypass_lldp());
   profile.lldp_bypass_level_is(macsec_bypass_t::none);
   EXPECT_FALSE(profile.bypass_lldp());
}

TEST(MacsecTypesTest, statusAndCounters) {
   sdk_test::expectEveryFieldCounts<macsec_intf_status_t>(
        {}, {[](auto& s) { s.key_status_is(macsec_intf_key_status_t::fallback); },
             [](auto& s) { s.traffic_status_is(macsec_intf_traffic_status_t::encrypted); }});
   const macsec_intf_status_t status(macsec_intf_key_status_t::primary,
                                     macsec_intf_traffic_status_t::blocked);
   sdk_test::expectText(status, "macsec_intf_status_t(key_status=primary, traffic_status=blocked)");
   sdk_test::expectEveryFieldCounts<orv::macsec_intf_counters_t>(
        {}, {[](auto& c) { c.in_octets_decrypted_is(1); }, [](auto& c) { c.in_pkts_decrypted_is(1); },
             [](auto& c) { c.in_pkts_not_valid_is(1); }, [](auto& c) { c.out_octets_encrypted_is(1); },
             [](auto& c) { c.out_pkts_encrypted_is(1); }});
}

}  // namespace
