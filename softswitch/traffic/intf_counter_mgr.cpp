#include "softswitch/traffic/intf_counter_mgr.h"

#include "orv/lock.h"
#include "softswitch/managers/intf_mgr.h"
#include "softswitch/traffic/counter_writers.h"
#include "softswitch/traffic/traffic_model.h"

namespace softswitch {
namespace {

orv::intf_counters_t toSdk(const Interface::IntfStatistics& from) {
   orv::intf_counters_t to;
   to.out_ucast_pkts_is(from.outUcastPkts);
   to.out_multicast_pkts_is(from.outMulticastPkts);
   to.out_broadcast_pkts_is(from.outBroadcastPkts);
   to.in_ucast_pkts_is(from.inUcastPkts);
   to.in_multicast_pkts_is(from.inMulticastPkts);
   to.in_broadcast_pkts_is(from.inBroadcastPkts);
   to.out_octets_is(from.outOctets);
   to.in_octets_is(from.inOctets);
   to.out_discards_is(from.outDiscards);
   to.out_errors_is(from.outErrors);
   to.in_discards_is(from.inDiscards);
   to.in_errors_is(from.inErrors);
   to.sample_time_is(from.sampleTime);
   return to;
}

double wallSeconds() {
   return Zelt::Clock::seconds(Zelt::Clock::wallNanos());
}

}  // namespace

orv::intf_counters_t IntfCounterMgr::counters(const orv::intf_id_t& intf) const {
   orv::sdk_lock_check();
   intfs_.require(intf);
   const Lumic::IntfId id(intf.name());
   if (writers_.resident()) {
      const auto sample = writers_.sample(id);
      if (!sample) return {};
      auto counters = toSdk(sample->row.statistics);
      // An unchanged row is not written again, yet it is as recent as the last sample.
      counters.sample_time_is(sample->time);
      return counters;
   }
   TrafficModel::Account account;
   if (!traffic_.account(id, traffic_.now(), account)) return {};
   return toSdk(CounterWriters::statistics(account.amounts, wallSeconds()));
}

orv::intf_traffic_rates_t IntfCounterMgr::traffic_rates(const orv::intf_id_t& intf) const {
   orv::sdk_lock_check();
   intfs_.require(intf);
   const Lumic::IntfId id(intf.name());
   if (writers_.resident()) {
      const auto sample = writers_.sample(id);
      if (!sample) return {};
      const auto& rates = sample->row.rates;
      return {rates.outPktsRate, rates.inPktsRate, rates.outBitsRate, rates.inBitsRate, rates.sampleTime};
   }
   TrafficModel::Account account;
   if (!traffic_.account(id, traffic_.now(), account)) return {};
   const auto& rates = account.rates;
   return {rates.outPackets, rates.inPackets, rates.outBits, rates.inBits, wallSeconds()};
}

}  // namespace softswitch
