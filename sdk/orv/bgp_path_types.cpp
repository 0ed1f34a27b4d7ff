#include "orv/bgp_path_types.h"

#include "orv/record_text.h"

namespace orv {

std::string_view enum_text(bgp_receive_route_stage_t v) noexcept {
   switch (v) {
      case bgp_receive_route_stage_t::received:
         return "received";
      case bgp_receive_route_stage_t::accepted:
         return "accepted";
      case bgp_receive_route_stage_t::best:
         return "best";
   }
   return {};
}

std::size_t bgp_path_key_t::hash() const {
   return detail::hash_of(peer_addr_, vrf_name_, prefix_);
}

std::string bgp_path_key_t::to_string() const {
   return detail::record_text("bgp_path_key_t", {{"peer_addr", detail::text_of(peer_addr_)},
                                                 {"vrf_name", detail::text_of(vrf_name_)},
                                                 {"prefix", detail::text_of(prefix_)}});
}

std::size_t bgp_path_attr_fields_t::hash() const {
   return detail::hash_of(next_hop_, community_list_);
}

std::string bgp_path_attr_fields_t::to_string() const {
   return detail::record_text(
        "bgp_path_attr_fields_t",
        {{"next_hop", detail::text_of(next_hop_)}, {"community_list", detail::text_of(community_list_)}});
}

std::size_t bgp_path_options_t::hash() const {
   return detail::hash_of(receive_route_stage_, path_attr_fields_);
}

std::string bgp_path_options_t::to_string() const {
   return detail::record_text("bgp_path_options_t",
                              {{"receive_route_stage", detail::text_of(receive_route_stage_)},
                               {"path_attr_fields", detail::text_of(path_attr_fields_)}});
}

std::size_t bgp_path_attr_t::hash() const {
   return detail::hash_of(next_hop_, origin_, med_, local_pref_, community_list_);
}

std::string bgp_path_attr_t::to_string() const {
   return detail::record_text("bgp_path_attr_t", {{"next_hop", detail::text_of(next_hop_)},
                                                  {"origin", detail::text_of(origin_)},
                                                  {"med", detail::text_of(med_)},
                                                  {"local_pref", detail::text_of(local_pref_)},
                                                  {"community_list", detail::text_of(community_list_)}});
}

std::size_t bgp_path_t::hash() const {
   return detail::hash_of(path_key_, path_attr_);
}

std::string bgp_path_t::to_string() const {
   return detail::record_text(
        "bgp_path_t", {{"path_key", detail::text_of(path_key_)}, {"path_attr", detail::text_of(path_attr_)}});
}

}  // namespace orv
