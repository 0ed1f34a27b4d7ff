#include "orv/macsec_types.h"

#include "orv/record_text.h"

namespace orv {

std::string_view enum_text(macsec_bypass_t v) noexcept {
   switch (v) {
      case macsec_bypass_t::none:
         return "none";
      case macsec_bypass_t::until_secured:
         return "until-secured";
      case macsec_bypass_t::always:
         return "always";
   }
   return {};
}

std::string_view enum_text(macsec_cipher_suite_t v) noexcept {
   switch (v) {
      case macsec_cipher_suite_t::undefined:
         return "undefined";
      case macsec_cipher_suite_t::gcm_aes_128:
         return "gcm-aes-128";
      case macsec_cipher_suite_t::gcm_aes_256:
         return "gcm-aes-256";
      case macsec_cipher_suite_t::gcm_aes_xpn_128:
         return "gcm-aes-xpn-128";
      case macsec_cipher_suite_t::gcm_aes_xpn_256:
         return "gcm-aes-xpn-256";
   }
   return {};
}

std::string_view enum_text(macsec_profile_traffic_policy_t v) noexcept {
   switch (v) {
      case macsec_profile_traffic_policy_t::undefined:
         return "undefined";
      case macsec_profile_traffic_policy_t::active_key:
         return "active-key";
      case macsec_profile_traffic_policy_t::unprotected:
         return "unprotected";
      case macsec_profile_traffic_policy_t::blocked:
         return "blocked";
   }
   return {};
}

std::string_view enum_text(macsec_intf_key_status_t v) noexcept {
   switch (v) {
      case macsec_intf_key_status_t::none:
         return "none";
      case macsec_intf_key_status_t::in_progress:
         return "in-progress";
      case macsec_intf_key_status_t::primary:
         return "primary";
      case macsec_intf_key_status_t::fallback:
         return "fallback";
      case macsec_intf_key_status_t::no_peer:
         return "no-peer";
      case macsec_intf_key_status_t::failed:
         return "failed";
   }
   return {};
}

std::string_view enum_text(macsec_intf_traffic_status_t v) noexcept {
   switch (v) {
      case macsec_intf_traffic_status_t::blocked:
         return "blocked";
      case macsec_intf_traffic_status_t::unprotected:
         return "unprotected";
      case macsec_intf_traffic_status_t::encrypted:
         return "encrypted";
   }
   return {};
}

std::size_t macsec_key_t::hash() const {
   return detail::hash_of(cak_, ckn_, encoded_);
}

std::string macsec_key_t::to_string() const {
   return detail::record_text("macsec_key_t", {{"cak", cak_.empty() ? "''" : "(hidden)"},
                                               {"ckn", detail::text_of(ckn_)},
                                               {"encoded", detail::text_of(encoded_)}});
}

std::size_t macsec_profile_t::hash() const {
   return detail::hash_of(key_server_priority_, name_, primary_key_, fallback_key_, rekey_period_,
                          mka_life_time_, cipher_, dot1x_, include_sci_, lldp_bypass_level_, traffic_policy_,
                          allow_unprotected_, replay_protection_, replay_protection_window_,
                          key_retirement_immediate_, intfs_);
}

std::string macsec_profile_t::to_string() const {
   return detail::record_text("macsec_profile_t",
                              {{"key_server_priority", detail::text_of(key_server_priority_)},
                               {"name", detail::text_of(name_)},
                               {"primary_key", detail::text_of(primary_key_)},
                               {"fallback_key", detail::text_of(fallback_key_)},
                               {"rekey_period", detail::text_of(rekey_period_)},
                               {"mka_life_time", detail::text_of(mka_life_time_)},
                               {"cipher", detail::text_of(cipher_)},
                               {"dot1x", detail::text_of(dot1x_)},
                               {"include_sci", detail::text_of(include_sci_)},
                               {"lldp_bypass_level", detail::text_of(lldp_bypass_level_)},
                               {"traffic_policy", detail::text_of(traffic_policy_)},
                               {"allow_unprotected", detail::text_of(allow_unprotected_)},
                               {"replay_protection", detail::text_of(replay_protection_)},
                               {"replay_protection_window", detail::text_of(replay_protection_window_)},
                               {"key_retirement_immediate", detail::text_of(key_retirement_immediate_)},
                               {"intfs", detail::text_of(intfs_)}});
}

std::size_t macsec_intf_status_t::hash() const {
   return detail::hash_of(key_status_, traffic_status_);
}

std::string macsec_intf_status_t::to_string() const {
   return detail::record_text("macsec_intf_status_t", {{"key_status", detail::text_of(key_status_)},
                                                       {"traffic_status", detail::text_of(traffic_status_)}});
}

std::size_t macsec_intf_counters_t::hash() const {
   return detail::hash_of(in_octets_decrypted_, in_pkts_decrypted_, in_pkts_not_valid_, out_octets_encrypted_,
                          out_pkts_encrypted_);
}

std::string macsec_intf_counters_t::to_string() const {
   return detail::record_text("macsec_intf_counters_t",
                              {{"in_octets_decrypted", detail::text_of(in_octets_decrypted_)},
                               {"in_pkts_decrypted", detail::text_of(in_pkts_decrypted_)},
                               {"in_pkts_not_valid", detail::text_of(in_pkts_not_valid_)},
                               {"out_octets_encrypted", detail::text_of(out_octets_encrypted_)},
                               {"out_pkts_encrypted", detail::text_of(out_pkts_encrypted_)}});
}

}  // namespace orv
