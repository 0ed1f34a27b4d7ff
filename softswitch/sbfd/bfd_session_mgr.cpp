#include "softswitch/sbfd/bfd_session_mgr.h"

#include <algorithm>

#include "orv/error.h"
#include "platform/zelt/ActivityLock.h"
#include "softswitch/managers/intf_mgr.h"
#include "softswitch/tables/value_codec.h"

namespace softswitch {
namespace {

// After the task that reports session status, before those that send round-trip times and make callbacks.
constexpr Gorm::Priority sbfdPriority = 2;
// Reports between two checks of the quantum. Each run makes at least this many, so that they get through when
// packets take up all the time.
constexpr unsigned statusesPerLook = 64;
constexpr unsigned rttsPerLook = 16;

}  // namespace

void BfdSessionCodec::encodeKey(const orv::sbfd_echo_session_key_t& key, store::Writer& out) {
   write(out, key);
}
orv::sbfd_echo_session_key_t BfdSessionCodec::decodeKey(store::Reader& in) {
   return readSbfdKey(in);
}

void BfdSessionCodec::encodeRow(const BfdSessionRow& row, store::Writer& out) {
   out.u16(row.interval.min_tx());
   out.u8(row.interval.multiplier());
   out.boolean(row.rttEnabled);
}

BfdSessionRow BfdSessionCodec::decodeRow(store::Reader& in, std::uint8_t) {
   const auto minTx = in.u16();
   const auto multiplier = in.u8();
   return {.interval = {minTx, multiplier}, .rttEnabled = in.boolean()};
}

BfdSessionMgr::BfdSessionMgr(const Context& context, IntfMgr& intfs, SbfdPath& path,
                             std::int64_t snapshotNanos, Now now)
     : Pavo::TimerTask(context.scheduler, "sbfd", sbfdPriority),
       orv::intf_handler(&intfs),
       intfs_(intfs),
       now_(std::move(now)),
       sessions_(context.store, "sbfd session", context.limits.bfdSessions),
       engine_(path, snapshotNanos) {
   watch_all_intfs(true);
   sessions_.forEach([this](const Key& key, const BfdSessionRow& row) { start(key, row); });
   wake();
}

BfdSessionMgr::~BfdSessionMgr() = default;

orv::sbfd_echo_session_iter_t BfdSessionMgr::sbfd_echo_session_iter() const {
   orv::sdk_lock_check();
   return makeTableIter<orv::sbfd_echo_session_iter_t>(
        sessions_, [](const Sessions::Item& item) { return std::optional(*item.key); });
}

bool BfdSessionMgr::sbfd_echo_session_exists(const orv::sbfd_echo_session_key_t& key) const {
   orv::sdk_lock_check();
   return sessions_.contains(key);
}

orv::bfd_session_status_t BfdSessionMgr::sbfd_echo_session_status(
     const orv::sbfd_echo_session_key_t& key) const {
   orv::sdk_lock_check();
   const auto it = slots_.find(key);
   return it == slots_.end() ? orv::bfd_session_status_t::unknown : engine_.status(it->second);
}

void BfdSessionMgr::sbfd_echo_session_set(const orv::sbfd_echo_session_key_t& key) {
   orv::sdk_lock_check();
   check(key);
   if (sessions_.contains(key)) return;
   const BfdSessionRow row{.interval = sbfd_default_interval(), .rttEnabled = false};
   sessions_.set(key, row);
   start(key, row);
   wake();
}

void BfdSessionMgr::sbfd_echo_session_del(const orv::sbfd_echo_session_key_t& key) {
   orv::sdk_lock_check();
   if (!sessions_.erase(key)) return;
   const auto it = slots_.find(key);
   const auto slot = it->second;
   slots_.erase(it);
   if (!!key.nexthop_intf()) {
      const auto place = byIntf_.find(key.nexthop_intf());
      std::erase(place->second, slot);
      if (place->second.empty()) byIntf_.erase(place);
   }
   engine_.del(slot);
}

void BfdSessionMgr::sbfd_echo_session_interval_set(const orv::sbfd_echo_session_key_t& key,
                                                   const orv::sbfd_interval_t& interval) {
   orv::sdk_lock_check();
   auto row = find(key);
   if (interval.min_tx() == 0) throw orv::invalid_range_error("min_tx", std::uint64_t{0}, 1, 65535);
   if (interval.multiplier() == 0) throw orv::invalid_range_error("multiplier", std::uint64_t{0}, 1, 255);
   row.interval = interval;
   if (sessions_.set(key, std::move(row)) == Change::none) return;
   engine_.intervalIs(slots_.at(key), interval, now_());
   wake();
}

void BfdSessionMgr::sbfd_echo_session_rtt_enabled_set(const orv::sbfd_echo_session_key_t& key, bool enabled) {
   orv::sdk_lock_check();
   auto row = find(key);
   row.rttEnabled = enabled;
   if (sessions_.set(key, std::move(row)) == Change::none) return;
   engine_.reportsRttIs(slots_.at(key), enabled);
}

orv::sbfd_interval_t BfdSessionMgr::sbfd_default_interval() const {
   orv::sdk_lock_check();
   return {defaultMinTxMillis, defaultMultiplier};
}

void BfdSessionMgr::check(const orv::sbfd_echo_session_key_t& key) const {
   if (key.nexthop().width() == 0) {
      throw orv::invalid_argument_error("sBFD session has no nexthop, expected an IPv4 or IPv6 address");
   }
   if (!!key.nexthop_intf()) intfs_.require(key.nexthop_intf());
   if (key.label_stack().size() > maxLabels) {
      throw orv::invalid_range_error("sBFD label stack size", std::uint64_t{key.label_stack().size()}, 0,
                                     maxLabels);
   }
   for (const auto label : key.label_stack()) {
      if (!label)
         throw orv::invalid_argument_error(fmt::format("sBFD session {} has a null label", key.to_string()));
   }
   if (key.mpls_exp() > 7)
      throw orv::invalid_range_error("sBFD mpls_exp", std::uint64_t{key.mpls_exp()}, 0, 7);
}

const BfdSessionRow& BfdSessionMgr::find(const orv::sbfd_echo_session_key_t& key) const {
   const auto* row = sessions_.find(key);
   if (row == nullptr) {
      throw orv::invalid_argument_error(fmt::format("sBFD session {} does not exist", key.to_string()));
   }
   return *row;
}

BfdSessionMgr::State BfdSessionMgr::state(const Key& key) const {
   orv::sdk_lock_check();
   const auto it = slots_.find(key);
   if (it == slots_.end()) return {};
   const auto slot = it->second;
   return {.status = engine_.status(slot),
           .rtt = engine_.rtt(slot),
           .sent = engine_.sent(slot),
           .answered = engine_.answered(slot)};
}

void BfdSessionMgr::start(const Key& key, const BfdSessionRow& row) {
   const auto slot = engine_.add(key, row.interval, now_());
   engine_.reportsRttIs(slot, row.rttEnabled);
   if (slot >= keys_.size()) keys_.resize(slot + std::size_t{1});
   keys_[slot] = key;
   slots_.emplace(key, slot);
   if (!!key.nexthop_intf()) byIntf_[key.nexthop_intf()].push_back(slot);
   readLink(slot);
}

void BfdSessionMgr::readLink(SbfdSlot slot) {
   const auto& intf = keys_[slot].nexthop_intf();
   const bool any = !intf;
   // An interface may be deleted under a session; that does not count as administratively disabled.
   const bool there = any || intfs_.exists(intf);
   const bool enabled = any || !there || intfs_.admin_enabled(intf);
   const bool up = any || (there && intfs_.oper_status(intf) == orv::oper_status_t::up);
   engine_.linkIs(slot, enabled, up, now_());
}

void BfdSessionMgr::intfChanged(const orv::intf_id_t& intf) {
   const auto place = byIntf_.find(intf);
   if (place == byIntf_.end()) return;
   for (const auto slot : place->second)
      readLink(slot);
   wake();
}

void BfdSessionMgr::on_intf_create(const orv::intf_id_t& intf) {
   intfChanged(intf);
}
void BfdSessionMgr::on_intf_delete(const orv::intf_id_t& intf) {
   intfChanged(intf);
}
void BfdSessionMgr::on_oper_status(const orv::intf_id_t& intf, orv::oper_status_t) {
   intfChanged(intf);
}
void BfdSessionMgr::on_admin_enabled(const orv::intf_id_t& intf, bool) {
   intfChanged(intf);
}

void BfdSessionMgr::taskExecute() {
   // Requested before the work, so that a handler that throws does not strand the rest.
   scheduleTaskLowestDelay(task().quantum());
   const bool behind = engine_.run(now_(), [this] { return taskShouldYield(); });
   tellStatuses();
   tellRtts();
   unscheduleTask();
   if (behind || engine_.hasReports()) {
      scheduleTaskLowestDelay(task().quantum());
   } else {
      wake();
   }
}

void BfdSessionMgr::tellStatuses() {
   unsigned told = 0;
   while (const auto change = engine_.takeStatus()) {
      // A copy: a handler may create and remove sessions.
      const Key key = keys_[change->slot];
      // Handlers report to the outside world, and an earlier handler may have written to the store.
      Zelt::activityLock().settle();
      handlers().notify(key, [&](orv::bfd_session_handler& handler) {
         handler.on_sbfd_echo_session_status(key, change->status);
      });
      taskWorkCountInc(1);
      if (++told % statusesPerLook == 0 && taskShouldYield()) return;
   }
}

void BfdSessionMgr::tellRtts() {
   unsigned told = 0;
   while (const auto slot = engine_.takeRtt()) {
      const Key key = keys_[*slot];
      const auto stats = engine_.rtt(*slot);
      Zelt::activityLock().settle();
      handlers().notify(
           key, [&](orv::bfd_session_handler& handler) { handler.on_sbfd_echo_session_rtt(key, stats); });
      taskWorkCountInc(1);
      if (++told % rttsPerLook == 0 && taskShouldYield()) return;
   }
}

void BfdSessionMgr::wake() {
   const auto due = engine_.nextDue();
   if (due != sbfdNever) scheduleTaskLowestDelay(std::max<std::int64_t>(due - now_(), 0));
}

}  // namespace softswitch
