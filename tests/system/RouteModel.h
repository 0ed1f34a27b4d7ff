// A small model of the routes, labels and groups of a switch, in the form in which a test compares them.
//
// Thread-safety: plain values.
#pragma once

#include <fmt/ranges.h>

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace orvtest {

// What the switch must hold. A hop is the last byte of its address.
struct RouteModel {
   struct Route {
      std::uint32_t tag = 0;
      std::string group;
      std::map<int, std::uint32_t> hops;  // with their weights
   };
   struct Label {
      std::uint32_t version = 0;
      std::string group;
      std::set<int> hops;
   };
   // Routes by VRF, then by the third byte of their prefix.
   std::map<std::string, std::map<int, Route>> routes{{"default", {}}, {"red", {}}};
   std::map<std::uint32_t, Label> labels;
   std::set<std::string> groups;

   // "3 tag 1: g0", "3 tag 1: 5/2 6/1".
   static std::string shown(int third, const Route& route) {
      std::vector<std::string> hops;
      for (const auto& [hop, weight] : route.hops)
         hops.push_back(fmt::format("{}/{}", hop, weight));
      return fmt::format("{} tag {}: {}{}", third, route.tag, route.group, fmt::join(hops, " "));
   }
   // "100 version 2: g0", "100 version 2: 5 6".
   static std::string shown(std::uint32_t label, const Label& route) {
      return fmt::format("{} version {}: {}{}", label, route.version, route.group,
                         fmt::join(route.hops, " "));
   }
   std::vector<std::string> rowsOf(const std::string& vrf) const {
      std::vector<std::string> rows;
      for (const auto& [third, route] : routes.at(vrf))
         rows.push_back(shown(third, route));
      return rows;
   }
   std::vector<std::string> labelRows() const {
      std::vector<std::string> rows;
      for (const auto& [label, route] : labels)
         rows.push_back(shown(label, route));
      return rows;
   }
   // The routes of the FIB with their groups; the group of a route with hops has no name.
   std::map<int, std::string> fib() const {
      std::map<int, std::string> inFib;
      for (const auto& [third, route] : routes.at("default")) {
         if (!route.hops.empty() || groups.contains(route.group)) inFib.emplace(third, route.group);
      }
      return inFib;
   }
   std::set<std::uint32_t> labelsInHardware() const {
      std::set<std::uint32_t> inHardware;
      for (const auto& [label, route] : labels) {
         if (!route.hops.empty() || groups.contains(route.group)) inHardware.insert(label);
      }
      return inHardware;
   }
};

}  // namespace orvtest
