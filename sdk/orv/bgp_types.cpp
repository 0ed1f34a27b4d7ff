#include "orv/bgp_types.h"

#include "orv/record_text.h"

namespace orv {

std::string_view enum_text(bgp_peer_state_t v) noexcept {
   switch (v) {
      case bgp_peer_state_t::unknown:
         return "unknown";
      case bgp_peer_state_t::idle:
         return "idle";
      case bgp_peer_state_t::connect:
         return "connect";
      case bgp_peer_state_t::active:
         return "active";
      case bgp_peer_state_t::open_sent:
         return "open-sent";
      case bgp_peer_state_t::open_confirm:
         return "open-confirm";
      case bgp_peer_state_t::established:
         return "established";
   }
   return {};
}

std::size_t bgp_peer_key_t::hash() const {
   return detail::hash_of(vrf_name_, peer_addr_);
}

std::string bgp_peer_key_t::to_string() const {
   return detail::record_text("bgp_peer_key_t", {{"vrf_name", detail::text_of(vrf_name_)},
                                                 {"peer_addr", detail::text_of(peer_addr_)}});
}

}  // namespace orv
