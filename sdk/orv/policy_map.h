// Policy maps and traffic policies.
//
// Thread-safety: every operation is a call of the SDK and needs the main thread or
// sdk_scoped_lock (lock.h). Callbacks come from the main loop.
#pragma once

#include "orv/iter.h"
#include "orv/policy_map_types.h"
#include "orv/traffic_policy_types.h"
#include "orv/watch_list.h"

namespace Pavo {
template <typename T>
class Ptr;
}
namespace Pbr {
class Status;
}

namespace orv {

class policy_map_mgr;

// Registers with the manager for its lifetime; registers nothing if the manager is null.
// REQUIRES: the manager outlives the handler.
class policy_map_handler {
public:
   explicit policy_map_handler(policy_map_mgr* mgr);
   virtual ~policy_map_handler();
   policy_map_handler(const policy_map_handler&) = delete;
   policy_map_handler& operator=(const policy_map_handler&) = delete;

   // No callback comes for a policy map or traffic policy that is not watched.
   void watch_all_policy_maps(bool interest);
   void watch_policy_map(const policy_map_key_t& key, bool interest);

   // The policy map was programmed in hardware.
   virtual void on_policy_map_sync(const policy_map_key_t& key);
   // Hardware refused the policy map; `message` gives the reason.
   virtual void on_policy_map_sync_fail(const policy_map_key_t& key, const std::string& message);
   // The configuration of the policy map was set.
   virtual void on_policy_map_config_set(const policy_map_key_t& key);
   // The configuration of the traffic policy was set. A traffic policy belongs to no feature: its key is its
   // name and policy_feature_t::none, here and in watch_policy_map.
   virtual void on_traffic_policy_config_set(const policy_map_key_t& key);

   [[nodiscard]] policy_map_mgr* get_policy_map_mgr() const noexcept { return mgr_; }

private:
   policy_map_mgr* const mgr_;
};

struct policy_map_iter_impl : iter_impl<policy_map_key_t> {};
struct policy_map_hw_status_iter_impl : iter_impl<policy_map_key_t> {};
struct traffic_policy_iter_impl : iter_impl<policy_map_key_t> {};
// Each yields keys in ascending order: of the configured policy maps; of the policy maps with a hardware
// status; of the traffic policies. The key of a traffic policy has the feature policy_feature_t::none.
using policy_map_iter_t = iter_base<policy_map_key_t, policy_map_iter_impl>;
using policy_map_hw_status_iter_t = iter_base<policy_map_key_t, policy_map_hw_status_iter_impl>;
using traffic_policy_iter_t = iter_base<policy_map_key_t, traffic_policy_iter_impl>;

// THROWS: one of the errors of error.h, naming the value, if the switch refuses a value. Nothing changes
// then.
class policy_map_mgr {
public:
   virtual ~policy_map_mgr() = default;

   // resync_init marks every policy map and traffic policy stale; setting one again clears its mark.
   // resync_complete removes those that are still stale. A second resync_init marks all of them again.
   virtual void resync_init() = 0;
   virtual void resync_complete() = 0;

   [[nodiscard]] virtual bool exists(const policy_map_key_t& key) const = 0;
   // A default policy map if the policy map does not exist.
   [[nodiscard]] virtual policy_map_t policy_map(const policy_map_key_t& key) const = 0;
   // The policy maps of one feature.
   [[nodiscard]] virtual policy_map_iter_t policy_map_iter(policy_feature_t feature) const = 0;
   // Replaces the whole policy map.
   virtual void policy_map_is(const policy_map_t& map) = 0;
   // A no-op if the policy map does not exist.
   virtual void policy_map_del(const policy_map_key_t& key) = 0;
   // Applies the policy map to an interface, or removes it.
   virtual void policy_map_apply(const policy_map_key_t& key, const intf_id_t& intf,
                                 acl_direction_t direction, bool apply) = 0;

   [[nodiscard]] virtual policy_map_hw_status_iter_t policy_map_hw_status_iter(
        policy_feature_t feature) const = 0;
   // Without statuses if the policy map is not applied anywhere.
   [[nodiscard]] virtual policy_map_hw_statuses_t hw_status(const policy_map_key_t& key) const = 0;

   [[nodiscard]] virtual bool traffic_policy_exists(const std::string& name) const = 0;
   // A default traffic policy if the traffic policy does not exist.
   [[nodiscard]] virtual traffic_policy_t traffic_policy(const std::string& name) const = 0;
   [[nodiscard]] virtual traffic_policy_iter_t traffic_policy_iter() const = 0;
   // Replaces the whole traffic policy.
   virtual void traffic_policy_is(const traffic_policy_t& policy) = 0;
   // A no-op if the traffic policy does not exist.
   virtual void traffic_policy_del(const std::string& name) = 0;
   // Applies the traffic policy to an interface, or removes it. An interface has at most one traffic policy
   // per direction; a second one replaces the first.
   virtual void traffic_policy_apply(const std::string& name, const intf_id_t& intf,
                                     traffic_policy_direction_t direction, bool apply) = 0;

   // For handlers and for implementations of the manager.
   [[nodiscard]] watch_list<policy_map_handler, policy_map_key_t>& handlers() noexcept { return handlers_; }

private:
   watch_list<policy_map_handler, policy_map_key_t> handlers_;
};

// The implementation inside the switch, with operations that the abstract manager does not offer.
class PolicyMapMgrImpl : public policy_map_mgr {
public:
   // What hardware does with the packets of each applied policy. Notifies of changes. Null if the switch has
   // no such table.
   [[nodiscard]] virtual Pavo::Ptr<const Pbr::Status> pbr_status() const = 0;
};

}  // namespace orv
