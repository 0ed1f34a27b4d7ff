#include "orv/eth_lag_intf_types.h"

#include "orv/record_text.h"

namespace orv {

std::string_view enum_text(eth_lag_intf_fallback_type_t v) noexcept {
   switch (v) {
      case eth_lag_intf_fallback_type_t::undefined:
         return "undefined";
      case eth_lag_intf_fallback_type_t::none:
         return "none";
      case eth_lag_intf_fallback_type_t::static_member:
         return "static-member";
      case eth_lag_intf_fallback_type_t::individual:
         return "individual";
   }
   return {};
}

std::string_view enum_text(eth_lag_intf_member_lacp_mode_t v) noexcept {
   switch (v) {
      case eth_lag_intf_member_lacp_mode_t::undefined:
         return "undefined";
      case eth_lag_intf_member_lacp_mode_t::on:
         return "on";
      case eth_lag_intf_member_lacp_mode_t::passive:
         return "passive";
      case eth_lag_intf_member_lacp_mode_t::active:
         return "active";
   }
   return {};
}

std::string_view enum_text(eth_lag_intf_member_lacp_timeout_t v) noexcept {
   switch (v) {
      case eth_lag_intf_member_lacp_timeout_t::undefined:
         return "undefined";
      case eth_lag_intf_member_lacp_timeout_t::short_timeout:
         return "short-timeout";
      case eth_lag_intf_member_lacp_timeout_t::long_timeout:
         return "long-timeout";
   }
   return {};
}

std::size_t eth_lag_intf_t::hash() const {
   return detail::hash_of(intf_, speed_, min_links_, fallback_type_, fallback_timeout_,
                          fallback_timeout_default_, min_speed_);
}

std::string eth_lag_intf_t::to_string() const {
   return detail::record_text("eth_lag_intf_t",
                              {{"intf", detail::text_of(intf_)},
                               {"speed", detail::text_of(speed_)},
                               {"min_links", detail::text_of(min_links_)},
                               {"fallback_type", detail::text_of(fallback_type_)},
                               {"fallback_timeout", detail::text_of(fallback_timeout_)},
                               {"fallback_timeout_default", detail::text_of(fallback_timeout_default_)},
                               {"min_speed", detail::text_of(min_speed_)}});
}

std::size_t eth_lag_intf_membership_t::hash() const {
   return detail::hash_of(eth_lag_intf_id_, active_, reason_, member_time_, mode_);
}

std::string eth_lag_intf_membership_t::to_string() const {
   return detail::record_text("eth_lag_intf_membership_t",
                              {{"eth_lag_intf_id", detail::text_of(eth_lag_intf_id_)},
                               {"active", detail::text_of(active_)},
                               {"reason", detail::text_of(reason_)},
                               {"member_time", detail::text_of(member_time_)},
                               {"mode", detail::text_of(mode_)}});
}

}  // namespace orv
