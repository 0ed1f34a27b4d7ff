#include <optional>
#include <string>

#include "orv/error.h"
#include "softswitch/console/read.h"
#include "softswitch/console/rows.h"
#include "softswitch/console/show.h"
#include "softswitch/managers/eth_phy_intf_mgr.h"
#include "softswitch/managers/intf_mgr.h"
#include "softswitch/soft_switch.h"
#include "softswitch/traffic/counter_writers.h"
#include "softswitch/traffic/intf_counter_mgr.h"
#include "softswitch/traffic/traffic_model.h"

namespace softswitch::console {
namespace {

// The requested interface, or an empty name for all; refuses an interface that `require` refuses.
template <typename Require>
std::string readWanted(Args& args, Require require) {
   std::string wanted;
   if (!args.atEnd()) wanted = readIntf(args).to_string();
   args.end();
   if (!wanted.empty()) locked([&] { require(orv::intf_id_t(wanted)); });
   return wanted;
}

}  // namespace

void showPorts(SoftSwitch& target, Args& args, Document& document) {
   const auto& ports = target.ethPhyIntfs();
   const auto wanted =
        readWanted(args, [&](const orv::intf_id_t& intf) { (void)ports.hardware_present(intf); });
   document.listing("ports", {{"Name", "name", 12},
                              {"Hardware", "hardware", 8},
                              {"Transceiver", "transceiver", 11},
                              {"Speed", "speed", 10},
                              {"Burned-in MAC", "mac"}});
   forEachRow([&] { return ports.eth_phy_intf_iter(); },
              [&](const orv::intf_id_t& intf) -> std::optional<Json> {
                 if (!ports.exists(intf) || (!wanted.empty() && intf.name() != wanted)) return std::nullopt;
                 return Json{{"name", intf.to_string()},
                             {"hardware", ports.hardware_present(intf) ? "present" : "absent"},
                             {"transceiver", ports.transceiver_present(intf) ? "present" : "absent"},
                             {"speed", orv::to_string(ports.link_speed(intf))},
                             {"mac", ports.burned_in_eth_addr(intf).to_string()}};
              },
              [&](const std::optional<Json>& row) {
                 if (row) document.row(*row);
              });
}

void showTraffic(SoftSwitch& target, Args& args, Document& document) {
   const auto& intfs = target.intfs();
   const auto wanted = readWanted(args, [&](const orv::intf_id_t& intf) { intfs.require(intf); });
   document.listing("traffic", {{"Name", "name", 12},
                                {"In pkts/s", "in_pkts_rate", 12},
                                {"In bits/s", "in_bits_rate", 15},
                                {"Out pkts/s", "out_pkts_rate", 12},
                                {"Out bits/s", "out_bits_rate", 15},
                                {"In packets", "in_packets", 14},
                                {"In octets", "in_octets", 16},
                                {"Out packets", "out_packets", 14},
                                {"Out octets", "out_octets"}});
   forEachRow([&] { return intfs.intf_iter(); },
              [&](const orv::intf_id_t& intf) -> std::optional<Json> {
                 if (!intfs.exists(intf) || (!wanted.empty() && intf.name() != wanted)) return std::nullopt;
                 const auto type = intfs.facts(intf).type;
                 if (!isPort(type) && type != IntfType::lag) return std::nullopt;
                 const auto rates = target.intfCounters().traffic_rates(intf);
                 const auto counters = target.intfCounters().counters(intf);
                 return Json{{"name", intf.to_string()},
                             {"in_pkts_rate", rates.in_pkts_rate()},
                             {"in_bits_rate", rates.in_bits_rate()},
                             {"out_pkts_rate", rates.out_pkts_rate()},
                             {"out_bits_rate", rates.out_bits_rate()},
                             {"in_packets", counters.in_ucast_pkts()},
                             {"in_octets", counters.in_octets()},
                             {"out_packets", counters.out_ucast_pkts()},
                             {"out_octets", counters.out_octets()}};
              },
              [&](const std::optional<Json>& row) {
                 if (row) document.row(*row);
              });
}

void showWriters(SoftSwitch& target, Args& args, Document& document) {
   args.end();
   const auto& writers = target.counterWriters();
   document.fields(
        "counters", locked([&] {
           return Json{{"resident", writers.resident()}, {"interval_ms", writers.interval() / 1'000'000}};
        }));
   document.listing("writers", {{"Writer", "name", 20},
                                {"State", "state", 5},
                                {"Rows", "rows", 6},
                                {"Damaged rows found", "damaged_rows_met"}});
   for (const auto& writer : locked([&] { return writers.writers(); })) {
      document.row({{"name", writer.name},
                    {"state", writer.up ? "up" : "down"},
                    {"rows", writer.rows},
                    {"damaged_rows_met", writer.corruptions}});
   }
}

}  // namespace softswitch::console
