#include "orvctl/Catalog.h"
#include "orvctl/HeldStream.h"

namespace orvctl {
namespace pb = OrvSdkRpc::pb;
using Stub = Connection::Programming::StubInterface;

namespace {

// The text with which a server refuses an RPC that its build does not have.
constexpr std::string_view kNotInThisBuild = "Error: not available in this build";

bool saysNotInThisBuild(const pb::rpc_status_msg& status) {
   return status.status() == pb::RPC_STATUS_ERROR && status.debug_string().starts_with(kNotInThisBuild);
}

// The length is invalid for every address family, so the server refuses it before it asks the switch.
pb::ip_prefix_msg impossiblePrefix() {
   pb::ip_prefix_msg prefix;
   prefix.mutable_network()->set_address(std::string(4, '\0'));
   prefix.set_prefix_length(129);
   return prefix;
}

pb::ip_route_msg refusedRoute() {
   pb::ip_route_msg route;
   *route.mutable_prefix() = impossiblePrefix();
   return route;
}

pb::nexthop_group_tunnel_msg refusedTunnel() {
   pb::nexthop_group_tunnel_msg tunnel;
   *tunnel.mutable_prefix() = impossiblePrefix();
   return tunnel;
}

pb::sbfd_echo_session_msg refusedSession() {
   pb::sbfd_echo_session_msg session;
   session.mutable_key()->set_dscp(256);
   return session;
}

template <typename Bulk, typename Item>
Bulk bulkOf(Item item) {
   Bulk bulk;
   *bulk.add_bulk() = std::move(item);
   return bulk;
}

Availability judge(const pb::rpc_status_msg& reply) {
   if (reply.status() == pb::RPC_STATUS_NOT_INITIALIZED) return Availability::notKnownBeforeInit;
   return saysNotInThisBuild(reply) ? Availability::notInThisBuild : Availability::available;
}

Availability judge(const pb::rpc_status_bulk_msg& reply) {
   return reply.statuses_size() == 1 ? judge(reply.statuses(0)) : Availability::available;
}

Availability judge(const pb::rpc_server_state_status_msg&) {
   return Availability::available;
}

template <typename Request, typename Reply>
Availability probe(Connection& connection, const char* name,
                   grpc::Status (Stub::*method)(grpc::ClientContext*, const Request&, Reply*),
                   const Request& request) {
   grpc::ClientContext context;
   connection.prepare(context);
   Reply reply;
   const grpc::Status status = (connection.programming().*method)(&context, request, &reply);
   if (status.error_code() == grpc::StatusCode::UNIMPLEMENTED) return Availability::notInThisBuild;
   connection.require(name, status);
   return judge(reply);
}

// A watch need not send a reply. HeldStream therefore opens it and waits for the answer to a later call on
// the same connection; by then, a watch that the server does not have has ended.
Availability askWatch(Connection& connection, const std::string& path,
                      const google::protobuf::Message& request) {
   HeldStream stream(connection, path, request);
   // If the watch has ended, its status is on the way, but may reach this queue shortly after the other
   // answer.
   const auto end = stream.waitForEnd(std::chrono::system_clock::now() + std::chrono::milliseconds(50));
   return end && end->error_code() == grpc::StatusCode::UNIMPLEMENTED ? Availability::notInThisBuild
                                                                      : Availability::available;
}

constexpr std::string_view kService = "OrvSdkRpc.pb.orvsdk_service";

Availability probeRpc(Connection& connection, const std::string& name) {
   // Groups and labels: an empty message is refused for its missing name or forwarding.
   if (name == "nexthop_group") return probe(connection, "nexthop_group", &Stub::nexthop_group, {});
   if (name == "nexthop_group_bulk") {
      return probe(connection, "nexthop_group_bulk", &Stub::nexthop_group_bulk,
                   bulkOf<pb::nexthop_group_bulk_msg>(pb::nexthop_group_msg()));
   }
   if (name == "ip_route") return probe(connection, "ip_route", &Stub::ip_route, refusedRoute());
   if (name == "ip_route_bulk") {
      return probe(connection, "ip_route_bulk", &Stub::ip_route_bulk,
                   bulkOf<pb::ip_route_bulk_msg>(refusedRoute()));
   }
   if (name == "nexthop_group_tunnel") {
      return probe(connection, "nexthop_group_tunnel", &Stub::nexthop_group_tunnel, refusedTunnel());
   }
   if (name == "nexthop_group_tunnel_bulk") {
      return probe(connection, "nexthop_group_tunnel_bulk", &Stub::nexthop_group_tunnel_bulk,
                   bulkOf<pb::nexthop_group_tunnel_bulk_msg>(refusedTunnel()));
   }
   if (name == "mpls_route") return probe(connection, "mpls_route", &Stub::mpls_route, {});
   if (name == "mpls_route_bulk") {
      return probe(connection, "mpls_route_bulk", &Stub::mpls_route_bulk,
                   bulkOf<pb::mpls_route_bulk_msg>(pb::mpls_route_msg()));
   }
   if (name == "cbf_nexthop_group_redirect") {
      return probe(connection, "cbf_nexthop_group_redirect", &Stub::cbf_nexthop_group_redirect, {});
   }
   if (name == "cbf_nexthop_group_redirect_bulk") {
      // Any bulk of redirects commits, so it is probed only if the single form is missing too.
      const auto single =
           probe(connection, "cbf_nexthop_group_redirect", &Stub::cbf_nexthop_group_redirect, {});
      if (single != Availability::notInThisBuild) return single;
      return probe(connection, "cbf_nexthop_group_redirect_bulk", &Stub::cbf_nexthop_group_redirect_bulk,
                   bulkOf<pb::cbf_nexthop_group_redirect_bulk_msg>(pb::cbf_nexthop_group_redirect_msg()));
   }
   if (name == "sbfd_echo_session") {
      return probe(connection, "sbfd_echo_session", &Stub::sbfd_echo_session, refusedSession());
   }
   if (name == "sbfd_echo_session_bulk") {
      return probe(connection, "sbfd_echo_session_bulk", &Stub::sbfd_echo_session_bulk,
                   bulkOf<pb::sbfd_echo_session_bulk_msg>(refusedSession()));
   }
   // Controller state: an empty message sets or reads nothing.
   if (name == "rpc_server_state") return probe(connection, "rpc_server_state", &Stub::rpc_server_state, {});
   if (name == "get_rpc_server_state") {
      return probe(connection, "get_rpc_server_state", &Stub::get_rpc_server_state, {});
   }
   if (name == "watch_rpc_server_alive") {
      return askWatch(connection, "/OrvSdkRpc.pb.orvsdk_service/watch_rpc_server_alive",
                      pb::rpc_server_alive_msg());
   }
   if (name == "watch_sbfd_echo_session_status_msgs") {
      return askWatch(connection, "/OrvSdkRpc.pb.orvsdk_service/watch_sbfd_echo_session_status_msgs",
                      pb::watch_sbfd_echo_session_config_msg());
   }
   return Availability::notProbed;
}

}  // namespace

void probe(Connection& connection, Catalog& catalog) {
   for (auto& service : catalog.services) {
      if (service.name != kService) continue;
      for (auto& rpc : service.rpcs)
         rpc.availability = probeRpc(connection, rpc.name);
   }
}

}  // namespace orvctl
