// Nexthop groups.
//
// Thread-safety: every operation is a call of the SDK and needs the main thread or
// sdk_scoped_lock (lock.h). Callbacks come from the main loop.
#pragma once

#include "orv/iter.h"
#include "orv/nexthop_group_types.h"
#include "orv/watch_list.h"

namespace Pavo {
template <typename T>
class Ptr;
}
namespace NexthopGroup {
class NexthopGroupMap;
}

namespace orv {

class nexthop_group_mgr;

// Registers with the manager for its lifetime; registers nothing if the manager is null.
// REQUIRES: the manager outlives the handler.
class nexthop_group_handler {
public:
   explicit nexthop_group_handler(nexthop_group_mgr* mgr);
   virtual ~nexthop_group_handler();
   nexthop_group_handler(const nexthop_group_handler&) = delete;
   nexthop_group_handler& operator=(const nexthop_group_handler&) = delete;

   // No callback comes for a group that is not watched.
   void watch_all_nexthop_groups(bool interest);
   void watch_nexthop_group(const std::string& name, bool interest);

   // A group started or stopped forwarding, or was deleted, even if it did not forward.
   virtual void on_nexthop_group_active(const std::string& name, bool active);
   // Hardware reported the outcome of setting this version.
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
// Configured groups, ordered by name.
using nexthop_group_iter_t = iter_base<nexthop_group_t, nexthop_group_iter_impl>;
// Names of the groups in hardware.
using programmed_nexthop_group_iter_t = iter_base<std::string, programmed_nexthop_group_iter_impl>;

// THROWS: one of the errors of error.h, naming the value, if the switch refuses a value. Nothing changes
// then.
class nexthop_group_mgr {
public:
   virtual ~nexthop_group_mgr() = default;

   // resync_init marks every entry stale; setting an entry again clears its mark. resync_complete removes the
   // entries that are still stale. A second resync_init marks every entry again.
   virtual void resync_init() = 0;
   virtual void resync_complete() = 0;

   [[nodiscard]] virtual nexthop_group_iter_t nexthop_group_iter() const = 0;
   [[nodiscard]] virtual programmed_nexthop_group_iter_t programmed_nexthop_group_iter() const = 0;
   [[nodiscard]] virtual bool exists(const std::string& name) const = 0;
   // As configured; a group without a name if the group does not exist.
   [[nodiscard]] virtual nexthop_group_t nexthop_group(const std::string& name) const = 0;
   // As in hardware; a group without a name if the group does not exist.
   [[nodiscard]] virtual nexthop_group_t programmed_nexthop_group(const std::string& name) const = 0;
   // True while the group forwards.
   [[nodiscard]] virtual bool active(const std::string& name) const = 0;
   // Not valid if the group, the entry or its counter does not exist.
   [[nodiscard]] virtual nexthop_group_entry_counter_t counter(const std::string& name,
                                                               std::uint16_t entry) const = 0;
   [[nodiscard]] virtual nexthop_group_counter_state_t counter_state(const std::string& name) const = 0;

   // Replaces the whole group.
   virtual void nexthop_group_set(const nexthop_group_t& group) = 0;
   // The same; `version_out` receives the version that the manager assigned to this state of the group, 1 to
   // 65535.
   virtual void nexthop_group_set(const nexthop_group_t& group, std::uint16_t& version_out) = 0;
   // A no-op if the group does not exist.
   virtual void nexthop_group_del(const std::string& name) = 0;

   // For handlers and for implementations of the manager.
   [[nodiscard]] watch_list<nexthop_group_handler, std::string>& handlers() noexcept { return handlers_; }

private:
   watch_list<nexthop_group_handler, std::string> handlers_;
};

// Operations beyond the public manager. The manager that sdk::get_nexthop_group_mgr returns has them.
class NexthopGroupMgrImpl : public nexthop_group_mgr {
public:
   // Sets the group with a version that the owner chooses, 1 to 65535.
   virtual void nexthop_group_set_with_version_id(const nexthop_group_t& group, std::uint16_t version) = 0;
   [[nodiscard]] virtual nexthop_group_programmed_hw_state_t get_nexthop_group_programmed_hw_state(
        const std::string& name) const = 0;
   // The names of the groups in hardware, by the switch's numbers for them. Notifies of changes. Null if the
   // switch has no such table.
   [[nodiscard]] virtual Pavo::Ptr<const NexthopGroup::NexthopGroupMap> nexthop_group_map() const = 0;
};

}  // namespace orv
