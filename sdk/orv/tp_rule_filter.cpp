#include "orv/tp_rule_filter.h"

#include "orv/record_text.h"

namespace orv {

std::string_view enum_text(traffic_policy_rule_type_t v) noexcept {
   switch (v) {
      case traffic_policy_rule_type_t::none:
         return "none";
      case traffic_policy_rule_type_t::ipv4:
         return "ipv4";
      case traffic_policy_rule_type_t::ipv6:
         return "ipv6";
   }
   return {};
}

std::size_t port_field_t::hash() const {
   return detail::hash_of(src_ports_, dst_ports_, src_port_field_sets_, dst_port_field_sets_);
}

std::string port_field_t::to_string() const {
   return detail::record_text("port_field_t",
                              {{"src_ports", detail::text_of(src_ports_)},
                               {"dst_ports", detail::text_of(dst_ports_)},
                               {"src_port_field_sets", detail::text_of(src_port_field_sets_)},
                               {"dst_port_field_sets", detail::text_of(dst_port_field_sets_)}});
}

std::size_t protocol_field_t::hash() const {
   return detail::hash_of(ports_);
}

std::string protocol_field_t::to_string() const {
   return detail::record_text("protocol_field_t", {{"ports", detail::text_of(ports_)}});
}

std::size_t tp_rule_filter_t::hash() const {
   return detail::hash_of(filter_type_, src_addrs_, src_addr_field_sets_, dst_addrs_, dst_addr_field_sets_,
                          protocols_);
}

std::string tp_rule_filter_t::to_string() const {
   return detail::record_text("tp_rule_filter_t",
                              {{"filter_type", detail::text_of(filter_type_)},
                               {"src_addrs", detail::text_of(src_addrs_)},
                               {"src_addr_field_sets", detail::text_of(src_addr_field_sets_)},
                               {"dst_addrs", detail::text_of(dst_addrs_)},
                               {"dst_addr_field_sets", detail::text_of(dst_addr_field_sets_)},
                               {"protocols", detail::text_of(protocols_)}});
}

}  // namespace orv
