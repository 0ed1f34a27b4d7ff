// MACsec profiles and their use on interfaces.
//
// The manager has no operations yet.
//
// Thread-safety: every operation is a call of the SDK and needs the main thread or
// sdk_scoped_lock (lock.h).
#pragma once

namespace orv {

class macsec_mgr {
public:
   virtual ~macsec_mgr() = default;
};

}  // namespace orv
