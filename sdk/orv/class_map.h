// Class maps.
//
// Thread-safety: every operation is a call of the SDK and needs the main thread or
// sdk_scoped_lock (lock.h).
#pragma once

#include "orv/class_map_types.h"
#include "orv/iter.h"

namespace orv {

struct class_map_iter_impl : iter_impl<policy_map_key_t> {};
// Keys, in order.
using class_map_iter_t = iter_base<policy_map_key_t, class_map_iter_impl>;

// THROWS: one of the errors of error.h, naming the value, if the switch refuses a value. Nothing changes
// then.
class class_map_mgr {
public:
   virtual ~class_map_mgr() = default;

   // resync_init marks every entry stale; setting an entry again clears its mark. resync_complete removes the
   // entries that are still stale. A second resync_init marks every entry again.
   virtual void resync_init() = 0;
   virtual void resync_complete() = 0;

   // The class maps of one feature.
   [[nodiscard]] virtual class_map_iter_t class_map_iter(policy_feature_t feature) const = 0;
   [[nodiscard]] virtual bool exists(const policy_map_key_t& key) const = 0;
   // A default class map if the class map does not exist.
   [[nodiscard]] virtual class_map_t class_map(const policy_map_key_t& key) const = 0;
   // Replaces the whole class map.
   virtual void class_map_is(const class_map_t& map) = 0;
   // A no-op if the class map does not exist.
   virtual void class_map_del(const policy_map_key_t& key) = 0;
};

}  // namespace orv
