// demo_controller: the parts of the demonstration that a shell cannot do. It records which bulks were
// acknowledged, and compares every item.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <fstream>
#include <iostream>

#include "demo/DemoState.h"
#include "testing/process/Controller.h"
#include "testing/process/SwitchView.h"

namespace {

using namespace orvtest;

// The state file of the reference controller: the first `groups` groups, the first `routes` routes, and a few
// objects of every other kind.
void printState(std::uint32_t groups, std::uint32_t routes) {
   std::cout << "{\"config\": {\"policy_map\": \"cbf\"},\n\"groups\": [";
   for (std::uint32_t i = 0; i < groups; ++i) {
      const auto group = demo::group(i);
      std::cout << (i ? ",\n" : "\n") << "{\"name\": \"" << group.name() << "\", \"nexthops\": [";
      for (int n = 0; n < group.nexthops_size(); ++n) {
         const auto& hop = group.nexthops(n);
         std::cout << (n ? ", " : "") << "{\"intf\": \"" << hop.intf() << "\", \"address\": \""
                   << addressText(hop.address()) << "\", \"op\": \"push\", \"labels\": ["
                   << hop.mpls_labels(0) << "]}";
      }
      std::cout << "]}";
   }
   std::cout << "],\n\"routes\": [";
   for (std::uint32_t i = 0; i < routes; ++i) {
      const auto route = demo::route(i);
      std::cout << (i ? ",\n" : "\n") << "{\"prefix\": \"" << prefixText(route.prefix())
                << "\", \"group\": \"" << route.nexthop_group_name() << "\"}";
   }
   const auto first = demo::group(0);
   const auto second = demo::group(1);
   const auto& hop = first.nexthops(0);
   std::cout << "],\n\"tunnels\": [{\"endpoint\": \"198.51.100.1/32\", \"group\": \"" << first.name()
             << "\", \"metric\": 10}],\n\"labels\": [{\"label\": 1000, \"group\": \"" << first.name()
             << "\"}, {\"label\": 1001, \"vrf\": \"red\"}],\n\"redirects\": [{\"match\": \"" << first.name()
             << "\", \"redirect\": \"" << second.name()
             << "\", \"ipv4_dscp\": [46], \"ipv6_dscp\": [46]}],\n\"sessions\": [{\"nexthop\": \""
             << addressText(hop.address()) << "\", \"intf\": \"" << hop.intf()
             << "\", \"min_tx\": 50, \"multiplier\": 3}]}\n";
}

// After each bulk, appends to the file `acknowledged` how many routes, counted from `first`, the switch has
// acknowledged so far.
// RETURNS: false when the server went away.
bool load(const std::string& target, std::uint32_t first, std::uint32_t count,
          const std::string& acknowledged) {
   Controller controller(target);
   for (std::uint32_t sent = 0; sent < count; sent += demo::routesPerBulk) {
      pb::ip_route_bulk_msg bulk;
      for (std::uint32_t i = 0; i < demo::routesPerBulk; ++i)
         *bulk.add_bulk() = demo::route(first + sent + i);
      try {
         requireAllOk(controller.routes(bulk), demo::routesPerBulk);
      } catch (const CallBroke&) {
         return false;
      }
      std::ofstream(acknowledged, std::ios::app) << sent + demo::routesPerBulk << '\n';
   }
   return true;
}

std::uint32_t lastNote(const std::string& acknowledged) {
   std::ifstream file(acknowledged);
   std::uint32_t last = 0;
   for (std::uint32_t note = 0; file >> note;)
      last = note;
   return last;
}

// Checks that the switch holds the first `groups` groups and the first `routes` routes completely, and
// nothing else except for up to `inFlight` further routes without a gap.
// RETURNS: the number of those further routes.
std::uint32_t verify(const std::string& socket, std::uint32_t groups, std::uint32_t routes,
                     std::uint32_t inFlight) {
   Console console(socket);
   auto seen = readSwitch(console);
   for (std::uint32_t i = 0; i < groups; ++i) {
      const auto group = demo::group(i);
      const auto at = seen.groups.find(group.name());
      if (at == seen.groups.end()) throw std::runtime_error("group " + group.name() + " is lost");
      if (at->second != entriesOf(group))
         throw std::runtime_error("group " + group.name() + " is half there");
      seen.groups.erase(at);
   }
   if (!seen.groups.empty())
      throw std::runtime_error("group " + seen.groups.begin()->first + " should not be there");
   std::uint32_t further = 0;
   for (std::uint32_t i = 0; i < routes + inFlight; ++i) {
      const auto route = demo::route(i);
      const auto at = seen.routes.find(prefixText(route.prefix()));
      if (at == seen.routes.end()) {
         if (i < routes)
            throw std::runtime_error("acknowledged route " + prefixText(route.prefix()) + " is lost");
         break;
      }
      if (at->second != route.nexthop_group_name()) {
         throw std::runtime_error("route " + at->first + " is half there: " + at->second);
      }
      if (i >= routes) ++further;
      seen.routes.erase(at);
   }
   if (!seen.routes.empty())
      throw std::runtime_error("route " + seen.routes.begin()->first + " should not be there");
   return further;
}

}  // namespace

int main(int argc, char** argv) {
   CLI::App app("The demonstration's controller");
   app.require_subcommand(1);
   std::string target;
   std::string console;
   std::string acknowledged;
   std::uint32_t first = 0;
   std::uint32_t count = 0;
   std::uint32_t groups = demo::groupCount;
   std::uint32_t inFlight = 0;

   auto* stateCommand = app.add_subcommand("state", "Print a state file of the reference controller");
   stateCommand->add_option("--groups", groups);
   stateCommand->add_option("--routes", count)->required();
   auto* loadCommand =
        app.add_subcommand("load", "Send routes in bulks of 1,000 and note what was acknowledged");
   loadCommand->add_option("--target", target)->required();
   loadCommand->add_option("--first", first)->required();
   loadCommand->add_option("--count", count)->required();
   loadCommand->add_option("--acknowledged", acknowledged)->required();
   auto* verifyCommand = app.add_subcommand("verify", "Compare what the switch holds, item by item");
   verifyCommand->add_option("--console", console)->required();
   verifyCommand->add_option("--groups", groups);
   verifyCommand->add_option("--routes", count, "Routes that must be there")->required();
   verifyCommand->add_option("--acknowledged", acknowledged, "More of them: the last number in this file");
   verifyCommand->add_option("--in-flight", inFlight, "So many behind them may be there");
   CLI11_PARSE(app, argc, argv);
   try {
      if (stateCommand->parsed()) printState(groups, count);
      if (loadCommand->parsed() && !load(target, first, count, acknowledged)) return 3;
      if (verifyCommand->parsed()) {
         const auto routes = count + (acknowledged.empty() ? 0 : lastNote(acknowledged));
         const auto further = verify(console, groups, routes, inFlight);
         std::cout << groups << " groups and " << routes << " routes are there, each of them whole";
         if (inFlight) std::cout << "; of the bulk in flight, " << further << " more, whole too";
         std::cout << '\n';
      }
      return 0;
   } catch (const std::exception& error) {
      std::cerr << error.what() << '\n';
      return 1;
   }
}
