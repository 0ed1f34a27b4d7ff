#include "demo/DemoState.h"

#include <cstdio>

namespace orvtest::demo {

namespace pb = OrvSdkRpc::pb;

namespace {

std::string groupName(std::uint32_t index) {
   char name[16];
   std::snprintf(name, sizeof name, "core-%04u", index);
   return name;
}

void setAddress(pb::ip_address_msg& message, std::uint32_t address) {
   const char bytes[] = {static_cast<char>(address >> 24), static_cast<char>(address >> 16),
                         static_cast<char>(address >> 8), static_cast<char>(address)};
   message.set_address(bytes, sizeof bytes);
}

}  // namespace

pb::nexthop_group_msg group(std::uint32_t index) {
   pb::nexthop_group_msg message;
   message.set_name(groupName(index));
   for (std::uint32_t i = 0; i < 2; ++i) {
      const auto port = (index + i * 7) % 64 + 1;
      auto& nexthop = *message.add_nexthops();
      nexthop.set_intf("Ethernet" + std::to_string(port));
      setAddress(*nexthop.mutable_address(), 0x0a000002 + (port << 8));
      nexthop.set_mpls_operation(pb::MPLS_OPERATION_PUSH);
      nexthop.add_mpls_labels(100000 + index);
      nexthop.set_weight(1);
   }
   return message;
}

pb::ip_route_msg route(std::uint32_t index) {
   pb::ip_route_msg message;
   setAddress(*message.mutable_prefix()->mutable_network(), 0x14000000 + index);
   message.mutable_prefix()->set_prefix_length(32);
   message.set_nexthop_group_name(groupName(index / 100 % groupCount));
   return message;
}

}  // namespace orvtest::demo
