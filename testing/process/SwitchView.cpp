#include "testing/process/SwitchView.h"

#include <arpa/inet.h>

#include <nlohmann/json.hpp>
#include <stdexcept>

namespace orvtest {

namespace pb = OrvSdkRpc::pb;

namespace {

using nlohmann::json;

std::string addressText(const std::string& bytes) {
   char text[INET6_ADDRSTRLEN] = "";
   if (bytes.size() == 4) ::inet_ntop(AF_INET, bytes.data(), text, sizeof text);
   if (bytes.size() == 16) ::inet_ntop(AF_INET6, bytes.data(), text, sizeof text);
   return text;
}

const char* operationText(pb::mpls_operation_enum operation) {
   switch (operation) {
      case pb::MPLS_OPERATION_PUSH:
         return "push";
      case pb::MPLS_OPERATION_POP:
         return "pop";
      case pb::MPLS_OPERATION_SWAP:
         return "swap";
      case pb::MPLS_OPERATION_FORWARD:
         return "forward";
      default:
         return "";
   }
}

template <class Labels>
std::string entryText(const std::string& intf, const std::string& address, const std::string& operation,
                      const Labels& labels) {
   std::string text = intf + " " + address + " " + operation;
   for (const std::uint32_t label : labels)
      text += " " + std::to_string(label);
   return text;
}

std::string viaText(const json& route) {
   const auto& vias = route.at("vias");
   if (vias.empty()) return "(no via)";
   if (vias.size() > 1 || !vias[0].contains("nexthop_group")) return "(vias " + vias.dump() + ")";
   return vias[0].at("nexthop_group");
}

GroupEntries readGroup(Console& console, const std::string& name) {
   const auto shown = json::parse(console.run("show nexthop-group " + name + " | json"));
   GroupEntries entries;
   for (const auto& entry : shown.at("entries")) {
      if (entry.at("entry") != entries.size())
         throw std::runtime_error("group " + name + " has a gap in its slots");
      entries.push_back(entryText(entry.value("interface", ""), entry.value("nexthop", ""),
                                  entry.value("action", ""),
                                  entry.value("labels", std::vector<std::uint32_t>())));
   }
   return entries;
}

}  // namespace

SwitchView readSwitch(Console& console) {
   SwitchView view;
   const auto routes = json::parse(console.run("show ip route | json"));
   for (const auto& route : routes.at("ip_routes"))
      view.routes.emplace(route.at("prefix"), viaText(route));
   const auto groups = json::parse(console.run("show nexthop-group | json"));
   for (const auto& group : groups.at("nexthop_groups")) {
      const std::string name = group.at("name");
      view.groups.emplace(name, readGroup(console, name));
   }
   return view;
}

std::string addressText(const pb::ip_address_msg& address) {
   return addressText(address.address());
}

std::string prefixText(const pb::ip_prefix_msg& prefix) {
   return addressText(prefix.network().address()) + "/" + std::to_string(prefix.prefix_length());
}

GroupEntries entriesOf(const pb::nexthop_group_msg& request) {
   GroupEntries entries;
   for (const auto& nexthop : request.nexthops()) {
      // The switch shows the outermost label first, a request names it last.
      const std::vector<std::uint32_t> labels(nexthop.mpls_labels().rbegin(), nexthop.mpls_labels().rend());
      const auto text = entryText(nexthop.intf(), addressText(nexthop.address().address()),
                                  operationText(nexthop.mpls_operation()), labels);
      for (std::uint32_t i = 0; i < nexthop.weight(); ++i)
         entries.push_back(text);
   }
   return entries;
}

}  // namespace orvtest
