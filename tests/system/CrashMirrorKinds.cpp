#include <grpcpp/grpcpp.h>

#include <nlohmann/json.hpp>

#include "CrashKinds.h"
#include "testing/process/SwitchView.h"

namespace orvtest {

namespace {

using namespace orv::remote;
using nlohmann::json;

void requireDone(const RpcResponseStatus& status, std::uint64_t count, std::size_t items) {
   if (status.code() != RPC_RESPONSE_STATUS_CODE_SUCCESS || count != items) {
      throw std::runtime_error(std::to_string(count) + " of " + std::to_string(items) +
                               " items done: " + status.ShortDebugString());
   }
}

// Sends the bulk whose items `fill(item, request)` writes.
template <class Stub, class Request, class Response, class Fill>
void sendBulk(Rpcs& rpcs, Stub& stub,
              grpc::Status (Stub::*method)(grpc::ClientContext*, const Request&, Response*),
              const std::vector<CrashItem>& items, Fill fill) {
   Request request;
   for (const auto& item : items)
      fill(item, *request.add_requests());
   const Response response = rpcs.call(method, stub, request);
   requireDone(response.status(), response.count(), items.size());
}

bool sets(const std::vector<CrashItem>& items) {
   return items.front().version.has_value();
}

std::string intfName(std::uint64_t index) {
   return "Ethernet" + std::to_string(index + 1);
}

std::string description(std::uint32_t version) {
   return "line " + std::to_string(version);
}

CrashKind descriptions() {
   return {.name = "interface description",
           .count = 64,
           .itemsMax = 40,
           .key = intfName,
           .value = [](std::uint64_t, std::uint32_t version) { return description(version); },
           .send =
                [](Rpcs& rpcs, const std::vector<CrashItem>& items) {
                   sendBulk(rpcs, *rpcs.intfs, &IntfMgrService::Stub::bulk_description_is, items,
                            [](const CrashItem& item, IntfDescriptionIsRequest& request) {
                               request.mutable_intf_id()->set_name(intfName(item.index));
                               if (item.version) request.set_description(description(*item.version));
                            });
                },
           .read =
                [](Console& console) {
                   Objects objects;
                   for (const auto& row : listing(console, "show interfaces", "interfaces")) {
                      if (row.at("description") != "") objects.emplace(row.at("name"), row.at("description"));
                   }
                   return objects;
                }};
}

CrashKind statuses() {
   const auto name = [](std::uint64_t index) { return "status-" + std::to_string(index); };
   return {.name = "agent status",
           .count = 100,
           .itemsMax = 60,
           .apart = true,
           .key = name,
           .value = [](std::uint64_t, std::uint32_t version) { return std::to_string(version); },
           .send =
                [name](Rpcs& rpcs, const std::vector<CrashItem>& items) {
                   if (sets(items)) {
                      sendBulk(rpcs, *rpcs.agent, &AgentService::Stub::bulk_status_set, items,
                               [&](const CrashItem& item, AgentStatusSetRequest& request) {
                                  request.set_name(name(item.index));
                                  request.set_value(std::to_string(*item.version));
                               });
                   } else {
                      sendBulk(rpcs, *rpcs.agent, &AgentService::Stub::bulk_status_del, items,
                               [&](const CrashItem& item, AgentStatusDelRequest& request) {
                                  request.set_name(name(item.index));
                               });
                   }
                },
           .read =
                [](Console& console) {
                   Objects objects;
                   for (const auto& row : listing(console, "show agent status", "status")) {
                      const std::string status = row.at("name");
                      if (status.starts_with("status-")) objects.emplace(status, row.at("value"));
                   }
                   return objects;
                }};
}

// One entry per group, with the version as its label.
CrashKind mirrorGroups() {
   const auto name = [](std::uint64_t index) { return "mirror-" + std::to_string(index); };
   return {.name = "mirror group",
           .count = 60,
           .itemsMax = 40,
           .apart = true,
           .key = name,
           .value =
                [](std::uint64_t, std::uint32_t version) {
                   return "Ethernet1 10.0.1.2 push " + std::to_string(16 + version % 1'000'000);
                },
           .send =
                [name](Rpcs& rpcs, const std::vector<CrashItem>& items) {
                   if (sets(items)) {
                      sendBulk(
                           rpcs, *rpcs.groups, &NexthopGroupMgrService::Stub::bulk_nexthop_group_set, items,
                           [&](const CrashItem& item, NexthopGroupSetRequest& request) {
                              auto& group = *request.mutable_nexthop_group();
                              group.set_name(name(item.index));
                              group.set_type(NEXTHOP_GROUP_ENCAP_TYPES_MPLS);
                              auto& entry = (*group.mutable_nexthops())[0];
                              entry.set_nexthop(std::string("\x0a\x00\x01\x02", 4));
                              entry.mutable_intf()->set_name("Ethernet1");
                              entry.mutable_mpls_action()->set_action_type(MPLS_ACTIONS_PUSH);
                              entry.mutable_mpls_action()->add_label_stack(16 + *item.version % 1'000'000);
                           });
                   } else {
                      sendBulk(rpcs, *rpcs.groups, &NexthopGroupMgrService::Stub::bulk_nexthop_group_del,
                               items, [&](const CrashItem& item, NexthopGroupDelRequest& request) {
                                  request.set_name(name(item.index));
                               });
                   }
                },
           .read =
                [](Console& console) {
                   Objects objects;
                   for (const auto& [group, entries] : readSwitch(console).groups) {
                      if (!group.starts_with("mirror-")) continue;
                      std::string text;
                      for (const auto& entry : entries)
                         text += entry;
                      objects.emplace(group, text);
                   }
                   return objects;
                }};
}

std::uint32_t vlan(std::uint32_t version) {
   return 1 + version % 4000;
}

// Rules of one list, distinguished by their VLAN. They stay pending, since no commit comes; pending rules are
// stored too.
CrashKind rules() {
   constexpr std::uint64_t first = 10;
   const auto fillKey = [](AclKey& key) {
      key.set_acl_name("crash");
      key.set_acl_type(ACL_TYPE_IPV4);
   };
   return {.name = "ACL rule",
           .count = 200,
           .itemsMax = 60,
           .apart = true,
           .key = [](std::uint64_t index) { return std::to_string(first + index); },
           .value = [](std::uint64_t, std::uint32_t version) { return std::to_string(vlan(version)); },
           .send =
                [fillKey](Rpcs& rpcs, const std::vector<CrashItem>& items) {
                   if (sets(items)) {
                      sendBulk(rpcs, *rpcs.acls, &AclMgrService::Stub::bulk_acl_rule_set, items,
                               [&](const CrashItem& item, AclRuleSetRequest& request) {
                                  fillKey(*request.mutable_key());
                                  request.set_seq(static_cast<std::uint32_t>(first + item.index));
                                  request.mutable_ip_rule()->mutable_base()->set_action(ACL_ACTION_PERMIT);
                                  request.mutable_ip_rule()->set_vlan(vlan(*item.version));
                               });
                   } else {
                      sendBulk(rpcs, *rpcs.acls, &AclMgrService::Stub::bulk_acl_rule_del, items,
                               [&](const CrashItem& item, AclRuleDelRequest& request) {
                                  fillKey(*request.mutable_key());
                                  request.set_seq(static_cast<std::uint32_t>(first + item.index));
                               });
                   }
                },
           .read =
                [](Console& console) {
                   Objects objects;
                   for (const auto& row : listing(console, "show acl", "acl_rules")) {
                      const std::string text = row.at("rule");
                      const auto digits = text.find_first_of("0123456789", text.find("vlan"));
                      objects.emplace(row.at("seq").dump(), std::to_string(std::stoul(text.substr(digits))));
                   }
                   return objects;
                }};
}

}  // namespace

std::vector<CrashKind> mirrorKinds() {
   return {descriptions(), statuses(), mirrorGroups(), rules()};
}

}  // namespace orvtest
