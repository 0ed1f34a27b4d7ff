// Counters and rates of interfaces.
//
// While counters are resident: the contents of the counter tables as of the last sample, with zeros for an
// interface whose counter writer is down. Otherwise: the totals and rates at the moment of the call.
//
// Refusals: an interface that does not exist (orv::invalid_argument_error). An interface that carries no
// traffic of its own has zeros.
//
// Thread-safety: guarded by the SDK's lock.
#pragma once

#include "orv/intf_counter.h"

namespace softswitch {

class CounterWriters;
class IntfMgr;
class TrafficModel;

class IntfCounterMgr final : public orv::intf_counter_mgr {
public:
   IntfCounterMgr(const IntfMgr& intfs, const TrafficModel& traffic, const CounterWriters& writers)
        : intfs_(intfs), traffic_(traffic), writers_(writers) {}

   orv::intf_counters_t counters(const orv::intf_id_t& intf) const override;
   orv::intf_traffic_rates_t traffic_rates(const orv::intf_id_t& intf) const override;

private:
   const IntfMgr& intfs_;
   const TrafficModel& traffic_;
   const CounterWriters& writers_;
};

}  // namespace softswitch
