#include "testing/process/DurableState.h"

#include <array>
#include <nlohmann/json.hpp>
#include <vector>

namespace orvtest {

namespace {

using nlohmann::json;

struct Listing {
   const char* command;
   const char* name;
   std::vector<const char*> columns;
   // Columns that a row may lack.
   std::vector<const char*> optional = {};
};

// Every table that survives a restart has a line here.
const std::array listings{
     Listing{"show interfaces", "interfaces", {"name", "admin", "description"}},
     Listing{"show vrf", "vrfs", {"name"}},
     Listing{"show agent status", "status", {"name", "value"}},
     Listing{"show ip route", "ip_routes", {"prefix", "preference", "action", "tag", "vias"}},
     Listing{"show mpls route", "mpls_routes", {"labels", "metric", "vias"}},
     Listing{"show mpls route", "mpls_vrf_labels", {"label", "vrf"}},
     Listing{"show tunnel", "tunnels", {"endpoint", "nexthop_group", "igp_metric"}},
     Listing{"show acl", "acls", {"name", "type", "state", "counters", "fragments"}},
     Listing{"show acl", "acl_rules", {"acl", "type", "seq", "state", "rule"}},
     Listing{"show acl", "acl_applied", {"interface", "direction", "type", "acl"}},
     Listing{"show class-map", "class_maps", {"name", "feature", "acls"}},
     Listing{"show policy-map", "policy_map_rules", {"name", "feature", "seq", "class_map", "actions"}},
     Listing{"show policy-map", "policy_maps", {"name", "feature"}, {"interface", "direction"}},
     Listing{"show traffic-policy", "traffic_policies", {"name", "counters"}},
     Listing{
          "show traffic-policy", "traffic_policy_rules", {"name", "seq", "rule", "type", "match", "actions"}},
     Listing{"show traffic-policy", "traffic_policy_applied", {"interface", "direction", "name"}},
     Listing{"show sbfd",
             "sbfd_sessions",
             {"nexthop", "interface", "labels", "dscp", "exp", "min_tx_ms", "multiplier", "rtt_enabled"}},
};

json shown(Console& console, const std::string& command) {
   return json::parse(console.run(command + " | json"));
}

// A group's slots, without their counters.
std::string entriesText(Console& console, const std::string& group) {
   std::string text;
   const json all = shown(console, "show nexthop-group " + group);
   for (const char* list : {"entries", "backup_entries"}) {
      for (json entry : all.at(list)) {
         for (const char* counter : {"packets", "bytes"})
            entry.erase(counter);
         text += std::string("  ") + list + " " + entry.dump() + "\n";
      }
   }
   return text;
}

}  // namespace

std::string durableState(Console& console) {
   std::string text;
   for (const auto& listing : listings) {
      const json all = shown(console, listing.command);
      for (const auto& row : all.at(listing.name)) {
         text += listing.name;
         for (const char* column : listing.columns)
            text += " " + row.at(column).dump();
         for (const char* column : listing.optional)
            text += " " + row.value(column, json()).dump();
         text += "\n";
      }
   }
   const json groups = shown(console, "show nexthop-group");
   for (const auto& group : groups.at("nexthop_groups")) {
      const std::string name = group.at("name");
      text += "nexthop_group " + name + " " + group.at("type").dump() + "\n" + entriesText(console, name);
   }
   return text;
}

}  // namespace orvtest
