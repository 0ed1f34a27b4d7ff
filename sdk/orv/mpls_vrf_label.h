// MPLS labels that are popped, after which the payload is looked up in a VRF.
//
// Thread-safety: every operation is a call of the SDK and needs the main thread or
// sdk_scoped_lock (lock.h).
#pragma once

#include "orv/iter.h"
#include "orv/mpls_vrf_label_types.h"

namespace orv {

struct mpls_vrf_label_iter_impl : iter_impl<mpls_vrf_label_t> {};
// By label.
using mpls_vrf_label_iter_t = iter_base<mpls_vrf_label_t, mpls_vrf_label_iter_impl>;

// THROWS: one of the errors of error.h, naming the value, if the switch refuses a value. Nothing changes
// then.
class mpls_vrf_label_mgr {
public:
   virtual ~mpls_vrf_label_mgr() = default;

   // resync_init marks every entry stale; setting an entry again clears its mark. resync_complete removes the
   // entries that are still stale. A second resync_init marks every entry again.
   virtual void resync_init() = 0;
   virtual void resync_complete() = 0;

   [[nodiscard]] virtual mpls_vrf_label_iter_t mpls_vrf_label_iter() const = 0;
   // An entry with an empty VRF name if the label has none.
   [[nodiscard]] virtual mpls_vrf_label_t mpls_vrf_label(mpls_label_t label) const = 0;
   // Replaces the entry of this label.
   virtual void mpls_vrf_label_set(const mpls_vrf_label_t& vrf_label) = 0;
   // A no-op if the entry does not exist.
   virtual void mpls_vrf_label_del(mpls_label_t label) = 0;
};

}  // namespace orv
