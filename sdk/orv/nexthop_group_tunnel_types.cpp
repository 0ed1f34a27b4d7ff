#include "orv/nexthop_group_tunnel_types.h"

#include "orv/record_text.h"

namespace orv {

std::size_t nexthop_group_tunnel_t::hash() const {
   return detail::hash_of(tunnel_endpoint_, nhg_name_, igp_metric_);
}

std::string nexthop_group_tunnel_t::to_string() const {
   return detail::record_text("nexthop_group_tunnel_t",
                              {{"tunnel_endpoint", detail::text_of(tunnel_endpoint_)},
                               {"nhg_name", detail::text_of(nhg_name_)},
                               {"igp_metric", detail::text_of(igp_metric_)}});
}

}  // namespace orv
