// Nexthop groups.
//
// Thread-safety: every operation is a call of the SDK and needs the main thread or
// sdk_scoped_lock (lock.h). Callbacks come from the main loop.
#pragma once

#include "orv/iter.h"
#include "orv/nexthop_group_types.h"
#include "orv/watch_list.h"

namespace orv {

class nexthop_group_mgr;

// Registers with the manager for its life; a null manager registers nothing. The
// manager outlives it.
class nexthop_group_handler {
public:
   explicit nexthop_group_handler(nexthop_group_mgr* mgr);
   virtual ~nexthop_group_handler();
   nexthop_group_handler(const nexthop_group_handler&) = delete;
   nexthop_group_handler& operator=(const nexthop_group_handler&) = delete;

   // No callback comes for a group that is not watched.
   void watch_all_nexthop_groups(bool interest);
   void watch_nexthop_group(const std::string& name, bool interest);

   // A group began or ceased to forward, or was deleted, whether it did or not.
   virtual void on_nexthop_group_active(const std::string& name, bool active);
   // Hardware answered to a set of this version.
   virtual void on_nexthop_group_programmed(const std::string& name, std::uint16_t version,
                                            const nexthop_group_programmed_status_t& status);

   [[nodiscard]] nexthop_group_mgr* get_nexthop_group_mgr() const noexcept { return mgr_; }

private:
   nexthop_group_mgr* const mgr_;
};

// The handler whose "programmed" callback carries version and status.
class nexthop_group_handler_v3 : public nexthop_group_handler {
public:
   using nexthop_group_handler::nexthop_group_handler;
};

struct nexthop_group_iter_impl : iter_impl<nexthop_group_t> {};
struct programmed_nexthop_group_iter_impl : iter_impl<std::string> {};
// Configured groups by name.
using nexthop_group_iter_t = iter_base<nexthop_group_t, nexthop_group_iter_impl>;
// Names of the groups that hardware has.
using programmed_nexthop_group_iter_t = iter_base<std::string, programmed_nexthop_group_iter_impl>;

// A value that the switch refuses throws one of the errors of error.h, naming it;
// nothing has changed then.
class nexthop_group_mgr {
public:
   virtual ~nexthop_group_mgr() = default;

   // Between the two every entry that is not set again is stale; resync_complete
   // removes what is. A second resync_init makes everything stale once more.
   virtual void resync_init() = 0;
   virtual void resync_complete() = 0;

   [[nodiscard]] virtual nexthop_group_iter_t nexthop_group_iter() const = 0;
   [[nodiscard]] virtual programmed_nexthop_group_iter_t programmed_nexthop_group_iter() const = 0;
   [[nodiscard]] virtual bool exists(const std::string& name) const = 0;
   // As configured; a group without a name where there is none.
   [[nodiscard]] virtual nexthop_group_t nexthop_group(const std::string& name) const = 0;
   // As in hardware; a group without a name where there is none.
   [[nodiscard]] virtual nexthop_group_t programmed_nexthop_group(const std::string& name) const = 0;
   // True while the group forwards.
   [[nodiscard]] virtual bool active(const std::string& name) const = 0;
   // Not valid where the group, the entry or its counter is not there.
   [[nodiscard]] virtual nexthop_group_entry_counter_t counter(const std::string& name,
                                                               std::uint16_t entry) const = 0;
   [[nodiscard]] virtual nexthop_group_counter_state_t counter_state(const std::string& name) const = 0;

   // Replaces the whole group.
   virtual void nexthop_group_set(const nexthop_group_t& group) = 0;
   // The same; `version_out` gets the version that the manager gave to this state of
   // the group, 1 to 65535.
   virtual void nexthop_group_set(const nexthop_group_t& group, std::uint16_t& version_out) = 0;
   // A group that is not there is no error.
   virtual void nexthop_group_del(const std::string& name) = 0;

   // For handlers and for whoever implements the manager.
   [[nodiscard]] watch_list<nexthop_group_handler, std::string>& handlers() noexcept { return handlers_; }

private:
   watch_list<nexthop_group_handler, std::string> handlers_;
};

// What an implementation offers beyond the public manager. The manager that
// sdk::get_nexthop_group_mgr answers is one.
class NexthopGroupMgrImpl : public nexthop_group_mgr {
public:
   // A set with a version of the owner's choice, 1 to 65535.
   virtual void nexthop_group_set_with_version_id(const nexthop_group_t& group, std::uint16_t version) = 0;
   [[nodiscard]] virtual nexthop_group_programmed_hw_state_t get_nexthop_group_programmed_hw_state(
        const std::string& name) const = 0;
};

}  // namespace orv
