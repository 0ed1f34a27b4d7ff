// Values of the programming service's messages, in short.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>

#include "OrvSdkRpcProtos/orvsdk.pb.h"

namespace orvtest {

namespace pb = OrvSdkRpc::pb;

inline std::string ipv4(std::initializer_list<int> bytes) {
   std::string text;
   for (const int byte : bytes)
      text.push_back(static_cast<char>(byte));
   return text;
}

// 10.0.<third>.0/24 to `group`; an empty group deletes.
inline pb::ip_route_msg ipRoute(int third, const std::string& group, std::uint32_t tag = 0) {
   pb::ip_route_msg message;
   message.mutable_prefix()->mutable_network()->set_address(ipv4({10, 0, third, 0}));
   message.mutable_prefix()->set_prefix_length(24);
   message.set_tag(tag);
   if (!group.empty()) message.set_nexthop_group_name(group);
   return message;
}

// A nexthop 192.0.2.<last> that pushes the labels.
inline void addNexthop(pb::nexthop_group_msg& group, int last, std::initializer_list<std::uint32_t> labels,
                       std::uint32_t weight = 1) {
   auto& nexthop = *group.add_nexthops();
   nexthop.mutable_address()->set_address(ipv4({192, 0, 2, last}));
   for (const std::uint32_t label : labels)
      nexthop.add_mpls_labels(label);
   nexthop.set_mpls_operation(pb::MPLS_OPERATION_PUSH);
   nexthop.set_weight(weight);
}

}  // namespace orvtest
