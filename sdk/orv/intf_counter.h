// Traffic counters and rates of interfaces.
//
// Thread-safety: every operation is a call of the SDK and needs the main thread or
// sdk_scoped_lock (lock.h).
#pragma once

#include "orv/intf_counter_types.h"
#include "orv/intf_id.h"

namespace orv {

// THROWS: invalid_argument_error, naming the interface, if it does not exist. An interface without counters
// returns zeros, with sample time 0.
class intf_counter_mgr {
public:
   virtual ~intf_counter_mgr() = default;

   [[nodiscard]] virtual intf_counters_t counters(const intf_id_t& intf) const = 0;
   [[nodiscard]] virtual intf_traffic_rates_t traffic_rates(const intf_id_t& intf) const = 0;
};

}  // namespace orv
