#include "orv/sbfd_types.h"

#include "orv/record_text.h"

namespace orv {

std::string_view enum_text(bfd_session_status_t v) noexcept {
   switch (v) {
      case bfd_session_status_t::unknown:
         return "unknown";
      case bfd_session_status_t::down:
         return "down";
      case bfd_session_status_t::init:
         return "init";
      case bfd_session_status_t::up:
         return "up";
      case bfd_session_status_t::admin_down:
         return "admin-down";
   }
   return {};
}

std::size_t sbfd_echo_session_key_t::hash() const {
   return detail::hash_of(nexthop_, nexthop_intf_, label_stack_, dscp_, mpls_exp_);
}

std::string sbfd_echo_session_key_t::to_string() const {
   return detail::record_text("sbfd_echo_session_key_t", {{"nexthop", detail::text_of(nexthop_)},
                                                          {"nexthop_intf", detail::text_of(nexthop_intf_)},
                                                          {"label_stack", detail::text_of(label_stack_)},
                                                          {"dscp", detail::text_of(dscp_)},
                                                          {"mpls_exp", detail::text_of(mpls_exp_)}});
}

std::size_t sbfd_interval_t::hash() const {
   return detail::hash_of(min_tx_, multiplier_);
}

std::string sbfd_interval_t::to_string() const {
   return detail::record_text("sbfd_interval_t", {{"min_tx", detail::text_of(min_tx_)},
                                                  {"multiplier", detail::text_of(multiplier_)}});
}

std::size_t sbfd_echo_session_rtt_stats_t::hash() const {
   return detail::hash_of(last_rtt_, min_rtt_, avg_rtt_, max_rtt_, snapshot_min_rtt_, snapshot_avg_rtt_,
                          snapshot_max_rtt_);
}

std::string sbfd_echo_session_rtt_stats_t::to_string() const {
   return detail::record_text("sbfd_echo_session_rtt_stats_t",
                              {{"last_rtt", detail::text_of(last_rtt_)},
                               {"min_rtt", detail::text_of(min_rtt_)},
                               {"avg_rtt", detail::text_of(avg_rtt_)},
                               {"max_rtt", detail::text_of(max_rtt_)},
                               {"snapshot_min_rtt", detail::text_of(snapshot_min_rtt_)},
                               {"snapshot_avg_rtt", detail::text_of(snapshot_avg_rtt_)},
                               {"snapshot_max_rtt", detail::text_of(snapshot_max_rtt_)}});
}

}  // namespace orv
