// Tunnel endpoints over nexthop groups.
//
// Thread-safety: every operation is a call of the SDK and needs the main thread or
// sdk_scoped_lock (lock.h).
#pragma once

#include "orv/iter.h"
#include "orv/nexthop_group_tunnel_types.h"

namespace orv {

struct nexthop_group_tunnel_iter_impl : iter_impl<nexthop_group_tunnel_t> {};
// By endpoint.
using nexthop_group_tunnel_iter_t = iter_base<nexthop_group_tunnel_t, nexthop_group_tunnel_iter_impl>;

// A value that the switch refuses throws one of the errors of error.h, naming it;
// nothing has changed then.
class nexthop_group_tunnel_mgr {
public:
   virtual ~nexthop_group_tunnel_mgr() = default;

   // Between the two every entry that is not set again is stale; resync_complete
   // removes what is. A second resync_init makes everything stale once more.
   virtual void resync_init() = 0;
   virtual void resync_complete() = 0;

   [[nodiscard]] virtual nexthop_group_tunnel_iter_t nexthop_group_tunnel_iter() const = 0;
   [[nodiscard]] virtual bool exists(const ip_prefix_t& tunnel_endpoint) const = 0;
   // Replaces the tunnel of this endpoint. The group need not exist: the tunnel
   // resolves when it does.
   virtual void nexthop_group_tunnel_set(const nexthop_group_tunnel_t& tunnel) = 0;
   // A tunnel that is not there is no error.
   virtual void nexthop_group_tunnel_del(const ip_prefix_t& tunnel_endpoint) = 0;
};

}  // namespace orv
