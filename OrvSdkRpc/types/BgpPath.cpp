#include "OrvSdkRpc/types/BgpPath.h"

#include "OrvSdkRpc/types/Addresses.h"
#include "OrvSdkRpc/types/Identifiers.h"

namespace OrvSdkRpc::types {

namespace remote = orv::remote;

orv::bgp_path_options_t convert(const remote::BgpPathOptions& message) {
   orv::bgp_path_options_t options;
   options.receive_route_stage_is(static_cast<orv::bgp_receive_route_stage_t>(message.receive_route_stage()));
   options.path_attr_fields_is(convert(message.path_attr_fields()));
   return options;
}

orv::bgp_path_attr_fields_t convert(const remote::BgpPathAttrFields& message) {
   orv::bgp_path_attr_fields_t fields;
   fields.next_hop_is(message.next_hop());
   fields.community_list_is(message.community_list());
   return fields;
}

remote::BgpPath convert(const orv::bgp_path_t& path) {
   remote::BgpPath message;
   *message.mutable_path_key() = convert(path.path_key());
   *message.mutable_path_attr() = convert(path.path_attr());
   return message;
}

remote::BgpPathAttrs convert(const orv::bgp_path_attr_t& attr) {
   remote::BgpPathAttrs message;
   message.set_next_hop(ip_addr_bytes(attr.next_hop()));
   message.set_origin(attr.origin());
   message.set_med(attr.med());
   message.set_local_pref(attr.local_pref());
   message.mutable_community_list()->Add(attr.community_list().begin(), attr.community_list().end());
   return message;
}

}  // namespace OrvSdkRpc::types
