#include "orv/mpls_route_types.h"

#include <algorithm>

#include "orv/error.h"
#include "orv/record_text.h"

namespace orv {

std::string_view enum_text(mpls_action_t v) noexcept {
   switch (v) {
      case mpls_action_t::none:
         return "none";
      case mpls_action_t::push:
         return "push";
      case mpls_action_t::pop:
         return "pop";
      case mpls_action_t::swap:
         return "swap";
      case mpls_action_t::forward:
         return "forward";
   }
   return {};
}

std::string_view enum_text(mpls_payload_type_t v) noexcept {
   switch (v) {
      case mpls_payload_type_t::undefined:
         return "undefined";
      case mpls_payload_type_t::ipv4:
         return "ipv4";
      case mpls_payload_type_t::ipv6:
         return "ipv6";
      case mpls_payload_type_t::mpls:
         return "mpls";
      case mpls_payload_type_t::autodecide:
         return "autodecide";
   }
   return {};
}

std::string_view enum_text(mpls_ttl_mode_t v) noexcept {
   switch (v) {
      case mpls_ttl_mode_t::undefined:
         return "undefined";
      case mpls_ttl_mode_t::uniform:
         return "uniform";
      case mpls_ttl_mode_t::pipe:
         return "pipe";
   }
   return {};
}

mpls_route_key_t::mpls_route_key_t(std::span<const mpls_label_t> labels, std::uint8_t metric)
     : metric_(metric) {
   if (labels.size() > labels_max) {
      throw invalid_range_error("number of labels of an MPLS route", std::uint64_t{labels.size()}, 0,
                                labels_max);
   }
   std::copy(labels.begin(), labels.end(), labels_.begin());
   size_ = static_cast<std::uint8_t>(labels.size());
}

std::strong_ordering mpls_route_key_t::operator<=>(const mpls_route_key_t& other) const noexcept {
   const auto mine = labels();
   const auto theirs = other.labels();
   const auto by_labels =
        std::lexicographical_compare_three_way(mine.begin(), mine.end(), theirs.begin(), theirs.end());
   return by_labels != 0 ? by_labels : metric_ <=> other.metric_;
}

std::size_t mpls_route_key_t::hash() const noexcept {
   return detail::hash_of(labels(), metric_);
}

std::string mpls_route_key_t::to_string() const {
   std::string out;
   for (const mpls_label_t label : labels()) {
      if (!out.empty()) out += ',';
      out += label.to_string();
   }
   if (metric_ != 0) out += fmt::format(" metric {}", metric_);
   return out;
}

std::size_t mpls_route_t::hash() const {
   return detail::hash_of(key_, version_id_);
}

std::string mpls_route_t::to_string() const {
   return detail::record_text("mpls_route_t",
                              {{"key", detail::text_of(key_)}, {"version_id", detail::text_of(version_id_)}});
}

std::size_t mpls_route_via_t::hash() const {
   return detail::hash_of(route_key_, hop_, intf_, pushswap_label_, label_action_, ttl_mode_, payload_type_,
                          skip_egress_acl_, nexthop_group_);
}

std::string mpls_route_via_t::to_string() const {
   return detail::record_text("mpls_route_via_t", {{"route_key", detail::text_of(route_key_)},
                                                   {"hop", detail::text_of(hop_)},
                                                   {"intf", detail::text_of(intf_)},
                                                   {"pushswap_label", detail::text_of(pushswap_label_)},
                                                   {"label_action", detail::text_of(label_action_)},
                                                   {"ttl_mode", detail::text_of(ttl_mode_)},
                                                   {"payload_type", detail::text_of(payload_type_)},
                                                   {"skip_egress_acl", detail::text_of(skip_egress_acl_)},
                                                   {"nexthop_group", detail::text_of(nexthop_group_)}});
}

std::size_t mpls_route_status_t::hash() const {
   return detail::hash_of(key_, fec_id_, hw_version_id_);
}

std::string mpls_route_status_t::to_string() const {
   return detail::record_text("mpls_route_status_t", {{"key", detail::text_of(key_)},
                                                      {"fec_id", detail::text_of(fec_id_)},
                                                      {"hw_version_id", detail::text_of(hw_version_id_)}});
}

}  // namespace orv
