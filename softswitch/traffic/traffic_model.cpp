#include "softswitch/traffic/traffic_model.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>

#include "orv/error.h"
#include "softswitch/managers/intf_mgr.h"

namespace softswitch {
namespace {

bool carriesTraffic(IntfType type) {
   return isPort(type) || type == IntfType::lag;
}

// Ids of internal interfaces are never freed, so their numbers are bounded.
bool numberedWithin(std::string_view name, unsigned limit) {
   const auto* at = std::find_if(name.begin(), name.end(), [](char c) { return c >= '0' && c <= '9'; });
   while (at != name.end()) {
      unsigned number = 0;
      const auto [end, error] = std::from_chars(at, name.end(), number);
      if (error != std::errc{} || number > limit) return false;
      if (end == name.end()) return true;
      if (*end != '/') return false;
      at = end + 1;
   }
   return false;
}

bool isInternalName(std::string_view name) {
   return name.starts_with("Internal") || name.starts_with("PeerEthernet") || name.starts_with("PeerLag");
}

void checkRate(std::string_view intf, std::string_view what, std::uint64_t rate, std::uint64_t limit) {
   if (rate > limit) {
      throw orv::invalid_range_error(fmt::format("traffic of {}: {} per second", intf, what), rate, 0,
                                     static_cast<std::int64_t>(limit));
   }
}

}  // namespace

TrafficModel::TrafficModel(IntfMgr& intfs, Now now)
     : orv::intf_handler(&intfs), intfs_(intfs), now_(std::move(now)) {
   watch_all_intfs(true);
}

void TrafficModel::trafficIs(std::string_view intf, const Traffic& traffic) {
   orv::sdk_lock_check();
   checkRate(intf, "packets", std::max(traffic.inPackets, traffic.outPackets), packetsMax);
   checkRate(intf, "bits", std::max(traffic.inBits, traffic.outBits), bitsMax);
   const auto id = checked(intf);
   const auto at = now_();
   const auto [it, isNew] = meters_.try_emplace(id);
   auto& meter = it->second;
   if (isNew) {
      meter.began = at;
      meter.flows = isUp(id);
      if (id.kind() != Lumic::IntfId::Kind::ordinary) internal_.push_back(id);
   } else {
      meter.amounts = meter.at(at);
   }
   meter.since = at;
   meter.traffic = traffic;
}

Traffic TrafficModel::traffic(std::string_view intf) const {
   orv::sdk_lock_check();
   const auto it = meters_.find(checked(intf));
   return it == meters_.end() ? Traffic{} : it->second.traffic;
}

bool TrafficModel::account(Lumic::IntfId intf, std::int64_t now, Account& into) const {
   const auto it = meters_.find(intf);
   if (it == meters_.end()) return false;
   const auto& meter = it->second;
   into.began = meter.began;
   into.amounts = meter.at(now);
   into.rates = {};
   if (meter.flows) {
      into.rates = {.inPackets = static_cast<double>(meter.traffic.inPackets),
                    .inBits = static_cast<double>(meter.traffic.inBits),
                    .outPackets = static_cast<double>(meter.traffic.outPackets),
                    .outBits = static_cast<double>(meter.traffic.outBits)};
   }
   return true;
}

TrafficAmounts TrafficModel::Meter::at(std::int64_t now) const {
   if (!flows || now <= since) return amounts;
   const auto seconds = Zelt::Clock::seconds(now - since);
   const auto grown = [seconds](double from, std::uint64_t rate) {
      return from + seconds * static_cast<double>(rate);
   };
   return {.inPackets = grown(amounts.inPackets, traffic.inPackets),
           .inBits = grown(amounts.inBits, traffic.inBits),
           .outPackets = grown(amounts.outPackets, traffic.outPackets),
           .outBits = grown(amounts.outBits, traffic.outBits)};
}

void TrafficModel::on_oper_status(const orv::intf_id_t& intf, orv::oper_status_t) {
   if (meters_.empty()) return;
   const Lumic::IntfId id(intf.name());
   const auto it = meters_.find(id);
   if (it == meters_.end()) return;
   auto& meter = it->second;
   const auto at = now_();
   meter.amounts = meter.at(at);
   meter.since = at;
   // Read the current status: more may have changed since the event.
   meter.flows = isUp(id);
}

void TrafficModel::on_intf_delete(const orv::intf_id_t& intf) {
   if (!intfs_.exists(intf)) meters_.erase(Lumic::IntfId(intf.name()));
}

Lumic::IntfId TrafficModel::checked(std::string_view intf) const {
   if (isInternalName(intf)) {
      const Lumic::IntfId id =
           numberedWithin(intf, internalNumberMax) ? Lumic::IntfId(intf) : Lumic::IntfId();
      if (id.kind() == Lumic::IntfId::Kind::ordinary) {
         throw orv::invalid_argument_error(fmt::format(
              "internal interface {}, expected Internal, PeerEthernet or PeerLag with a number up to {}",
              intf, internalNumberMax));
      }
      return id;
   }
   const auto& facts = intfs_.facts(orv::intf_id_t(intf));
   if (!carriesTraffic(facts.type)) {
      throw orv::invalid_argument_error(fmt::format(
           "interface {} is of type {} and carries no traffic of its own", intf, to_string(facts.type)));
   }
   return Lumic::IntfId(intf);
}

bool TrafficModel::isUp(Lumic::IntfId intf) const {
   if (intf.kind() != Lumic::IntfId::Kind::ordinary) return true;
   const orv::intf_id_t id(intf.name());
   return intfs_.exists(id) && intfs_.oper_status(id) == orv::oper_status_t::up;
}

}  // namespace softswitch
