#include <fmt/format.h>

#include <string>
#include <utility>
#include <vector>

#include "orv/error.h"
#include "softswitch/console/read.h"
#include "softswitch/console/rows.h"
#include "softswitch/console/show.h"
#include "softswitch/lookup/lookup.h"
#include "softswitch/managers/vrf_mgr.h"
#include "softswitch/soft_switch.h"

namespace softswitch::console {
namespace {

constexpr std::uint8_t dscpMax = 63;

// The words of a packet in any order, each at most once. A refusal expects the words that have not been
// given.
class PacketWords {
public:
   explicit PacketWords(Args& args) : args_(args) {}

   LookupPacket read() {
      while (!args_.atEnd())
         word();
      if (!packet_.destination && !packet_.label) args_.next(expected());
      if (packet_.vrf.empty()) packet_.vrf = orv::default_vrf_name;
      return std::move(packet_);
   }

private:
   void word() {
      if (!packet_.label && packet_.vrf.empty() && args_.take("label")) {
         packet_.label = orv::mpls_label_t(
              static_cast<std::uint32_t>(args_.number("a label", 0, orv::mpls_label_t::max)));
      } else if (!dscpTold_ && args_.take("dscp")) {
         packet_.dscp = static_cast<std::uint8_t>(args_.number("a DSCP", 0, dscpMax));
         dscpTold_ = true;
      } else if (!packet_.label && packet_.vrf.empty() && args_.take("vrf")) {
         packet_.vrf = readName(args_, "a VRF's name");
      } else {
         destination();
      }
   }

   void destination() {
      const auto wanted = expected();
      const auto& word = args_.next(wanted);
      if (!!packet_.destination) args_.refuse(wanted);
      try {
         packet_.destination = orv::ip_addr_t(word);
      } catch (const orv::error&) {
      }
      if (!packet_.destination) args_.refuse(wanted);
   }

   std::string expected() const {
      std::vector<std::string_view> words;
      if (!packet_.destination) words.push_back("an IP address as in 10.0.0.1 or 2001:db8::1");
      // The label's own entry determines the VRF.
      if (!packet_.label && packet_.vrf.empty()) {
         words.push_back("label");
         words.push_back("vrf");
      }
      if (!dscpTold_) words.push_back("dscp");
      if (!!packet_.destination || !!packet_.label) words.push_back("the end of the line");
      return words.size() == 1
                  ? std::string(words[0])
                  : fmt::format("{} or {}", fmt::join(words.begin(), words.end() - 1, ", "), words.back());
   }

   Args& args_;
   LookupPacket packet_;
   bool dscpTold_ = false;
};

void putText(Json& object, const char* key, const std::string& text) {
   if (!text.empty()) object[key] = text;
}

Json wayJson(const WayOut& way) {
   Json object = Json::object();
   putText(object, "nexthop_group", way.group);
   object["entry"] = way.entry;
   object["weight"] = way.weight;
   object["resolves"] = way.resolves;
   object["taken"] = way.taken;
   putText(object, "nexthop", way.nexthop.to_string());
   putText(object, "interface", way.intf.to_string());
   putText(object, "action", way.action);
   if (!way.labels.empty()) object["labels"] = way.labels;
   putText(object, "child_group", way.childGroup);
   putText(object, "tunnel", way.tunnel);
   return object;
}

Json lookupJson(const LookupPacket& packet, const Lookup& lookup) {
   Json object = Json::object();
   if (!!packet.label) object["label"] = packet.label.label();
   putText(object, "vrf", lookup.vrf);
   putText(object, "destination", packet.destination.to_string());
   object["dscp"] = packet.dscp;
   object["result"] = to_string(lookup.result);
   putText(object, "reason", lookup.reason);
   putText(object, "route", lookup.route);
   putText(object, "nexthop_group_of_route", lookup.groupOfRoute);
   if (lookup.redirect) {
      object["redirected_to"] = lookup.redirect->group;
      object["redirected_by"] = lookup.redirect->by;
      object["redirect_in_force"] = lookup.redirectInForce;
   }
   if (!lookup.group.empty()) {
      object["nexthop_group"] = lookup.group;
      object["version"] = lookup.version;
   }
   if (lookup.result != LookupResult::forward || !lookup.entry) return object;
   object["entry"] = *lookup.entry;
   // The last way taken is the one that leaves the switch.
   for (auto way = lookup.waysOut.rbegin(); way != lookup.waysOut.rend(); ++way) {
      if (!way->taken) continue;
      putText(object, "nexthop", way->nexthop.to_string());
      putText(object, "interface", way->intf.to_string());
      putText(object, "action", way->action);
      if (!way->labels.empty()) object["labels"] = way->labels;
      putText(object, "tunnel", way->tunnel);
      break;
   }
   return object;
}

}  // namespace

void showForwardingLookup(SoftSwitch& target, Args& args, Document& document) {
   const LookupPacket packet = PacketWords(args).read();
   const Lookup lookup = locked([&] {
      if (!packet.label) target.vrfs().require(packet.vrf);
      return lookUp(target, packet);
   });
   document.fields("lookup", lookupJson(packet, lookup));
   document.listing("ways_out", {{"Group", "nexthop_group", 16},
                                 {"Entry", "entry", 5},
                                 {"Weight", "weight", 6},
                                 {"Resolves", "resolves", 8},
                                 {"Taken", "taken", 5},
                                 {"Nexthop", "nexthop", 15},
                                 {"Interface", "interface", 12},
                                 {"Action", "action", 7},
                                 {"Labels", "labels", 12},
                                 {"Child", "child_group", 12},
                                 {"Tunnel", "tunnel"}});
   for (const auto& way : lookup.waysOut)
      document.row(wayJson(way));
   document.listing("steps", {{"Step", "step", 4}, {"What", "what"}});
   for (std::size_t at = 0; at < lookup.steps.size(); ++at)
      document.row({{"step", at + 1}, {"what", lookup.steps[at]}});
}

}  // namespace softswitch::console
