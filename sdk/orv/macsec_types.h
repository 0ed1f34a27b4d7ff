// Records of MACsec (IEEE 802.1AE).
//
// Thread-safety: plain values.
#pragma once

#include <set>
#include <string>
#include <utility>

#include "orv/intf_id.h"

namespace orv {

// How link layer discovery frames pass a secured interface.
enum class macsec_bypass_t : std::uint8_t {
   none = 0,           // encrypted as all frames are
   until_secured = 1,  // in the clear until a key is agreed
   always = 2,         // always in the clear
};
[[nodiscard]] std::string_view enum_text(macsec_bypass_t v) noexcept;

// Cipher suite (IEEE 802.1AE section 14).
enum class macsec_cipher_suite_t : std::uint8_t {
   undefined = 0,  // as the switch is configured
   gcm_aes_128 = 1,
   gcm_aes_256 = 2,
   gcm_aes_xpn_128 = 3,
   gcm_aes_xpn_256 = 4,
};
[[nodiscard]] std::string_view enum_text(macsec_cipher_suite_t v) noexcept;

// What happens to traffic while no key is agreed.
enum class macsec_profile_traffic_policy_t : std::uint8_t {
   undefined = 0,    // as the switch is configured
   active_key = 1,   // passes under the last key that was agreed
   unprotected = 2,  // passes in the clear
   blocked = 3,      // is dropped
};
[[nodiscard]] std::string_view enum_text(macsec_profile_traffic_policy_t v) noexcept;

// State of the key agreement on an interface (IEEE 802.1X section 9).
enum class macsec_intf_key_status_t : std::uint8_t {
   none = 0,  // no profile is active
   in_progress = 1,
   primary = 2,   // agreed with the primary key
   fallback = 3,  // agreed with the fallback key
   no_peer = 4,   // the peer does not answer
   failed = 5,    // the peer has another key
};
[[nodiscard]] std::string_view enum_text(macsec_intf_key_status_t v) noexcept;

// What happens to traffic on an interface.
enum class macsec_intf_traffic_status_t : std::uint8_t {
   blocked = 0,      // is dropped
   unprotected = 1,  // passes in the clear
   encrypted = 2,
};
[[nodiscard]] std::string_view enum_text(macsec_intf_traffic_status_t v) noexcept;

// A pre-shared key. The text form never shows the key itself.
class macsec_key_t {
public:
   using sdk_value = macsec_key_t;

   macsec_key_t() = default;
   macsec_key_t(std::string cak, std::string ckn, bool encoded = false)
        : cak_(std::move(cak)), ckn_(std::move(ckn)), encoded_(encoded) {}

   // The key, in hexadecimal digits or encoded.
   [[nodiscard]] const std::string& cak() const noexcept { return cak_; }
   void cak_is(std::string v) { cak_ = std::move(v); }
   // Name of the key, in hexadecimal digits.
   [[nodiscard]] const std::string& ckn() const noexcept { return ckn_; }
   void ckn_is(std::string v) { ckn_ = std::move(v); }
   // The key is encoded as the switch stores it.
   [[nodiscard]] bool encoded() const noexcept { return encoded_; }
   void encoded_is(bool v) { encoded_ = v; }

   bool operator==(const macsec_key_t&) const = default;
   [[nodiscard]] std::size_t hash() const;
   [[nodiscard]] std::string to_string() const;

private:
   std::string cak_;
   std::string ckn_;
   bool encoded_ = false;
};

// How interfaces are secured.
class macsec_profile_t {
public:
   using sdk_value = macsec_profile_t;

   macsec_profile_t() = default;
   explicit macsec_profile_t(std::string name) : name_(std::move(name)) {}

   // The peer with the smallest priority distributes the keys.
   [[nodiscard]] std::uint8_t key_server_priority() const noexcept { return key_server_priority_; }
   void key_server_priority_is(std::uint8_t v) { key_server_priority_ = v; }
   [[nodiscard]] const std::string& name() const noexcept { return name_; }
   void name_is(std::string v) { name_ = std::move(v); }
   // The key that is used first.
   [[nodiscard]] const macsec_key_t& primary_key() const noexcept { return primary_key_; }
   void primary_key_is(macsec_key_t v) { primary_key_ = std::move(v); }
   // The key that is used if the peer does not have the primary one.
   [[nodiscard]] const macsec_key_t& fallback_key() const noexcept { return fallback_key_; }
   void fallback_key_is(macsec_key_t v) { fallback_key_ = std::move(v); }
   // Seconds after which a new key is agreed; 0 for never.
   [[nodiscard]] std::uint32_t rekey_period() const noexcept { return rekey_period_; }
   void rekey_period_is(std::uint32_t v) { rekey_period_ = v; }
   // Seconds after which a silent peer is considered dead.
   [[nodiscard]] std::uint32_t mka_life_time() const noexcept { return mka_life_time_; }
   void mka_life_time_is(std::uint32_t v) { mka_life_time_ = v; }
   [[nodiscard]] macsec_cipher_suite_t cipher() const noexcept { return cipher_; }
   void cipher_is(macsec_cipher_suite_t v) { cipher_ = v; }
   // Keys come from IEEE 802.1X authentication.
   [[nodiscard]] bool dot1x() const noexcept { return dot1x_; }
   void dot1x_is(bool v) { dot1x_ = v; }
   // Frames carry the secure channel identifier.
   [[nodiscard]] bool include_sci() const noexcept { return include_sci_; }
   void include_sci_is(bool v) { include_sci_ = v; }
   [[nodiscard]] macsec_bypass_t lldp_bypass_level() const noexcept { return lldp_bypass_level_; }
   void lldp_bypass_level_is(macsec_bypass_t v) { lldp_bypass_level_ = v; }
   [[nodiscard]] macsec_profile_traffic_policy_t traffic_policy() const noexcept { return traffic_policy_; }
   void traffic_policy_is(macsec_profile_traffic_policy_t v) { traffic_policy_ = v; }
   // Frames that arrive in the clear are accepted.
   [[nodiscard]] bool allow_unprotected() const noexcept { return allow_unprotected_; }
   void allow_unprotected_is(bool v) { allow_unprotected_ = v; }
   // Frames that arrive out of order are dropped.
   [[nodiscard]] bool replay_protection() const noexcept { return replay_protection_; }
   void replay_protection_is(bool v) { replay_protection_ = v; }
   // Number of frames by which a frame may be late before it counts as out of order.
   [[nodiscard]] std::uint32_t replay_protection_window() const noexcept { return replay_protection_window_; }
   void replay_protection_window_is(std::uint32_t v) { replay_protection_window_ = v; }
   // An old key is retired as soon as a new one is agreed.
   [[nodiscard]] bool key_retirement_immediate() const noexcept { return key_retirement_immediate_; }
   void key_retirement_immediate_is(bool v) { key_retirement_immediate_ = v; }
   // Discovery frames pass in the clear, always or until a key is agreed.
   [[nodiscard]] bool bypass_lldp() const noexcept { return lldp_bypass_level_ != macsec_bypass_t::none; }
   // The interfaces that use the profile, as the manager reports them.
   [[nodiscard]] const std::set<intf_id_t>& intfs() const noexcept { return intfs_; }
   void intfs_is(std::set<intf_id_t> v) { intfs_ = std::move(v); }

   bool operator==(const macsec_profile_t&) const = default;
   [[nodiscard]] std::size_t hash() const;
   [[nodiscard]] std::string to_string() const;

private:
   std::uint8_t key_server_priority_ = 16;
   std::string name_;
   macsec_key_t primary_key_;
   macsec_key_t fallback_key_;
   std::uint32_t rekey_period_ = 0;
   std::uint32_t mka_life_time_ = 6;
   macsec_cipher_suite_t cipher_ = macsec_cipher_suite_t::undefined;
   bool dot1x_ = false;
   bool include_sci_ = false;
   macsec_bypass_t lldp_bypass_level_ = macsec_bypass_t::none;
   macsec_profile_traffic_policy_t traffic_policy_ = macsec_profile_traffic_policy_t::undefined;
   bool allow_unprotected_ = false;
   bool replay_protection_ = true;
   std::uint32_t replay_protection_window_ = 0;
   bool key_retirement_immediate_ = false;
   std::set<intf_id_t> intfs_;
};

// State of an interface.
class macsec_intf_status_t {
public:
   using sdk_value = macsec_intf_status_t;

   macsec_intf_status_t() = default;
   macsec_intf_status_t(macsec_intf_key_status_t key_status, macsec_intf_traffic_status_t traffic_status)
        : key_status_(key_status), traffic_status_(traffic_status) {}

   [[nodiscard]] macsec_intf_key_status_t key_status() const noexcept { return key_status_; }
   void key_status_is(macsec_intf_key_status_t v) { key_status_ = v; }
   [[nodiscard]] macsec_intf_traffic_status_t traffic_status() const noexcept { return traffic_status_; }
   void traffic_status_is(macsec_intf_traffic_status_t v) { traffic_status_ = v; }

   bool operator==(const macsec_intf_status_t&) const = default;
   [[nodiscard]] std::size_t hash() const;
   [[nodiscard]] std::string to_string() const;

private:
   macsec_intf_key_status_t key_status_ = macsec_intf_key_status_t::none;
   macsec_intf_traffic_status_t traffic_status_ = macsec_intf_traffic_status_t::unprotected;
};

// Secured traffic of an interface.
class macsec_intf_counters_t {
public:
   using sdk_value = macsec_intf_counters_t;

   macsec_intf_counters_t() = default;

   // Bytes that were decrypted.
   [[nodiscard]] std::uint64_t in_octets_decrypted() const noexcept { return in_octets_decrypted_; }
   void in_octets_decrypted_is(std::uint64_t v) { in_octets_decrypted_ = v; }
   // Packets that were decrypted.
   [[nodiscard]] std::uint64_t in_pkts_decrypted() const noexcept { return in_pkts_decrypted_; }
   void in_pkts_decrypted_is(std::uint64_t v) { in_pkts_decrypted_ = v; }
   // Packets that failed the integrity check.
   [[nodiscard]] std::uint64_t in_pkts_not_valid() const noexcept { return in_pkts_not_valid_; }
   void in_pkts_not_valid_is(std::uint64_t v) { in_pkts_not_valid_ = v; }
   // Bytes that were encrypted.
   [[nodiscard]] std::uint64_t out_octets_encrypted() const noexcept { return out_octets_encrypted_; }
   void out_octets_encrypted_is(std::uint64_t v) { out_octets_encrypted_ = v; }
   // Packets that were encrypted.
   [[nodiscard]] std::uint64_t out_pkts_encrypted() const noexcept { return out_pkts_encrypted_; }
   void out_pkts_encrypted_is(std::uint64_t v) { out_pkts_encrypted_ = v; }

   bool operator==(const macsec_intf_counters_t&) const = default;
   [[nodiscard]] std::size_t hash() const;
   [[nodiscard]] std::string to_string() const;

private:
   std::uint64_t in_octets_decrypted_ = 0;
   std::uint64_t in_pkts_decrypted_ = 0;
   std::uint64_t in_pkts_not_valid_ = 0;
   std::uint64_t out_octets_encrypted_ = 0;
   std::uint64_t out_pkts_encrypted_ = 0;
};

}  // namespace orv
