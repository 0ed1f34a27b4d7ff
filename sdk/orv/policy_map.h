// Policy maps.
//
// Thread-safety: every operation is a call of the SDK and needs the main thread or
// sdk_scoped_lock (lock.h). Callbacks come from the main loop.
#pragma once

#include "orv/iter.h"
#include "orv/policy_map_types.h"
#include "orv/watch_list.h"

namespace orv {

class policy_map_mgr;

// Registers with the manager for its life; a null manager registers nothing. The
// manager outlives it.
class policy_map_handler {
public:
   explicit policy_map_handler(policy_map_mgr* mgr);
   virtual ~policy_map_handler();
   policy_map_handler(const policy_map_handler&) = delete;
   policy_map_handler& operator=(const policy_map_handler&) = delete;

   // No callback comes for a policy map that is not watched.
   void watch_all_policy_maps(bool interest);
   void watch_policy_map(const policy_map_key_t& key, bool interest);

   // Hardware has the policy map.
   virtual void on_policy_map_sync(const policy_map_key_t& key);
   // Hardware refused it, in these words.
   virtual void on_policy_map_sync_fail(const policy_map_key_t& key, const std::string& message);
   // The configuration of the policy map was set.
   virtual void on_policy_map_config_set(const policy_map_key_t& key);

   [[nodiscard]] policy_map_mgr* get_policy_map_mgr() const noexcept { return mgr_; }

private:
   policy_map_mgr* const mgr_;
};

struct policy_map_iter_impl : iter_impl<policy_map_key_t> {};
struct policy_map_hw_status_iter_impl : iter_impl<policy_map_key_t> {};
// Keys, in order: of those configured, and of those that have a hardware status.
using policy_map_iter_t = iter_base<policy_map_key_t, policy_map_iter_impl>;
using policy_map_hw_status_iter_t = iter_base<policy_map_key_t, policy_map_hw_status_iter_impl>;

// A value that the switch refuses throws one of the errors of error.h, naming it;
// nothing has changed then.
class policy_map_mgr {
public:
   virtual ~policy_map_mgr() = default;

   // Between the two every entry that is not set again is stale; resync_complete
   // removes what is. A second resync_init makes everything stale once more.
   virtual void resync_init() = 0;
   virtual void resync_complete() = 0;

   [[nodiscard]] virtual bool exists(const policy_map_key_t& key) const = 0;
   // A default policy map where there is none.
   [[nodiscard]] virtual policy_map_t policy_map(const policy_map_key_t& key) const = 0;
   // The policy maps of one feature.
   [[nodiscard]] virtual policy_map_iter_t policy_map_iter(policy_feature_t feature) const = 0;
   // Replaces the whole policy map.
   virtual void policy_map_is(const policy_map_t& map) = 0;
   // A policy map that is not there is no error.
   virtual void policy_map_del(const policy_map_key_t& key) = 0;
   // Applies the policy map to an interface, or takes it off.
   virtual void policy_map_apply(const policy_map_key_t& key, const intf_id_t& intf,
                                 acl_direction_t direction, bool apply) = 0;

   [[nodiscard]] virtual policy_map_hw_status_iter_t policy_map_hw_status_iter(
        policy_feature_t feature) const = 0;
   // Without statuses where the policy map is applied nowhere.
   [[nodiscard]] virtual policy_map_hw_statuses_t hw_status(const policy_map_key_t& key) const = 0;

   // For handlers and for whoever implements the manager.
   [[nodiscard]] watch_list<policy_map_handler, policy_map_key_t>& handlers() noexcept { return handlers_; }

private:
   watch_list<policy_map_handler, policy_map_key_t> handlers_;
};

}  // namespace orv
