#include "orv/fib_types.h"

#include <bit>

#include "orv/record_text.h"

namespace orv {
namespace {

// Fewer vias than this are searched linearly.
constexpr std::size_t searched_at_most = 16;

}  // namespace

std::string_view enum_text(fib_fec_type_t v) noexcept {
   switch (v) {
      case fib_fec_type_t::forward:
         return "forward";
      case fib_fec_type_t::drop:
         return "drop";
      case fib_fec_type_t::punt:
         return "punt";
      case fib_fec_type_t::nexthop_group:
         return "nexthop-group";
      case fib_fec_type_t::mpls:
         return "mpls";
      case fib_fec_type_t::vxlan:
         return "vxlan";
      case fib_fec_type_t::vrf_leak:
         return "vrf-leak";
      case fib_fec_type_t::undefined:
         return "undefined";
   }
   return {};
}

std::string_view enum_text(fib_route_type_t v) noexcept {
   switch (v) {
      case fib_route_type_t::connected:
         return "connected";
      case fib_route_type_t::static_route:
         return "static-route";
      case fib_route_type_t::drop:
         return "drop";
      case fib_route_type_t::nexthop_group:
         return "nexthop-group";
      case fib_route_type_t::undefined:
         return "undefined";
      case fib_route_type_t::attached:
         return "attached";
      case fib_route_type_t::receive:
         return "receive";
      case fib_route_type_t::receive_broadcast:
         return "receive-broadcast";
      case fib_route_type_t::attached_host:
         return "attached-host";
      case fib_route_type_t::bgp_internal:
         return "bgp-internal";
      case fib_route_type_t::bgp_external:
         return "bgp-external";
      case fib_route_type_t::bgp_aggregate:
         return "bgp-aggregate";
      case fib_route_type_t::ospf_intra_area:
         return "ospf-intra-area";
      case fib_route_type_t::ospf_inter_area:
         return "ospf-inter-area";
      case fib_route_type_t::ospf_external_1:
         return "ospf-external-1";
      case fib_route_type_t::ospf_external_2:
         return "ospf-external-2";
      case fib_route_type_t::ospf_nssa_1:
         return "ospf-nssa-1";
      case fib_route_type_t::ospf_nssa_2:
         return "ospf-nssa-2";
      case fib_route_type_t::isis_level_1:
         return "isis-level-1";
      case fib_route_type_t::isis_level_2:
         return "isis-level-2";
      case fib_route_type_t::rip:
         return "rip";
      case fib_route_type_t::vxlan_control:
         return "vxlan-control";
      case fib_route_type_t::dhcp:
         return "dhcp";
      case fib_route_type_t::martian:
         return "martian";
      case fib_route_type_t::vrf_leak:
         return "vrf-leak";
      case fib_route_type_t::policy:
         return "policy";
      case fib_route_type_t::sdk_agent:
         return "sdk-agent";
   }
   return {};
}

std::string fib_route_key_t::to_string() const {
   return prefix_.to_string();
}

std::string fib_fec_key_t::to_string() const {
   return std::to_string(fec_id_);
}

std::size_t fib_route_t::hash() const {
   return detail::hash_of(route_key_, preference_, metric_, route_type_, fec_id_);
}

std::string fib_route_t::to_string() const {
   return detail::record_text("fib_route_t", {{"route_key", detail::text_of(route_key_)},
                                              {"preference", detail::text_of(preference_)},
                                              {"metric", detail::text_of(metric_)},
                                              {"route_type", detail::text_of(route_type_)},
                                              {"fec_id", detail::text_of(fec_id_)}});
}

std::size_t fib_via_t::hash() const {
   return detail::hash_of(hop_, intf_, mpls_label_);
}

std::string fib_via_t::to_string() const {
   return detail::record_text("fib_via_t", {{"hop", detail::text_of(hop_)},
                                            {"intf", detail::text_of(intf_)},
                                            {"mpls_label", detail::text_of(mpls_label_)}});
}

std::size_t fib_fec_t::hash() const {
   return detail::hash_of(fec_key_, fec_type_, nexthop_group_name_, via_);
}

std::string fib_fec_t::to_string() const {
   return detail::record_text("fib_fec_t", {{"fec_key", detail::text_of(fec_key_)},
                                            {"fec_type", detail::text_of(fec_type_)},
                                            {"nexthop_group_name", detail::text_of(nexthop_group_name_)},
                                            {"via", detail::text_of(via_)}});
}

bool fib_fec_t::operator==(const fib_fec_t& other) const {
   return fec_key_ == other.fec_key_ && fec_type_ == other.fec_type_ &&
          nexthop_group_name_ == other.nexthop_group_name_ && via_ == other.via_;
}

void fib_fec_t::via_set(fib_via_t via) {
   if (via_.size() < searched_at_most) {
      if (std::find(via_.begin(), via_.end(), via) == via_.end()) via_.push_back(std::move(via));
      return;
   }
   if (places_.size() < 2 * (via_.size() + 1)) grow_places();
   const auto place = place_of(via);
   if (places_[place] != 0) return;
   via_.push_back(std::move(via));
   places_[place] = static_cast<std::uint32_t>(via_.size());
}

std::size_t fib_fec_t::place_of(const fib_via_t& via) const {
   auto place = via.hash() & (places_.size() - 1);
   while (places_[place] != 0 && via_[places_[place] - 1] != via)
      place = (place + 1) & (places_.size() - 1);
   return place;
}

void fib_fec_t::grow_places() {
   places_.assign(std::bit_ceil(4 * via_.size()), 0);
   for (std::size_t i = 0; i < via_.size(); ++i)
      places_[place_of(via_[i])] = static_cast<std::uint32_t>(i + 1);
}

}  // namespace orv
