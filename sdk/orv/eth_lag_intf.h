// Link aggregation groups.
//
// The manager has no operations yet.
//
// Thread-safety: every operation is a call of the SDK and needs the main thread or
// sdk_scoped_lock (lock.h).
#pragma once

namespace orv {

class eth_lag_intf_mgr {
public:
   virtual ~eth_lag_intf_mgr() = default;
};

}  // namespace orv
