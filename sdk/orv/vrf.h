// Virtual routing and forwarding instances.
//
// Thread-safety: every operation is a call of the SDK and needs the main thread or
// sdk_scoped_lock (lock.h).
#pragma once

#include <string>

#include "orv/iter.h"

namespace orv {

// Name of the VRF that always exists.
inline constexpr const char* default_vrf_name = "default";

struct vrf_iter_impl : iter_impl<std::string> {};
// Names, in order.
using vrf_iter_t = iter_base<std::string, vrf_iter_impl>;

class vrf_mgr {
public:
   virtual ~vrf_mgr() = default;

   // All VRFs except the default one.
   [[nodiscard]] virtual vrf_iter_t vrf_iter() const = 0;
   // True for the default VRF too.
   [[nodiscard]] virtual bool exists(const std::string& vrf_name) const = 0;
};

}  // namespace orv
