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

// THROWS: one of the errors of error.h, naming the value, if the switch refuses a value. Nothing changes
// then.
class nexthop_group_tunnel_mgr {
public:
   virtual ~nexthop_group_tunnel_mgr() = default;

   // resync_init marks every entry stale; setting an entry again clears its mark. resync_complete removes the
   // entries that are still stale. A second resync_init marks every entry again.
   virtual void resync_init() = 0;
   virtual void resync_complete() = 0;

   [[nodiscard]] virtual nexthop_group_tunnel_iter_t nexthop_group_tunnel_iter() const = 0;
   [[nodiscard]] virtual bool exists(const ip_prefix_t& tunnel_endpoint) const = 0;
   // Replaces the tunnel of this endpoint. The group need not exist yet: the tunnel resolves once it does.
   virtual void nexthop_group_tunnel_set(const nexthop_group_tunnel_t& tunnel) = 0;
   // A no-op if the tunnel does not exist.
   virtual void nexthop_group_tunnel_del(const ip_prefix_t& tunnel_endpoint) = 0;
};

}  // namespace orv
