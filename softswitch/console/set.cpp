// Commands for events outside the switch: cables, ports, traffic, counter writers.
#include <fmt/format.h>

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "orv/lock.h"
#include "softswitch/console/command_table.h"
#include "softswitch/console/read.h"
#include "softswitch/console/sbfd.h"
#include "softswitch/managers/agent_mgr.h"
#include "softswitch/managers/eth_phy_intf_mgr.h"
#include "softswitch/managers/intf_mgr.h"
#include "softswitch/managers/link_speed.h"
#include "softswitch/managers/nexthop_group_mgr.h"
#include "softswitch/soft_switch.h"
#include "softswitch/traffic/counter_writers.h"
#include "softswitch/traffic/policy_counters.h"
#include "softswitch/traffic/traffic_model.h"

namespace softswitch::console {
namespace {

constexpr std::string_view writerName = "a counter writer's name";

// Reads one of two words; true for the first.
bool readEither(Args& args, std::string_view yes, std::string_view no) {
   const auto expected = fmt::format("{} or {}", yes, no);
   const auto& word = args.next(expected);
   if (word != yes && word != no) args.refuse(expected);
   return word == yes;
}

void setLink(Call& call) {
   const auto intf = readIntf(call.args);
   const bool up = readEither(call.args, "up", "down");
   call.args.end();
   const orv::sdk_scoped_lock lock;
   call.target.intfs().linkIs(intf, up);
}

void setSpeed(Call& call) {
   const auto intf = readIntf(call.args);
   const auto expected = fmt::format("a speed: {}", linkSpeedNames());
   const auto speed = linkSpeedFromText(call.args.next(expected));
   if (!speed) call.args.refuse(expected);
   call.args.end();
   const orv::sdk_scoped_lock lock;
   call.target.ethPhyIntfs().linkSpeedIs(intf, *speed);
}

void setTransceiver(Call& call) {
   const auto intf = readIntf(call.args);
   const bool present = readEither(call.args, "present", "absent");
   call.args.end();
   const orv::sdk_scoped_lock lock;
   call.target.ethPhyIntfs().transceiverPresentIs(intf, present);
}

void setHardware(Call& call) {
   const auto intf = readIntf(call.args);
   constexpr std::string_view expected = "present, absent, inserted or removed";
   const auto word = call.args.next(expected);
   const bool whole = word == "inserted" || word == "removed";
   if (!whole && word != "present" && word != "absent") call.args.refuse(expected);
   call.args.end();
   auto& ports = call.target.ethPhyIntfs();
   const orv::sdk_scoped_lock lock;
   if (word == "inserted") {
      ports.portAdd(intf);
   } else if (word == "removed") {
      ports.portDel(intf);
   } else {
      ports.hardwarePresentIs(intf, word == "present");
   }
}

void setTraffic(Call& call) {
   auto& args = call.args;
   const auto name = readIntf(args).to_string();
   const bool off = args.take("off");
   auto& model = call.target.traffic();
   auto traffic = off ? Traffic{} : [&] {
      const orv::sdk_scoped_lock lock;
      return model.traffic(name);
   }();
   if (!off) {
      constexpr std::string_view expected = "off, in-pps N, in-bps N, out-pps N or out-bps N";
      do {
         const auto word = args.next(expected);
         if (word == "in-pps") {
            traffic.inPackets = args.number("packets per second", 0, TrafficModel::packetsMax);
         } else if (word == "in-bps") {
            traffic.inBits = args.number("bits per second", 0, TrafficModel::bitsMax);
         } else if (word == "out-pps") {
            traffic.outPackets = args.number("packets per second", 0, TrafficModel::packetsMax);
         } else if (word == "out-bps") {
            traffic.outBits = args.number("bits per second", 0, TrafficModel::bitsMax);
         } else {
            args.refuse(expected);
         }
      } while (!args.atEnd());
   }
   args.end();
   const orv::sdk_scoped_lock lock;
   model.trafficIs(name, traffic);
}

// Reads a word and the number behind it.
std::uint64_t readAmount(Args& args, std::string_view word, std::string_view what, std::uint64_t highest) {
   const auto expected = fmt::format("{} N", word);
   if (args.next(expected) != word) args.refuse(expected);
   return args.number(what, 0, highest);
}

// The most packets or bytes that are counted at once.
constexpr std::uint64_t amountMax = 1'000'000'000'000'000;

void setNexthopGroupTraffic(Call& call) {
   auto& args = call.args;
   const auto name = readName(args, "a nexthop group's name");
   const auto slot = static_cast<std::uint16_t>(readAmount(args, "entry", "an entry's number", UINT16_MAX));
   const auto packets = readAmount(args, "packets", "packets", amountMax);
   const auto bytes = readAmount(args, "bytes", "bytes", amountMax);
   args.end();
   const orv::sdk_scoped_lock lock;
   call.target.nexthopGroups().countTraffic(name, slot, {.packets = packets, .bytes = bytes});
}

void setTrafficPolicyTraffic(Call& call) {
   auto& args = call.args;
   const auto policy = readName(args, "a traffic policy's name");
   constexpr std::string_view expected = "rule NAME";
   if (args.next(expected) != "rule") args.refuse(expected);
   const auto rule = readName(args, "a rule's name");
   const auto packets = readAmount(args, "packets", "packets", amountMax);
   const auto bytes = readAmount(args, "bytes", "bytes", amountMax);
   args.end();
   const orv::sdk_scoped_lock lock;
   call.target.policyCounters().count(policy, rule, {.packets = packets, .bytes = bytes});
}

void setWriter(Call& call) {
   auto& args = call.args;
   const auto name = readName(args, writerName);
   auto& writers = call.target.counterWriters();
   constexpr std::string_view expected = "up, down or interfaces NAME…";
   const auto word = args.next(expected);
   if (word == "interfaces") {
      std::vector<orv::intf_id_t> intfs;
      do
         intfs.push_back(readIntf(args));
      while (!args.atEnd());
      const orv::sdk_scoped_lock lock;
      writers.writerIntfsAre(name, intfs);
   } else if (word == "up" || word == "down") {
      const bool up = word == "up";
      args.end();
      const orv::sdk_scoped_lock lock;
      writers.writerUpIs(name, up);
   } else {
      args.refuse(expected);
   }
}

void unsetWriter(Call& call) {
   const auto name = readName(call.args, writerName);
   call.args.end();
   const orv::sdk_scoped_lock lock;
   call.target.counterWriters().writerDel(name);
}

void setCounterInterval(Call& call) {
   constexpr std::int64_t nanos = 1'000'000;
   const auto interval = call.args.number("milliseconds", CounterWriters::intervalMin / nanos,
                                          CounterWriters::intervalMax / nanos);
   call.args.end();
   const orv::sdk_scoped_lock lock;
   call.target.counterWriters().intervalIs(static_cast<std::int64_t>(interval) * nanos);
}

void setCounterRow(Call& call) {
   const auto intf = readIntf(call.args);
   if (call.args.next("damaged") != "damaged") call.args.refuse("damaged");
   call.args.end();
   const orv::sdk_scoped_lock lock;
   call.target.counterWriters().damageRow(intf.name());
}

void setAgentOption(Call& call) {
   const auto name = readName(call.args, "an option's name");
   const auto value = call.args.rest("the option's value");
   if (value.empty()) call.args.refuse("a value that is not empty");
   const orv::sdk_scoped_lock lock;
   call.target.agent().agentOptionIs(name, value);
}

void unsetAgentOption(Call& call) {
   const auto name = readName(call.args, "an option's name");
   call.args.end();
   const orv::sdk_scoped_lock lock;
   call.target.agent().agentOptionIs(name, "");
}

constexpr std::array setTable{
     Command{.name = "set link",
             .usage = "NAME up|down",
             .help = "plug or unplug an interface's cable",
             .details = "Of an Ethernet, management or LAG interface.",
             .run = setLink},
     Command{.name = "set speed",
             .usage = "NAME SPEED",
             .help = "speed of a port",
             .details = "SPEED is 10M to 1.6T.",
             .run = setSpeed},
     Command{.name = "set transceiver",
             .usage = "NAME present|absent",
             .help = "plug or pull a port's transceiver",
             .run = setTransceiver},
     Command{.name = "set hardware",
             .usage = "NAME present|absent|inserted|removed",
             .help = "a port's hardware, or the port as a whole",
             .details = "present and absent are the hardware of a port; inserted and removed are the port "
                        "itself, as with a line card.",
             .run = setHardware},
     Command{.name = "set traffic",
             .usage = "NAME [in-pps N] [in-bps N] [out-pps N] [out-bps N] | off",
             .help = "packets and bits per second that flow through an interface",
             .details = "Values not named stay unchanged; off stops all.",
             .run = setTraffic},
     Command{.name = "set nexthop-group-traffic",
             .usage = "NAME entry N packets N bytes N",
             .help = "count traffic as if it had left through a group's entry",
             .details = "Counted once.",
             .run = setNexthopGroupTraffic},
     Command{.name = "set traffic-policy-traffic",
             .usage = "NAME rule NAME packets N bytes N",
             .help = "count traffic as if it had met a rule of a traffic policy",
             .details = "Counted once. The policy must be applied to an interface.",
             .run = setTrafficPolicyTraffic},
     Command{.name = "set writer",
             .usage = "NAME up|down | interfaces NAME…",
             .help = "a counter writer, and the ports that it counts",
             .details = "Creates a missing writer.",
             .run = setWriter},
     Command{.name = "unset writer", .usage = "NAME", .help = "remove a counter writer", .run = unsetWriter},
     Command{.name = "set counter-interval",
             .usage = "MILLISECONDS",
             .help = "time between two samples of interface counters",
             .details = "At most an hour.",
             .run = setCounterInterval},
     Command{.name = "set counter-row",
             .usage = "NAME damaged",
             .help = "damage an interface's row in its counter table",
             .run = setCounterRow},
     Command{.name = "set sbfd",
             .usage = "NEXTHOP [interface NAME] | default  up|down|delay MICROS|jitter MICROS|loss PERCENT…",
             .help = "how a far end answers the probes of sBFD sessions",
             .details = "Values not named stay unchanged. default stands for all next hops that have no "
                        "far end of their own.",
             .run = setSbfd},
     Command{.name = "unset sbfd",
             .usage = "NEXTHOP [interface NAME] | default",
             .help = "remove a far end's own settings",
             .run = unsetSbfd},
     Command{.name = "set agent option",
             .usage = "NAME VALUE…",
             .help = "set an option of the agent",
             .run = setAgentOption},
     Command{.name = "unset agent option",
             .usage = "NAME",
             .help = "remove an option of the agent",
             .run = unsetAgentOption},
};

}  // namespace

std::span<const Command> setCommands() {
   return setTable;
}

}  // namespace softswitch::console
