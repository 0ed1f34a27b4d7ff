#include <fmt/format.h>

#include <array>
#include <string>
#include <utility>
#include <vector>

#include "orv/error.h"
#include "softswitch/console/read.h"
#include "softswitch/console/rows.h"
#include "softswitch/console/show.h"
#include "softswitch/lookup/lookup.h"
#include "softswitch/managers/intf_mgr.h"
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
      if (!!packet_.source && packet_.source.af() != packet_.destination.af()) {
         CommandError::raise("source {} and destination {}, expected two addresses of one family",
                             packet_.source, packet_.destination);
      }
      if (packet_.vrf.empty()) packet_.vrf = orv::default_vrf_name;
      return std::move(packet_);
   }

private:
   struct Word {
      std::string_view text;
      void (PacketWords::*read)();
      bool ofLabels = true;     // a packet with a label may have it
      bool ofAddresses = true;  // a packet without a label may have it
      bool given = false;
   };

   void word() {
      for (auto& each : words_) {
         if (!mayCome(each) || !args_.take(each.text)) continue;
         (this->*each.read)();
         each.given = true;
         labelled_ |= !each.ofAddresses;
         unlabelled_ |= !each.ofLabels;
         return;
      }
      destination();
   }

   bool mayCome(const Word& each) const {
      return !each.given && (each.ofLabels || !labelled_) && (each.ofAddresses || !unlabelled_);
   }

   void label() {
      packet_.label =
           orv::mpls_label_t(static_cast<std::uint32_t>(args_.number("a label", 0, orv::mpls_label_t::max)));
   }
   void vrf() { packet_.vrf = readName(args_, "a VRF's name"); }
   void dscp() { packet_.dscp = static_cast<std::uint8_t>(args_.number("a DSCP", 0, dscpMax)); }
   void ingress() { packet_.ingress = readIntf(args_); }
   void source() { packet_.source = readAddress(args_); }
   void protocol() { packet_.protocol = static_cast<std::uint8_t>(args_.number("a protocol", 0, 255)); }
   void sourcePort() { packet_.sourcePort = port(); }
   void destinationPort() { packet_.destinationPort = port(); }
   std::uint16_t port() { return static_cast<std::uint16_t>(args_.number("a port", 0, 65535)); }

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
      for (const auto& each : words_) {
         if (mayCome(each)) words.push_back(each.text);
      }
      if (!!packet_.destination || !!packet_.label) words.push_back("the end of the line");
      return words.size() == 1
                  ? std::string(words[0])
                  : fmt::format("{} or {}", fmt::join(words.begin(), words.end() - 1, ", "), words.back());
   }

   // The label's own entry determines the VRF, and traffic policies match only packets without a label.
   std::array<Word, 8> words_{{
        {.text = "label", .read = &PacketWords::label, .ofAddresses = false},
        {.text = "vrf", .read = &PacketWords::vrf, .ofLabels = false},
        {.text = "dscp", .read = &PacketWords::dscp},
        {.text = "interface", .read = &PacketWords::ingress, .ofLabels = false},
        {.text = "source", .read = &PacketWords::source, .ofLabels = false},
        {.text = "protocol", .read = &PacketWords::protocol, .ofLabels = false},
        {.text = "source-port", .read = &PacketWords::sourcePort, .ofLabels = false},
        {.text = "port", .read = &PacketWords::destinationPort, .ofLabels = false},
   }};
   Args& args_;
   LookupPacket packet_;
   bool labelled_ = false;
   bool unlabelled_ = false;
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
   putText(object, "ingress", packet.ingress.to_string());
   putText(object, "source", packet.source.to_string());
   if (packet.protocol) object["protocol"] = *packet.protocol;
   if (packet.sourcePort) object["source_port"] = *packet.sourcePort;
   if (packet.destinationPort) object["port"] = *packet.destinationPort;
   object["result"] = to_string(lookup.result);
   putText(object, "reason", lookup.reason);
   if (lookup.policyRule) {
      object["traffic_policy"] = lookup.policyRule->policy;
      object["traffic_policy_seq"] = lookup.policyRule->sequence;
      object["traffic_policy_rule"] = lookup.policyRule->name;
   }
   if (lookup.dscpSet) object["dscp_set"] = *lookup.dscpSet;
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
      if (!!packet.ingress) target.intfs().require(packet.ingress);
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
