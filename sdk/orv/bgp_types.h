// Identity and state of BGP peers.
//
// Thread-safety: plain values.
#pragma once

#include <compare>
#include <string>
#include <utility>

#include "orv/ip_addr.h"

namespace orv {

// State of a peer (RFC 4271 section 8.2.2).
enum class bgp_peer_state_t : std::uint8_t {
   unknown = 0,
   idle = 1,          // makes no connection attempt
   connect = 2,       // a connection is being set up
   active = 3,        // waits for the next attempt
   open_sent = 4,     // waits for the peer's OPEN
   open_confirm = 5,  // waits for the peer's KEEPALIVE
   established = 6,   // routes are exchanged
};
[[nodiscard]] std::string_view enum_text(bgp_peer_state_t v) noexcept;

// Identity of a peer.
class bgp_peer_key_t {
public:
   using sdk_value = bgp_peer_key_t;

   bgp_peer_key_t() = default;
   bgp_peer_key_t(std::string vrf_name, const ip_addr_t& peer_addr)
        : vrf_name_(std::move(vrf_name)), peer_addr_(peer_addr) {}

   // VRF in which the peer is reached.
   [[nodiscard]] const std::string& vrf_name() const noexcept { return vrf_name_; }
   void vrf_name_is(std::string v) { vrf_name_ = std::move(v); }
   [[nodiscard]] const ip_addr_t& peer_addr() const noexcept { return peer_addr_; }
   void peer_addr_is(const ip_addr_t& v) { peer_addr_ = v; }

   auto operator<=>(const bgp_peer_key_t&) const = default;
   [[nodiscard]] std::size_t hash() const;
   [[nodiscard]] std::string to_string() const;

private:
   std::string vrf_name_;
   ip_addr_t peer_addr_;
};

}  // namespace orv
