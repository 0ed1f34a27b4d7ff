#include "CrashKinds.h"

#include <grpcpp/grpcpp.h>

#include <iterator>
#include <nlohmann/json.hpp>
#include <utility>

#include "testing/process/SwitchView.h"

namespace orvtest {

namespace {

using nlohmann::json;
using Stub = pb::orvsdk_service::Stub;

constexpr std::uint64_t baseGroups = 16;

std::string byte(std::uint64_t value) {
   return {static_cast<char>(value & 0xff)};
}

pb::ip_prefix_msg prefixOf(char first, std::uint64_t index) {
   pb::ip_prefix_msg prefix;
   prefix.mutable_network()->set_address(std::string{first} + byte(index >> 8) + byte(index) + byte(0));
   prefix.set_prefix_length(24);
   return prefix;
}

std::string baseGroup(std::uint32_t version) {
   return "base-" + std::to_string(version % baseGroups);
}

// One to four entries; each version differs from every other in each entry.
pb::nexthop_group_msg groupOf(const std::string& name, std::uint32_t version) {
   pb::nexthop_group_msg group;
   group.set_name(name);
   for (std::uint32_t slot = 0; slot <= version % 4; ++slot) {
      auto& nexthop = *group.add_nexthops();
      const std::uint64_t port = (version + slot) % 64 + 1;
      nexthop.set_intf("Ethernet" + std::to_string(port));
      nexthop.mutable_address()->set_address(byte(10) + byte(1) + byte(port) + byte(2));
      nexthop.set_mpls_operation(pb::MPLS_OPERATION_PUSH);
      nexthop.add_mpls_labels(16 + version % 1'000'000);
      nexthop.set_weight(1);
   }
   return group;
}

// The switch must answer NOT_FOUND to the delete of an object that does not exist, and OK to everything else.
void requireStatuses(const pb::rpc_status_bulk_msg& reply, const std::vector<CrashItem>& items) {
   if (reply.statuses_size() != static_cast<int>(items.size())) {
      throw std::runtime_error(std::to_string(reply.statuses_size()) + " statuses for " +
                               std::to_string(items.size()) + " items");
   }
   for (std::size_t i = 0; i < items.size(); ++i) {
      const bool absent = !items[i].version && !items[i].there;
      const auto& status = reply.statuses(static_cast<int>(i));
      if (status.status() != (absent ? pb::RPC_STATUS_NOT_FOUND : pb::RPC_STATUS_OK))
         throw std::runtime_error("item " + std::to_string(i) + ": answered " + status.ShortDebugString());
   }
}

// Sends the bulk whose items `fill(item, message)` writes.
template <class Bulk, class Fill>
auto sender(grpc::Status (Stub::*method)(grpc::ClientContext*, const Bulk&, pb::rpc_status_bulk_msg*),
            Fill fill) {
   return [method, fill](Rpcs& rpcs, const std::vector<CrashItem>& items) {
      Bulk bulk;
      for (const auto& item : items)
         fill(item, *bulk.add_bulk());
      requireStatuses(rpcs.call(method, *rpcs.programming, bulk), items);
   };
}

std::string groupName(std::uint64_t index) {
   return index < baseGroups ? "base-" + std::to_string(index) : "loose-" + std::to_string(index);
}

std::string entriesText(const GroupEntries& entries) {
   std::string text;
   for (const auto& entry : entries)
      text += "[" + entry + "]";
   return text;
}

CrashKind groups() {
   return {.name = "group",
           .count = baseGroups + 200,
           .itemsMax = 80,
           .lasting = baseGroups,
           .key = groupName,
           .value =
                [](std::uint64_t index, std::uint32_t version) {
                   return entriesText(entriesOf(groupOf(groupName(index), version)));
                },
           .send = sender(&Stub::nexthop_group_bulk,
                          [](const CrashItem& item, pb::nexthop_group_msg& message) {
                             message.set_name(groupName(item.index));
                             if (item.version) {
                                message = groupOf(groupName(item.index), *item.version);
                             } else {
                                message.set_delete_(true);
                             }
                          }),
           .read =
                [](Console& console) {
                   Objects objects;
                   for (const auto& [name, entries] : readSwitch(console).groups) {
                      if (!name.starts_with("mirror-")) objects.emplace(name, entriesText(entries));
                   }
                   return objects;
                }};
}

CrashKind routes() {
   return {.name = "route",
           .count = 2000,
           .itemsMax = 300,
           .key = [](std::uint64_t index) { return prefixText(prefixOf(10, index)); },
           .value = [](std::uint64_t, std::uint32_t version) { return baseGroup(version); },
           .send = sender(&Stub::ip_route_bulk,
                          [](const CrashItem& item, pb::ip_route_msg& message) {
                             *message.mutable_prefix() = prefixOf(10, item.index);
                             if (item.version) message.set_nexthop_group_name(baseGroup(*item.version));
                          }),
           .read = [](Console& console) { return readSwitch(console).routes; }};
}

CrashKind tunnels() {
   return {.name = "tunnel",
           .count = 400,
           .itemsMax = 100,
           .key = [](std::uint64_t index) { return prefixText(prefixOf(11, index)); },
           .value = [](std::uint64_t,
                       std::uint32_t version) { return baseGroup(version) + " " + std::to_string(version); },
           .send = sender(&Stub::nexthop_group_tunnel_bulk,
                          [](const CrashItem& item, pb::nexthop_group_tunnel_msg& message) {
                             *message.mutable_prefix() = prefixOf(11, item.index);
                             if (!item.version) return;
                             message.set_nexthop_group_name(baseGroup(*item.version));
                             message.set_igp_metric(*item.version);
                          }),
           .read =
                [](Console& console) {
                   Objects objects;
                   for (const auto& row : listing(console, "show tunnel", "tunnels")) {
                      objects.emplace(row.at("endpoint"), row.at("nexthop_group").get<std::string>() + " " +
                                                               row.at("igp_metric").dump());
                   }
                   return objects;
                }};
}

// Odd versions lead into a group, even ones are popped and looked up in a VRF: a change between the two moves
// the object from one table to another.
CrashKind mplsLabels() {
   return {.name = "MPLS label",
           .count = 400,
           .itemsMax = 100,
           .key = [](std::uint64_t index) { return std::to_string(1000 + index); },
           .value =
                [](std::uint64_t, std::uint32_t version) {
                   return version % 2 != 0 ? "group " + baseGroup(version) : std::string("VRF default");
                },
           .send = sender(&Stub::mpls_route_bulk,
                          [](const CrashItem& item, pb::mpls_route_msg& message) {
                             message.set_label(static_cast<std::uint32_t>(1000 + item.index));
                             if (!item.version) {
                                message.set_delete_(true);
                             } else if (*item.version % 2 != 0) {
                                message.mutable_nexthop_group_msg()->set_name(baseGroup(*item.version));
                             } else {
                                message.set_popandforward("default");
                             }
                          }),
           .read =
                [](Console& console) {
                   Objects objects;
                   for (const auto& row : listing(console, "show mpls route", "mpls_routes")) {
                      const auto& vias = row.at("vias");
                      const bool group = vias.size() == 1 && vias[0].contains("nexthop_group");
                      objects[row.at("labels").at(0).dump()] =
                           group ? "group " + vias[0].at("nexthop_group").get<std::string>() : vias.dump();
                   }
                   for (const auto& row : listing(console, "show mpls route", "mpls_vrf_labels")) {
                      auto& value = objects[row.at("label").dump()];
                      value += (value.empty() ? "VRF " : " and VRF ") + row.at("vrf").get<std::string>();
                   }
                   return objects;
                }};
}

}  // namespace

json listing(Console& console, const std::string& command, const char* name) {
   return json::parse(console.run(command + " | json")).at(name);
}

Rpcs::Rpcs(const std::string& address)
     : channel_([&] {
          grpc::ChannelArguments arguments;
          arguments.SetInt(GRPC_ARG_USE_LOCAL_SUBCHANNEL_POOL, 1);
          return grpc::CreateCustomChannel(address, grpc::InsecureChannelCredentials(), arguments);
       }()),
       programming(pb::orvsdk_service::NewStub(channel_)),
       acls(orv::remote::AclMgrService::NewStub(channel_)),
       agent(orv::remote::AgentService::NewStub(channel_)),
       intfs(orv::remote::IntfMgrService::NewStub(channel_)),
       groups(orv::remote::NexthopGroupMgrService::NewStub(channel_)) {}

std::vector<CrashKind> programmingKinds() {
   return {groups(), routes(), tunnels(), mplsLabels()};
}

std::vector<CrashKind> crashKinds() {
   auto kinds = programmingKinds();
   auto more = mirrorKinds();
   kinds.insert(kinds.end(), std::make_move_iterator(more.begin()), std::make_move_iterator(more.end()));
   return kinds;
}

}  // namespace orvtest
