#include "OrvSdkRpc/types/Macsec.h"

#include "OrvSdkRpc/types/BoundaryCheck.h"
#include "OrvSdkRpc/types/Enumerations.h"
#include "OrvSdkRpc/types/Identifiers.h"

namespace OrvSdkRpc::types {

namespace remote = orv::remote;

orv::macsec_profile_t convert(const remote::MacsecProfile& message) {
   const auto priority =
        boundaryCheck<std::uint8_t>(message.key_server_priority(), "Invalid key server priority {}");
   orv::macsec_profile_t profile;
   profile.name_is(message.name());
   profile.primary_key_is(convert(message.primary_key()));
   profile.fallback_key_is(convert(message.fallback_key()));
   if (message.has_key_server_priority()) profile.key_server_priority_is(priority);
   profile.rekey_period_is(message.rekey_period());
   if (message.has_mka_life_time()) profile.mka_life_time_is(message.mka_life_time());
   if (message.has_cipher()) profile.cipher_is(convert(message.cipher()));
   profile.dot1x_is(message.dot1x());
   profile.include_sci_is(message.include_sci());
   profile.lldp_bypass_level_is(convert(message.lldp_bypass_level()));
   if (message.has_traffic_policy()) profile.traffic_policy_is(convert(message.traffic_policy()));
   profile.allow_unprotected_is(message.allow_unprotected());
   if (message.has_replay_protection()) profile.replay_protection_is(message.replay_protection());
   profile.replay_protection_window_is(message.replay_protection_window());
   profile.key_retirement_immediate_is(message.key_retirement_immediate());
   return profile;
}

remote::MacsecProfile convert(const orv::macsec_profile_t& profile) {
   remote::MacsecProfile message;
   message.set_name(profile.name());
   *message.mutable_primary_key() = convert(profile.primary_key());
   *message.mutable_fallback_key() = convert(profile.fallback_key());
   message.set_key_server_priority(profile.key_server_priority());
   message.set_rekey_period(profile.rekey_period());
   message.set_mka_life_time(profile.mka_life_time());
   message.set_cipher(convert(profile.cipher()));
   message.set_dot1x(profile.dot1x());
   message.set_include_sci(profile.include_sci());
   message.set_lldp_bypass_level(convert(profile.lldp_bypass_level()));
   message.set_traffic_policy(convert(profile.traffic_policy()));
   message.set_allow_unprotected(profile.allow_unprotected());
   message.set_replay_protection(profile.replay_protection());
   message.set_replay_protection_window(profile.replay_protection_window());
   message.set_key_retirement_immediate(profile.key_retirement_immediate());
   message.set_bypass_lldp(profile.bypass_lldp());
   for (const orv::intf_id_t& intf : profile.intfs())
      *message.add_intfs() = convert(intf);
   return message;
}

orv::macsec_key_t convert(const remote::MacsecKey& message) {
   orv::macsec_key_t key;
   key.cak_is(message.cak());
   key.ckn_is(message.ckn());
   key.encoded_is(message.encoded());
   return key;
}

remote::MacsecKey convert(const orv::macsec_key_t& key) {
   remote::MacsecKey message;
   message.set_cak(key.cak());
   message.set_ckn(key.ckn());
   message.set_encoded(key.encoded());
   return message;
}

remote::MacsecIntfStatus convert(const orv::macsec_intf_status_t& status) {
   remote::MacsecIntfStatus message;
   message.set_key_status(convert(status.key_status()));
   message.set_traffic_status(convert(status.traffic_status()));
   return message;
}

remote::MacsecIntfCounters convert(const orv::macsec_intf_counters_t& counters) {
   remote::MacsecIntfCounters message;
   message.set_in_octets_decrypted(counters.in_octets_decrypted());
   message.set_in_pkts_decrypted(counters.in_pkts_decrypted());
   message.set_in_pkts_not_valid(counters.in_pkts_not_valid());
   message.set_out_octets_encrypted(counters.out_octets_encrypted());
   message.set_out_pkts_encrypted(counters.out_pkts_encrypted());
   return message;
}

}  // namespace OrvSdkRpc::types
