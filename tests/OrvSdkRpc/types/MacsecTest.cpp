#include "OrvSdkRpc/types/Macsec.h"

#include "Conversions.h"
#include "testing/values/GenerateStatus.h"

namespace {

using namespace types_test;
using namespace OrvSdkRpc::types;
namespace remote = orv::remote;

TEST(MacsecTest, fieldsGoWhereTheyBelong) {
   const auto message = parsed<remote::MacsecProfile>(R"(
      key_server_priority: 0 name: "p" primary_key { cak: "a" ckn: "b" encoded: true } fallback_key { cak: "c" }
      rekey_period: 1 mka_life_time: 2 cipher: MACSEC_CIPHER_SUITE_GCM_AES_XPN_256 dot1x: true include_sci: true
      lldp_bypass_level: MACSEC_BYPASS_ALWAYS traffic_policy: MACSEC_PROFILE_TRAFFIC_POLICY_BLOCKED
      allow_unprotected: true replay_protection: false replay_protection_window: 3
      key_retirement_immediate: true)");
   const orv::macsec_profile_t profile = convert(message);
   EXPECT_EQ(profile.key_server_priority(), 0);
   EXPECT_EQ(profile.name(), "p");
   EXPECT_EQ(profile.primary_key(), orv::macsec_key_t("a", "b", true));
   EXPECT_EQ(profile.fallback_key(), orv::macsec_key_t("c", ""));
   EXPECT_EQ(profile.rekey_period(), 1U);
   EXPECT_EQ(profile.mka_life_time(), 2U);
   EXPECT_EQ(profile.cipher(), orv::macsec_cipher_suite_t::gcm_aes_xpn_256);
   EXPECT_TRUE(profile.dot1x());
   EXPECT_TRUE(profile.include_sci());
   EXPECT_EQ(profile.lldp_bypass_level(), orv::macsec_bypass_t::always);
   EXPECT_EQ(profile.traffic_policy(), orv::macsec_profile_traffic_policy_t::blocked);
   EXPECT_TRUE(profile.allow_unprotected());
   EXPECT_FALSE(profile.replay_protection());
   EXPECT_EQ(profile.replay_protection_window(), 3U);
   EXPECT_TRUE(profile.key_retirement_immediate());
}

TEST(MacsecTest, groupsLeftOutKeepTheSdksDefaults) {
   EXPECT_EQ(convert(remote::MacsecProfile()), orv::macsec_profile_t());
   EXPECT_EQ(convert(remote::MacsecKey()), orv::macsec_key_t());
}

TEST(MacsecTest, groupsAreSetAlwaysOnTheWayOut) {
   const remote::MacsecProfile message = convert(orv::macsec_profile_t());
   EXPECT_TRUE(message.has_key_server_priority());
   EXPECT_TRUE(message.has_mka_life_time());
   EXPECT_TRUE(message.has_cipher());
   EXPECT_TRUE(message.has_traffic_policy());
   EXPECT_TRUE(message.has_replay_protection());
   EXPECT_TRUE(message.has_primary_key());
   EXPECT_TRUE(message.has_fallback_key());
}

TEST(MacsecTest, theKeyServerPriorityIsJudgedBeforeAllElse) {
   expectFirstIsTold<remote::MacsecProfile>(
        {}, kConvert,
        {{[](auto& m) { m.set_key_server_priority(256); },
          invalidArgument("Invalid key server priority 256")},
         {[](auto& m) { m.set_cipher(static_cast<remote::MacsecCipherSuite>(5)); },
          invalidArgument("Invalid macsec cipher suite 5")},
         {[](auto& m) { m.set_lldp_bypass_level(static_cast<remote::MacsecBypass>(3)); },
          invalidArgument("Invalid macsec bypass 3")},
         {[](auto& m) { m.set_traffic_policy(static_cast<remote::MacsecProfileTrafficPolicy>(4)); },
          invalidArgument("Invalid macsec traffic policy 4")}});
}

TEST(MacsecTest, whatTheSwitchReportsIsIgnoredFromAClient) {
   const auto message =
        parsed<remote::MacsecProfile>(R"(bypass_lldp: true intfs { name: "no such \001 name" })");
   const orv::macsec_profile_t profile = convert(message);
   EXPECT_EQ(profile, orv::macsec_profile_t());
   EXPECT_FALSE(profile.bypass_lldp());
   EXPECT_TRUE(profile.intfs().empty());
}

TEST(MacsecTest, reportsBypassAndInterfaces) {
   orv::macsec_profile_t profile;
   profile.lldp_bypass_level_is(orv::macsec_bypass_t::until_secured);
   profile.intfs_is({orv::intf_id_t("Ethernet10"), orv::intf_id_t("Ethernet2")});
   const remote::MacsecProfile message = convert(profile);
   EXPECT_TRUE(message.bypass_lldp());
   ASSERT_EQ(message.intfs_size(), 2);
   EXPECT_EQ(message.intfs(0).name(), "Ethernet2");
   EXPECT_EQ(message.intfs(1).name(), "Ethernet10");
}

TEST(MacsecTest, roundTripsButForTheInterfaces) {
   expectRoundTrips<orv::macsec_profile_t>(kConvert, kConvert, [](orv::macsec_profile_t profile) {
      profile.intfs_is({});
      return profile;
   });
   expectRoundTrips<orv::macsec_key_t>(kConvert, kConvert);
}

TEST(MacsecTest, status) {
   using Key = orv::macsec_intf_key_status_t;
   using Traffic = orv::macsec_intf_traffic_status_t;
   const remote::MacsecIntfStatus message =
        convert(orv::macsec_intf_status_t(Key::fallback, Traffic::encrypted));
   EXPECT_EQ(message.key_status(), remote::MACSEC_INTF_KEY_STATUS_FALLBACK);
   EXPECT_EQ(message.traffic_status(), remote::MACSEC_INTF_TRAFFIC_STATUS_ENCRYPTED);
   const auto badKey = static_cast<Key>(6);
   const auto badTraffic = static_cast<Traffic>(3);
   EXPECT_EQ(refusalOf([&] { convert(orv::macsec_intf_status_t(badKey, badTraffic)); }),
             invalidArgument("Invalid Macsec intf key status 6"));
   EXPECT_EQ(refusalOf([&] { convert(orv::macsec_intf_status_t(Key::none, badTraffic)); }),
             invalidArgument("Invalid Macsec intf traffic status 3"));
}

TEST(MacsecTest, counters) {
   orv::macsec_intf_counters_t counters;
   counters.in_octets_decrypted_is(18446744073709551615U);
   counters.in_pkts_decrypted_is(2);
   counters.in_pkts_not_valid_is(3);
   counters.out_octets_encrypted_is(4);
   counters.out_pkts_encrypted_is(5);
   EXPECT_TRUE(same(convert(counters), parsed<remote::MacsecIntfCounters>(R"(
      in_octets_decrypted: 18446744073709551615 in_pkts_decrypted: 2 in_pkts_not_valid: 3
      out_octets_encrypted: 4 out_pkts_encrypted: 5)")));
}

}  // namespace
