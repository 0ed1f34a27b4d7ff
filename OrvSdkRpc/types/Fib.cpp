#include "OrvSdkRpc/types/Fib.h"

#include <utility>

#include "OrvSdkRpc/types/Addresses.h"
#include "OrvSdkRpc/types/Enumerations.h"
#include "OrvSdkRpc/types/Identifiers.h"

namespace OrvSdkRpc::types {

namespace remote = orv::remote;

orv::fib_route_t convert(const remote::FibRoute& message) {
   orv::fib_route_t route(convert(message.route_key()));
   if (message.has_preference()) route.preference_is(static_cast<std::uint8_t>(message.preference()));
   route.metric_is(message.metric());
   route.route_type_is(convert(message.route_type()));
   route.fec_id_is(message.fec_id());
   return route;
}

remote::FibRoute convert(const orv::fib_route_t& route) {
   remote::FibRoute message;
   *message.mutable_route_key() = convert(route.route_key());
   message.set_preference(route.preference());
   message.set_metric(route.metric());
   message.set_route_type(convert(route.route_type()));
   message.set_fec_id(route.fec_id());
   return message;
}

orv::fib_fec_t convert(const remote::FibFec& message) {
   orv::fib_fec_t fec(convert(message.fec_key()));
   fec.fec_type_is(convert(message.fec_type()));
   fec.nexthop_group_name_is(message.nexthop_group_name());
   for (const remote::FibFecVia& via : message.via())
      fec.via_set(convert(via));
   return fec;
}

remote::FibFec convert(const orv::fib_fec_t& fec) {
   remote::FibFec message;
   *message.mutable_fec_key() = convert(fec.fec_key());
   message.set_fec_type(convert(fec.fec_type()));
   if (!fec.nexthop_group_name().empty()) message.set_nexthop_group_name(fec.nexthop_group_name());
   message.mutable_via()->Reserve(static_cast<int>(fec.via().size()));
   for (const orv::fib_via_t& via : fec.via())
      *message.add_via() = convert(via);
   return message;
}

orv::fib_via_t convert(const remote::FibFecVia& message) {
   auto hop = ip_addr(message.hop());
   orv::fib_via_t via(hop, convert(message.intf()));
   via.mpls_label_is(convert(message.mpls_label()));
   return via;
}

remote::FibFecVia convert(const orv::fib_via_t& via) {
   remote::FibFecVia message;
   if (!!via.hop()) message.set_hop(ip_addr_bytes(via.hop()));
   *message.mutable_intf() = convert(via.intf());
   *message.mutable_mpls_label() = convert(via.mpls_label());
   return message;
}

}  // namespace OrvSdkRpc::types
