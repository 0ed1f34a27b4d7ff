// Nexthop groups: configuration, versions, and their state in hardware.
//
// A set configures a group and gives it the next version of its name (1 to 65535, then 1 again), or the
// version that the caller chose. The hardware stage programs the latest version, so the programmed version
// may lag behind the configured one.
//
// An entry resolves if it leads into an active group, or names an interface that is up, or names neither and
// has a next hop: this switch keeps no neighbour table and treats every hop as reachable. A group is active
// while hardware has it and one of its entries resolves. A loop of groups is active only while one of them
// has an entry that resolves outside the loop.
//
// A deleted group stays in hardware until the hardware stage has run: it is still a programmed group, with
// counters, listed in order. Then on_nexthop_group_active reports it inactive, even if it was never active or
// never in hardware.
//
// Refusals (orv::invalid_argument_error unless noted otherwise, naming the value), before anything is
// written:
//    a group name that is empty, of more than 255 bytes, or not in UTF-8
//    an entry, backup entry or destination index beyond the limit, 0 to 1023 by default
//       (orv::invalid_range_error)
//    an entry's interface or a source interface that does not exist
//    a label above 1048575, or a stack of more than 14 labels
//    a group that leads into itself; a child group name of more than 255 bytes, or not in UTF-8
//    the version 0 (orv::invalid_range_error)
//    more groups than the table holds, or a full disk (orv::error)
//
// Thread-safety: guarded by the SDK's lock.
#pragma once

#include <absl/container/btree_set.h>

#include <memory>
#include <string>
#include <vector>

#include "orv/intf.h"
#include "orv/nexthop_group.h"
#include "platform/state/NexthopGroupMap.h"
#include "softswitch/forwarding/hardware.h"
#include "softswitch/managers/context.h"
#include "softswitch/tables/names.h"
#include "softswitch/tables/table.h"
#include "softswitch/tables/work_list.h"

namespace softswitch {

struct NexthopGroupCodec {
   using Group = std::shared_ptr<const orv::nexthop_group_t>;
   static constexpr std::uint8_t version = 1;
   static void encodeKey(const std::string& key, store::Writer& out);
   static std::string decodeKey(store::Reader& in);
   static void encodeRow(const Group& row, store::Writer& out);
   static Group decodeRow(store::Reader& in, std::uint8_t version);
};

// The main loop notifies it of changes to groups in hardware.
class GroupObserver {
public:
   // `fresh` if hardware did not have the group before; otherwise the group, or only its activity, has
   // changed.
   virtual void groupProgrammed(NameId id, bool fresh) = 0;
   virtual void groupGone(NameId id) = 0;

protected:
   ~GroupObserver() = default;
};

class NexthopGroupMgr final : public orv::NexthopGroupMgrImpl,
                              public HardwareClient,
                              public GroupAnswers,
                              private orv::intf_handler {
public:
   static constexpr std::size_t nameBytesMax = 255;
   static constexpr std::size_t labelsMax = 14;

   NexthopGroupMgr(const Context& context, Hardware& hardware, Names& names, orv::intf_mgr& intfs);
   ~NexthopGroupMgr() override;

   void resync_init() override;
   void resync_complete() override;
   orv::nexthop_group_iter_t nexthop_group_iter() const override;
   orv::programmed_nexthop_group_iter_t programmed_nexthop_group_iter() const override;
   bool exists(const std::string& name) const override;
   orv::nexthop_group_t nexthop_group(const std::string& name) const override;
   orv::nexthop_group_t programmed_nexthop_group(const std::string& name) const override;
   bool active(const std::string& name) const override;
   orv::nexthop_group_entry_counter_t counter(const std::string& name, std::uint16_t entry) const override;
   orv::nexthop_group_counter_state_t counter_state(const std::string& name) const override;
   void nexthop_group_set(const orv::nexthop_group_t& group) override;
   void nexthop_group_set(const orv::nexthop_group_t& group, std::uint16_t& version_out) override;
   void nexthop_group_del(const std::string& name) override;
   void nexthop_group_set_with_version_id(const orv::nexthop_group_t& group, std::uint16_t version) override;
   orv::nexthop_group_programmed_hw_state_t get_nexthop_group_programmed_hw_state(
        const std::string& name) const override;
   Pavo::Ptr<const NexthopGroup::NexthopGroupMap> nexthop_group_map() const override { return map_; }

   // REQUIRES: the observer exists as long as the main loop runs.
   void observe(GroupObserver& observer) { observers_.push_back(&observer); }

   std::size_t size() const { return groups_.size(); }
   std::size_t capacity() const { return groups_.capacity(); }
   // RETURNS: the group that hardware has under this number, or null.
   const orv::nexthop_group_t* programmed(NameId id) const {
      return id < states_.size() && states_[id] ? states_[id]->programmed.get() : nullptr;
   }
   bool active(NameId id) const { return id < states_.size() && states_[id] && states_[id]->active; }
   bool resolves(const orv::nexthop_group_entry_t& entry) const;
   // RETURNS: the first number at or after `id` under which hardware has a group, or Names::none.
   NameId programmedAtOrAfter(NameId id) const;
   // For demonstrations: counts traffic as if it had left through the entry.
   // THROWS: orv::invalid_argument_error if hardware has no such entry.
   void countTraffic(const std::string& name, std::uint16_t entry, TrafficCounter traffic);

   bool hardwareIdle() const override { return pending_.empty() && sweep_ == Sweep::none; }
   void hardwareStep(ForwardingPlane& plane) override;
   void groupAnswer(NameId id, std::uint16_t version, GroupAnswer answer) override;

private:
   class ProgrammedIter;
   using Group = NexthopGroupCodec::Group;
   using Groups = Table<std::string, Group, NexthopGroupCodec>;

   // The state of a group that is configured or in hardware.
   struct State {
      HeldName name;
      Group sent;        // handed to the plane, not answered yet
      Group programmed;  // in hardware
      orv::nexthop_group_programmed_hw_state_t hwState = orv::nexthop_group_programmed_hw_state_t::unknown;
      orv::nexthop_group_counter_state_t counterState = orv::nexthop_group_counter_state_t::unknown;
      bool active = false;
      bool queued = false;
      bool parent = false;  // an entry of the programmed group leads into another group
      bool risen = false;   // a parent that the current sweep has found to resolve
   };
   // A sweep re-evaluates which groups are active, in passes over all groups. `judge` does so for groups
   // without child groups and takes parents for inactive, `rise` is repeated until no further parent
   // resolves, and `tell` reports the parents that have changed. Judging parents by each other's present
   // activity would keep a loop of them active forever.
   enum class Sweep { none, judge, rise, tell };

   void on_oper_status(const orv::intf_id_t& intf, orv::oper_status_t status) override;
   void on_intf_create(const orv::intf_id_t& intf) override;
   void on_intf_delete(const orv::intf_id_t& intf) override;

   void validate(const orv::nexthop_group_t& group) const;
   void validateEntries(const orv::nexthop_group_t& group,
                        const orv::slot_map<orv::nexthop_group_entry_t>& entries) const;
   std::uint16_t nextVersion(const std::string& name) const;
   void configure(const orv::nexthop_group_t& group, std::uint16_t version);
   State& state(const std::string& name);
   const State* findState(const std::string& name) const;
   // Call this after the group was removed from the configuration.
   void deleted(const std::string& name);
   void queue(State& state);
   bool resolvesInSweep(const orv::nexthop_group_entry_t& entry) const;
   bool judgeActive(State& state);
   void activeIs(State& state, bool active);
   void setParent(State& state, bool parent);
   void groupChanged();
   void startSweep();
   void sweepStep();
   void sweep(State& state);
   void nextSweep();

   Hardware& hardware_;
   Names& names_;
   const orv::intf_mgr& intfs_;
   const std::size_t entriesMax_;
   Groups groups_;
   // Deleted groups that are still programmed because the hardware stage has not reached them. Every
   // programmed group is here or in groups_; in both if it was set again.
   absl::btree_set<std::string> leaving_;
   std::vector<std::unique_ptr<State>> states_;  // by number of the name
   // The programmed groups, for readers outside the switch.
   const Pavo::Ptr<NexthopGroup::NexthopGroupMap> map_ =
        Pavo::makePtr<NexthopGroup::NexthopGroupMap>("nexthop groups");
   WorkList<NameId> pending_;
   std::vector<GroupObserver*> observers_;
   std::size_t parents_ = 0;
   // After a link or a group changed.
   Sweep sweep_ = Sweep::none;
   bool rose_ = false;
   bool sweepAgain_ = false;
   NameId sweepAt_ = 0;
};

}  // namespace softswitch
