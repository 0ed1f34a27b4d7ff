#include "softswitch/managers/nexthop_group_mgr.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>

#include "orv/lock.h"
#include "softswitch/tables/name_check.h"
#include "softswitch/tables/value_codec.h"

namespace softswitch {
namespace {

using CounterState = orv::nexthop_group_counter_state_t;
using HwState = orv::nexthop_group_programmed_hw_state_t;

constexpr std::uint16_t versionMax = 65535;
constexpr std::size_t groupsPerStep = 16;
constexpr int groupsSweptPerStep = 256;

enum EntryBits : std::uint8_t { hasChild = 1, hasSession = 2, hasAction = 4 };

void writeEntry(store::Writer& out, const orv::nexthop_group_entry_t& entry) {
   static const orv::sbfd_echo_session_key_t noSession;
   static const orv::nexthop_group_mpls_action_t noAction;
   const bool child = !entry.child_nexthop_group().empty();
   const bool session = entry.sbfd_session_key() != noSession;
   const bool action = entry.mpls_action() != noAction;
   out.u8(static_cast<std::uint8_t>((child ? hasChild : 0) | (session ? hasSession : 0) |
                                    (action ? hasAction : 0)));
   write(out, entry.nexthop());
   write(out, entry.intf());
   if (action) {
      writeEnum(out, entry.mpls_action().action_type());
      write(out, entry.mpls_action().label_stack());
   }
   if (child) out.text(entry.child_nexthop_group());
   if (session) write(out, entry.sbfd_session_key());
}

orv::nexthop_group_entry_t readEntry(store::Reader& in) {
   const auto bits = in.u8();
   orv::nexthop_group_entry_t entry(readIpAddr(in));
   entry.intf_is(readIntfId(in));
   if ((bits & hasAction) != 0) {
      const auto type = readEnum(in, orv::mpls_action_t::forward);
      entry.mpls_action_is({type, readLabelStack(in)});
   }
   if ((bits & hasChild) != 0) entry.child_nexthop_group_is(std::string(in.text()));
   if ((bits & hasSession) != 0) entry.sbfd_session_key_is(readSbfdKey(in));
   return entry;
}

void writeEntries(store::Writer& out, const orv::slot_map<orv::nexthop_group_entry_t>& entries) {
   out.varint(entries.size());
   for (const auto& [slot, entry] : entries) {
      out.varint(slot);
      writeEntry(out, entry);
   }
}

orv::slot_map<orv::nexthop_group_entry_t> readEntries(store::Reader& in) {
   orv::slot_map<orv::nexthop_group_entry_t> entries;
   for (auto count = in.varint(); count != 0; --count) {
      const auto slot = in.number<std::uint16_t>();
      entries.set(slot, readEntry(in));
   }
   return entries;
}

bool leadsIntoGroups(const orv::nexthop_group_t& group) {
   const auto& entries = group.nexthops();
   return std::any_of(entries.begin(), entries.end(),
                      [](const auto& e) { return !e.second.child_nexthop_group().empty(); });
}

enum GroupBits : std::uint8_t { autosizeBit = 1, unsharedBit = 2, persistentBit = 4, hierarchicalBit = 8 };

}  // namespace

void NexthopGroupCodec::encodeKey(const std::string& key, store::Writer& out) {
   out.text(key);
}

std::string NexthopGroupCodec::decodeKey(store::Reader& in) {
   return std::string(in.text());
}

void NexthopGroupCodec::encodeRow(const Group& row, store::Writer& out) {
   const auto& group = *row;
   out.text(group.name());
   writeEnum(out, group.type());
   writeEnum(out, group.gre_key_type());
   out.u8(static_cast<std::uint8_t>((group.autosize() ? autosizeBit : 0) |
                                    (group.counters_unshared() ? unsharedBit : 0) |
                                    (group.counters_persistent() ? persistentBit : 0) |
                                    (group.hierarchical_fecs_enabled() ? hierarchicalBit : 0)));
   out.varint(group.ttl());
   out.varint(group.version_id());
   write(out, group.source_ip());
   write(out, group.source_intf());
   writeEntries(out, group.nexthops());
   writeEntries(out, group.backup_nexthops());
   out.varint(group.destination_ips().size());
   for (const auto& [slot, address] : group.destination_ips()) {
      out.varint(slot);
      write(out, address);
   }
}

NexthopGroupCodec::Group NexthopGroupCodec::decodeRow(store::Reader& in, std::uint8_t) {
   std::string name(in.text());
   const auto type = readEnum(in, orv::nexthop_group_encap_t::mpls_over_gre);
   const auto greKey = readEnum(in, orv::nexthop_group_gre_key_t::ingress_intf);
   auto group = std::make_shared<orv::nexthop_group_t>(std::move(name), type, greKey);
   const auto bits = in.u8();
   group->autosize_is((bits & autosizeBit) != 0);
   group->counters_unshared_is((bits & unsharedBit) != 0);
   group->counters_persistent_is((bits & persistentBit) != 0);
   group->hierarchical_fecs_enabled_is((bits & hierarchicalBit) != 0);
   group->ttl_is(in.number<std::uint16_t>());
   group->version_id_is(in.number<std::uint16_t>());
   group->source_ip_is(readIpAddr(in));
   group->source_intf_is(readIntfId(in));
   group->nexthops_is(readEntries(in));
   group->backup_nexthops_is(readEntries(in));
   for (auto count = in.varint(); count != 0; --count) {
      const auto slot = in.number<std::uint16_t>();
      group->destination_ip_set(slot, readIpAddr(in));
   }
   return group;
}

// The names of programmed groups in order: groups_ merged with leaving_.
class NexthopGroupMgr::ProgrammedIter final : public orv::programmed_nexthop_group_iter_impl {
public:
   explicit ProgrammedIter(const NexthopGroupMgr& mgr) : mgr_(&mgr), cursor_(mgr.groups_) {}

   bool next(std::string& row) override {
      for (;;) {
         const auto item = behindCursor_ ? mgr_->groups_.upperBound(last_) : cursor_.next();
         const auto leaving = mgr_->leaving_.upper_bound(last_);
         if (leaving != mgr_->leaving_.end() && (!item || *leaving < *item.key)) {
            // From here on the cursor is ahead of the iteration and would miss groups set in between.
            behindCursor_ = true;
            row = last_ = *leaving;
            return true;
         }
         if (!item) return false;
         last_ = *item.key;
         const auto* s = mgr_->findState(last_);
         if (s == nullptr || !s->programmed) continue;
         row = last_;
         return true;
      }
   }
   std::unique_ptr<orv::iter_impl<std::string>> clone() const override {
      return std::make_unique<ProgrammedIter>(*this);
   }

private:
   const NexthopGroupMgr* mgr_;
   Groups::Cursor cursor_;
   std::string last_;  // the position of the iteration; no group has an empty name
   bool behindCursor_ = false;
};

NexthopGroupMgr::NexthopGroupMgr(const Context& context, Hardware& hardware, Names& names,
                                 orv::intf_mgr& intfs)
     : orv::intf_handler(&intfs),
       hardware_(hardware),
       names_(names),
       intfs_(intfs),
       entriesMax_(context.limits.entriesPerNexthopGroup),
       groups_(context.store, "nexthop_group", context.limits.nexthopGroups) {
   watch_all_intfs(true);
   groups_.forEach([this](const std::string& name, const Group&) { queue(state(name)); });
}

NexthopGroupMgr::~NexthopGroupMgr() = default;

void NexthopGroupMgr::resync_init() {
   orv::sdk_lock_check();
   groups_.resyncInit();
}

void NexthopGroupMgr::resync_complete() {
   orv::sdk_lock_check();
   groups_.resyncComplete([this](const std::string& name, const Group&) { deleted(name); });
}

orv::nexthop_group_iter_t NexthopGroupMgr::nexthop_group_iter() const {
   orv::sdk_lock_check();
   return orv::nexthop_group_iter_t(
        std::make_unique<SharedTableIter<orv::nexthop_group_iter_t, Groups>>(groups_));
}

orv::programmed_nexthop_group_iter_t NexthopGroupMgr::programmed_nexthop_group_iter() const {
   orv::sdk_lock_check();
   return orv::programmed_nexthop_group_iter_t(std::make_unique<ProgrammedIter>(*this));
}

bool NexthopGroupMgr::exists(const std::string& name) const {
   orv::sdk_lock_check();
   return groups_.contains(name);
}

orv::nexthop_group_t NexthopGroupMgr::nexthop_group(const std::string& name) const {
   orv::sdk_lock_check();
   const auto* group = groups_.find(name);
   return group == nullptr ? orv::nexthop_group_t{} : **group;
}

orv::nexthop_group_t NexthopGroupMgr::programmed_nexthop_group(const std::string& name) const {
   orv::sdk_lock_check();
   const auto* s = findState(name);
   return s == nullptr || !s->programmed ? orv::nexthop_group_t{} : *s->programmed;
}

bool NexthopGroupMgr::active(const std::string& name) const {
   orv::sdk_lock_check();
   const auto* s = findState(name);
   return s != nullptr && s->active;
}

orv::nexthop_group_entry_counter_t NexthopGroupMgr::counter(const std::string& name,
                                                            std::uint16_t entry) const {
   orv::sdk_lock_check();
   const auto* s = findState(name);
   if (s == nullptr || !s->programmed || s->counterState != CounterState::success ||
       !s->programmed->nexthops().contains(entry)) {
      return {};
   }
   const auto traffic = hardware_.plane().counter(s->name.id(), entry);
   return {traffic.packets, traffic.bytes, true};
}

orv::nexthop_group_counter_state_t NexthopGroupMgr::counter_state(const std::string& name) const {
   orv::sdk_lock_check();
   const auto* s = findState(name);
   return s == nullptr ? CounterState::unknown : s->counterState;
}

orv::nexthop_group_programmed_hw_state_t NexthopGroupMgr::get_nexthop_group_programmed_hw_state(
     const std::string& name) const {
   orv::sdk_lock_check();
   const auto* s = findState(name);
   return s == nullptr ? HwState::unknown : s->hwState;
}

void NexthopGroupMgr::nexthop_group_set(const orv::nexthop_group_t& group) {
   orv::sdk_lock_check();
   configure(group, nextVersion(group.name()));
}

void NexthopGroupMgr::nexthop_group_set(const orv::nexthop_group_t& group, std::uint16_t& version_out) {
   orv::sdk_lock_check();
   const auto version = nextVersion(group.name());
   configure(group, version);
   version_out = version;
}

void NexthopGroupMgr::nexthop_group_set_with_version_id(const orv::nexthop_group_t& group,
                                                        std::uint16_t version) {
   orv::sdk_lock_check();
   if (version == 0) throw orv::invalid_range_error("version_id", version, 1, versionMax);
   configure(group, version);
}

void NexthopGroupMgr::nexthop_group_del(const std::string& name) {
   orv::sdk_lock_check();
   if (groups_.erase(name)) deleted(name);
}

void NexthopGroupMgr::deleted(const std::string& name) {
   auto& s = state(name);
   if (s.programmed) leaving_.insert(name);
   queue(s);
}

std::uint16_t NexthopGroupMgr::nextVersion(const std::string& name) const {
   const auto* group = groups_.find(name);
   const std::uint16_t last = group == nullptr ? 0 : (*group)->version_id();
   return last == versionMax ? 1 : static_cast<std::uint16_t>(last + 1);
}

void NexthopGroupMgr::configure(const orv::nexthop_group_t& group, std::uint16_t version) {
   validate(group);
   auto kept = std::make_shared<orv::nexthop_group_t>(group);
   kept->version_id_is(version);
   groups_.set(group.name(), std::move(kept));
   queue(state(group.name()));
}

void NexthopGroupMgr::validate(const orv::nexthop_group_t& group) const {
   if (group.name().empty()) throw orv::invalid_argument_error("nexthop group has no name");
   checkText("nexthop group name", group.name(), nameBytesMax);
   if (!!group.source_intf() && !intfs_.exists(group.source_intf())) {
      throw orv::invalid_argument_error(fmt::format("nexthop group {}: unknown source interface {}",
                                                    group.name(), group.source_intf().name()));
   }
   validateEntries(group, group.nexthops());
   validateEntries(group, group.backup_nexthops());
   for (const auto& [slot, address] : group.destination_ips()) {
      if (slot >= entriesMax_) {
         throw orv::invalid_range_error(fmt::format("nexthop group {}: destination index", group.name()),
                                        std::uint64_t{slot}, 0, static_cast<std::int64_t>(entriesMax_) - 1);
      }
   }
}

void NexthopGroupMgr::validateEntries(const orv::nexthop_group_t& group,
                                      const orv::slot_map<orv::nexthop_group_entry_t>& entries) const {
   for (const auto& [slot, entry] : entries) {
      const auto refuseEntry = [&, index = slot](const std::string& why) {
         throw orv::invalid_argument_error(
              fmt::format("nexthop group {} entry {}: {}", group.name(), index, why));
      };
      if (slot >= entriesMax_) {
         throw orv::invalid_range_error(fmt::format("nexthop group {}: entry index", group.name()),
                                        std::uint64_t{slot}, 0, static_cast<std::int64_t>(entriesMax_) - 1);
      }
      if (!!entry.intf() && !intfs_.exists(entry.intf()))
         refuseEntry(fmt::format("unknown interface {}", entry.intf().name()));
      if (const auto& child = entry.child_nexthop_group(); !child.empty()) {
         if (child == group.name()) refuseEntry("the group leads into itself");
         if (const auto fault = textFault(child, nameBytesMax); !fault.empty())
            refuseEntry(fmt::format("child group name {}", fault));
      }
      const auto& labels = entry.mpls_action().label_stack();
      if (labels.empty()) continue;
      if (labels.size() > labelsMax)
         refuseEntry(fmt::format("stack of {} labels, expected at most {}", labels.size(), labelsMax));
      for (const auto label : labels) {
         if (!label) refuseEntry(fmt::format("label {} is above {}", label.label(), orv::mpls_label_t::max));
      }
   }
}

NexthopGroupMgr::State& NexthopGroupMgr::state(const std::string& name) {
   HeldName held(names_, name);
   const auto id = held.id();
   if (id >= states_.size()) states_.resize(std::max<std::size_t>(id + 1, states_.size() * 2));
   if (!states_[id]) {
      states_[id] = std::make_unique<State>();
      states_[id]->name = std::move(held);
   }
   return *states_[id];
}

const NexthopGroupMgr::State* NexthopGroupMgr::findState(const std::string& name) const {
   const auto id = names_.find(name);
   return id != Names::none && id < states_.size() ? states_[id].get() : nullptr;
}

void NexthopGroupMgr::queue(State& s) {
   if (!s.queued) {
      s.queued = true;
      pending_.push(s.name.id());
   }
   hardware_.request();
}

NameId NexthopGroupMgr::programmedAtOrAfter(NameId id) const {
   for (; id < states_.size(); ++id) {
      if (states_[id] && states_[id]->programmed) return id;
   }
   return Names::none;
}

void NexthopGroupMgr::countTraffic(const std::string& name, std::uint16_t entry, TrafficCounter traffic) {
   orv::sdk_lock_check();
   const auto* s = findState(name);
   if (s == nullptr || !s->programmed || !s->programmed->nexthops().contains(entry)) {
      throw orv::invalid_argument_error(
           fmt::format("hardware has no nexthop group '{}' with an entry {}", name, entry));
   }
   hardware_.plane().countTraffic(s->name.id(), entry, traffic);
}

void NexthopGroupMgr::hardwareStep(ForwardingPlane& plane) {
   pending_.work(groupsPerStep, [&](NameId id) {
      auto& s = *states_[id];
      s.queued = false;
      if (!leaving_.empty()) leaving_.erase(names_.text(id));
      const auto* configured = groups_.find(names_.text(id));
      if (configured != nullptr) {
         s.sent = *configured;
         plane.groupSet(id, *s.sent);
         return;
      }
      const bool wasThere = s.programmed != nullptr;
      const std::string name = names_.text(id);
      plane.groupDel(id);
      setParent(s, false);
      states_[id].reset();
      map_->rowDel(id);
      if (wasThere) {
         groupChanged();
         for (auto* observer : observers_)
            observer->groupGone(id);
      }
      // Even for a group that was not active: this is how its watchers learn that it is gone.
      handlers().notify(name, [&](auto& h) { h.on_nexthop_group_active(name, false); });
   });
   if (pending_.empty() && sweep_ != Sweep::none) sweepStep();
}

void NexthopGroupMgr::groupAnswer(NameId id, std::uint16_t version, GroupAnswer answer) {
   if (id >= states_.size() || !states_[id]) return;
   auto& s = *states_[id];
   // A late answer may be for a version that has been replaced.
   if (!s.sent || s.sent->version_id() != version) return;
   const bool wasThere = s.programmed != nullptr;
   s.hwState = answer.programmed ? HwState::success : HwState::failure;
   s.counterState = answer.counted ? CounterState::success : CounterState::failure;
   if (answer.programmed) {
      // Deleted between groupSet() and its answer.
      if (s.queued && !wasThere && !groups_.contains(names_.text(id))) leaving_.insert(names_.text(id));
      s.programmed = s.sent;
      map_->rowIs(id, names_.text(id));
      setParent(s, leadsIntoGroups(*s.programmed));
   }
   s.sent.reset();
   const std::string name = names_.text(id);
   const orv::nexthop_group_programmed_status_t status(s.hwState, s.counterState);
   handlers().notify(name, [&](auto& h) { h.on_nexthop_group_programmed(name, version, status); });
   if (!answer.programmed) return;
   // This may activate groups that lead into this one. A parent may so far have been active only through a
   // loop.
   if (judgeActive(s) || !wasThere || s.parent) groupChanged();
   s.risen = s.active;
   for (auto* observer : observers_)
      observer->groupProgrammed(id, !wasThere);
}

bool NexthopGroupMgr::resolves(const orv::nexthop_group_entry_t& entry) const {
   if (!entry.child_nexthop_group().empty()) return active(names_.find(entry.child_nexthop_group()));
   if (!!entry.intf()) {
      return intfs_.exists(entry.intf()) && intfs_.oper_status(entry.intf()) == orv::oper_status_t::up;
   }
   return entry.nexthop().af() != orv::af_none;
}

bool NexthopGroupMgr::resolvesInSweep(const orv::nexthop_group_entry_t& entry) const {
   if (const auto& child = entry.child_nexthop_group(); !child.empty()) {
      const auto* s = findState(child);
      return s != nullptr && (s->parent ? s->risen : s->active);
   }
   return resolves(entry);
}

// RETURNS: whether the group's activity has changed.
bool NexthopGroupMgr::judgeActive(State& s) {
   const auto& entries = s.programmed->nexthops();
   const bool now =
        std::any_of(entries.begin(), entries.end(), [this](const auto& e) { return resolves(e.second); });
   if (now == s.active) return false;
   activeIs(s, now);
   return true;
}

void NexthopGroupMgr::activeIs(State& s, bool active) {
   s.active = active;
   const std::string name = names_.text(s.name.id());
   handlers().notify(name, [&](auto& h) { h.on_nexthop_group_active(name, active); });
}

void NexthopGroupMgr::setParent(State& s, bool parent) {
   if (s.parent == parent) return;
   s.parent = parent;
   parent ? ++parents_ : --parents_;
}

void NexthopGroupMgr::groupChanged() {
   if (parents_ != 0) startSweep();
}

void NexthopGroupMgr::startSweep() {
   if (sweep_ != Sweep::none) {
      // A sweep that has not begun yet will see the change.
      if (sweep_ != Sweep::judge || sweepAt_ != 0) sweepAgain_ = true;
      return;
   }
   sweep_ = Sweep::judge;
   sweepAgain_ = false;
   sweepAt_ = 0;
   hardware_.request();
}

void NexthopGroupMgr::sweepStep() {
   for (int done = 0; done < groupsSweptPerStep && sweepAt_ < states_.size(); ++done) {
      if (auto* const s = states_[sweepAt_++].get(); s != nullptr && s->programmed) sweep(*s);
   }
   if (sweepAt_ == states_.size()) nextSweep();
}

void NexthopGroupMgr::sweep(State& s) {
   const auto tell = [&] {
      for (auto* observer : observers_)
         observer->groupProgrammed(s.name.id(), false);
   };
   switch (sweep_) {
      case Sweep::none:
         break;
      case Sweep::judge:
         s.risen = false;
         if (!s.parent && judgeActive(s)) tell();
         break;
      case Sweep::rise: {
         if (!s.parent || s.risen) break;
         const auto& entries = s.programmed->nexthops();
         s.risen = std::any_of(entries.begin(), entries.end(),
                               [this](const auto& e) { return resolvesInSweep(e.second); });
         rose_ = rose_ || s.risen;
         break;
      }
      case Sweep::tell:
         if (!s.parent || s.risen == s.active) break;
         activeIs(s, s.risen);
         tell();
         break;
   }
}

// Begins the next pass of the sweep, or ends it.
void NexthopGroupMgr::nextSweep() {
   sweepAt_ = 0;
   if (sweep_ == Sweep::judge && parents_ != 0) {
      sweep_ = Sweep::rise;
   } else if (sweep_ == Sweep::rise && !rose_) {
      sweep_ = Sweep::tell;
   } else if (sweep_ != Sweep::rise) {
      sweep_ = Sweep::none;
   }
   rose_ = false;
   if (sweep_ == Sweep::none && sweepAgain_) startSweep();
}

void NexthopGroupMgr::on_oper_status(const orv::intf_id_t&, orv::oper_status_t) {
   startSweep();
}
void NexthopGroupMgr::on_intf_create(const orv::intf_id_t&) {
   startSweep();
}
void NexthopGroupMgr::on_intf_delete(const orv::intf_id_t&) {
   startSweep();
}

}  // namespace softswitch
