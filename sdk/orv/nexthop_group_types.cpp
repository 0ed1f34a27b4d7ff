#include "orv/nexthop_group_types.h"

#include "orv/record_text.h"

namespace orv {

std::string_view enum_text(nexthop_group_encap_t v) noexcept {
   switch (v) {
      case nexthop_group_encap_t::undefined:
         return "undefined";
      case nexthop_group_encap_t::gre:
         return "gre";
      case nexthop_group_encap_t::ip_in_ip:
         return "ip-in-ip";
      case nexthop_group_encap_t::mpls:
         return "mpls";
      case nexthop_group_encap_t::ip:
         return "ip";
      case nexthop_group_encap_t::mpls_over_gre:
         return "mpls-over-gre";
   }
   return {};
}

std::string_view enum_text(nexthop_group_gre_key_t v) noexcept {
   switch (v) {
      case nexthop_group_gre_key_t::none:
         return "none";
      case nexthop_group_gre_key_t::ingress_intf:
         return "ingress-intf";
   }
   return {};
}

std::string_view enum_text(nexthop_group_programmed_hw_state_t v) noexcept {
   switch (v) {
      case nexthop_group_programmed_hw_state_t::unknown:
         return "unknown";
      case nexthop_group_programmed_hw_state_t::success:
         return "success";
      case nexthop_group_programmed_hw_state_t::failure:
         return "failure";
   }
   return {};
}

std::string_view enum_text(nexthop_group_counter_state_t v) noexcept {
   switch (v) {
      case nexthop_group_counter_state_t::unknown:
         return "unknown";
      case nexthop_group_counter_state_t::success:
         return "success";
      case nexthop_group_counter_state_t::failure:
         return "failure";
   }
   return {};
}

std::size_t nexthop_group_mpls_action_t::hash() const {
   return detail::hash_of(action_type_, label_stack());
}

std::string nexthop_group_mpls_action_t::to_string() const {
   return detail::record_text(
        "nexthop_group_mpls_action_t",
        {{"action_type", detail::text_of(action_type_)}, {"label_stack", detail::text_of(label_stack())}});
}

const sbfd_echo_session_key_t& nexthop_group_entry_t::sbfd_session_key() const noexcept {
   static const sbfd_echo_session_key_t none;
   return sbfd_session_key_ ? *sbfd_session_key_ : none;
}

void nexthop_group_entry_t::sbfd_session_key_is(sbfd_echo_session_key_t v) {
   if (v == sbfd_echo_session_key_t{}) {
      sbfd_session_key_.reset();
   } else {
      sbfd_session_key_ = std::make_shared<const sbfd_echo_session_key_t>(std::move(v));
   }
}

bool nexthop_group_entry_t::operator==(const nexthop_group_entry_t& other) const noexcept {
   return nexthop_ == other.nexthop_ && intf_ == other.intf_ && mpls_action_ == other.mpls_action_ &&
          child_nexthop_group_ == other.child_nexthop_group_ &&
          (sbfd_session_key_ == other.sbfd_session_key_ || sbfd_session_key() == other.sbfd_session_key());
}

std::size_t nexthop_group_entry_t::hash() const {
   return detail::hash_of(nexthop_, intf_, mpls_action_, child_nexthop_group_, sbfd_session_key());
}

std::string nexthop_group_entry_t::to_string() const {
   return detail::record_text("nexthop_group_entry_t",
                              {{"nexthop", detail::text_of(nexthop_)},
                               {"intf", detail::text_of(intf_)},
                               {"mpls_action", detail::text_of(mpls_action_)},
                               {"child_nexthop_group", detail::text_of(child_nexthop_group_)},
                               {"sbfd_session_key", detail::text_of(sbfd_session_key())}});
}

std::size_t nexthop_group_t::hash() const {
   return detail::hash_of(name_, type_, gre_key_type_, ttl_, source_ip_, source_intf_, autosize_, nexthops_,
                          backup_nexthops_, destination_ips_, counters_unshared_, counters_persistent_,
                          hierarchical_fecs_enabled_, version_id_);
}

std::string nexthop_group_t::to_string() const {
   return detail::record_text("nexthop_group_t",
                              {{"name", detail::text_of(name_)},
                               {"type", detail::text_of(type_)},
                               {"gre_key_type", detail::text_of(gre_key_type_)},
                               {"ttl", detail::text_of(ttl_)},
                               {"source_ip", detail::text_of(source_ip_)},
                               {"source_intf", detail::text_of(source_intf_)},
                               {"autosize", detail::text_of(autosize_)},
                               {"nexthops", detail::text_of(nexthops_)},
                               {"backup_nexthops", detail::text_of(backup_nexthops_)},
                               {"destination_ips", detail::text_of(destination_ips_)},
                               {"counters_unshared", detail::text_of(counters_unshared_)},
                               {"counters_persistent", detail::text_of(counters_persistent_)},
                               {"hierarchical_fecs_enabled", detail::text_of(hierarchical_fecs_enabled_)},
                               {"version_id", detail::text_of(version_id_)}});
}

std::size_t nexthop_group_entry_counter_t::hash() const {
   return detail::hash_of(packets_, bytes_, valid_);
}

std::string nexthop_group_entry_counter_t::to_string() const {
   return detail::record_text("nexthop_group_entry_counter_t", {{"packets", detail::text_of(packets_)},
                                                                {"bytes", detail::text_of(bytes_)},
                                                                {"valid", detail::text_of(valid_)}});
}

std::size_t nexthop_group_programmed_status_t::hash() const {
   return detail::hash_of(hw_state_, counter_state_);
}

std::string nexthop_group_programmed_status_t::to_string() const {
   return detail::record_text(
        "nexthop_group_programmed_status_t",
        {{"hw_state", detail::text_of(hw_state_)}, {"counter_state", detail::text_of(counter_state_)}});
}

}  // namespace orv
