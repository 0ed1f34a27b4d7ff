#include "OrvSdkRpc/programming/Convert.h"

#include <fmt/format.h>

#include <string>
#include <utility>
#include <vector>

#include "OrvSdkRpc/types/Addresses.h"
#include "orv/error.h"

namespace OrvSdkRpc {

orv::ip_addr_t ipAddressToIpAddr(const pb::ip_address_msg& message) {
   return types::ip_addr(message.address());
}

orv::ip_prefix_t ipPrefixToPrefix(const pb::ip_prefix_msg& message) {
   return {ipAddressToIpAddr(message.network()), message.prefix_length()};
}

orv::sbfd_echo_session_key_t convertMsg(const pb::sbfd_echo_session_key_msg& message) {
   if (message.dscp() > 255) throw orv::invalid_range_error("dscp", message.dscp(), 0, 255);
   if (message.mpls_exp() > 7) throw orv::invalid_range_error("mpls_exp", message.mpls_exp(), 0, 7);
   std::vector<orv::mpls_label_t> labels;
   labels.reserve(static_cast<std::size_t>(message.label_stack_size()));
   for (const std::uint32_t label : message.label_stack())
      labels.emplace_back(label);
   return {ipAddressToIpAddr(message.nexthop()), orv::intf_id_t(message.nexthop_intf()), std::move(labels),
           static_cast<std::uint8_t>(message.dscp()), static_cast<std::uint8_t>(message.mpls_exp())};
}

void convertKey(const orv::sbfd_echo_session_key_t& key, pb::sbfd_echo_session_key_msg& message) {
   message.Clear();
   const auto address = key.nexthop().bytes();
   message.mutable_nexthop()->set_address(address.data(), address.size());
   message.set_nexthop_intf(key.nexthop_intf().to_string());
   for (const orv::mpls_label_t label : key.label_stack())
      message.add_label_stack(label.label());
   message.set_dscp(key.dscp());
   message.set_mpls_exp(key.mpls_exp());
}

orv::mpls_action_t mplsOpToMplsAction(pb::mpls_operation_enum operation) {
   switch (operation) {
      case pb::MPLS_OPERATION_NONE:
         return orv::mpls_action_t::none;
      case pb::MPLS_OPERATION_PUSH:
         return orv::mpls_action_t::push;
      case pb::MPLS_OPERATION_POP:
         return orv::mpls_action_t::pop;
      case pb::MPLS_OPERATION_SWAP:
         return orv::mpls_action_t::swap;
      case pb::MPLS_OPERATION_FORWARD:
         return orv::mpls_action_t::forward;
      default:
         throw orv::invalid_argument_error(
              fmt::format("mpls_operation {} is unknown, expected 0 to 4", static_cast<int>(operation)));
   }
}

}  // namespace OrvSdkRpc
