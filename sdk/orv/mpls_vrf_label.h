// MPLS labels that are popped and looked up in a VRF.
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

// A value that the switch refuses throws one of the errors of error.h, naming it;
// nothing has changed then.
class mpls_vrf_label_mgr {
public:
   virtual ~mpls_vrf_label_mgr() = default;

   // Between the two every entry that is not set again is stale; resync_complete
   // removes what is. A second resync_init makes everything stale once more.
   virtual void resync_init() = 0;
   virtual void resync_complete() = 0;

   [[nodiscard]] virtual mpls_vrf_label_iter_t mpls_vrf_label_iter() const = 0;
   // An entry with an empty VRF name where there is none.
   [[nodiscard]] virtual mpls_vrf_label_t mpls_vrf_label(mpls_label_t label) const = 0;
   // Replaces the entry of this label.
   virtual void mpls_vrf_label_set(const mpls_vrf_label_t& vrf_label) = 0;
   // An entry that is not there is no error.
   virtual void mpls_vrf_label_del(mpls_label_t label) = 0;
};

}  // namespace orv
