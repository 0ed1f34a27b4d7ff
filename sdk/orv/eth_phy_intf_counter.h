// Counters of physical Ethernet interfaces.
//
// The manager has no operations yet.
//
// Thread-safety: every operation is a call of the SDK and needs the main thread or
// sdk_scoped_lock (lock.h).
#pragma once

namespace orv {

class eth_phy_intf_counter_mgr {
public:
   virtual ~eth_phy_intf_counter_mgr() = default;
};

}  // namespace orv
