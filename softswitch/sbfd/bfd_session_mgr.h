// Seamless-BFD echo sessions: the configured objects and the running sessions.
//
// A session's interval and round-trip setting survive a restart. A session starts down and comes up by itself
// (sbfd/sbfd_engine.h). While the interface that it leaves through is down, no packet passes, so the session
// goes down after its detection time; a session without an interface is on a link that is always up. Every
// status change is reported, in order. The round-trip times of a session that has them enabled are reported
// once per snapshot interval, at its end.
//
// Refusals (orv::invalid_argument_error or orv::invalid_range_error, naming the value):
//    a key without a nexthop, or with an interface that does not exist (a key without an interface is
//    accepted: the nexthop is resolved)
//    a null label, more than 14 labels, a traffic class (EXP) above 7
//    an interval with min_tx 0 or multiplier 0
//    the interval or round-trip setting of a session that does not exist
//    more sessions than the table holds (orv::error)
//
// Load: one task of the main loop serves all sessions, at most once per millisecond. If it does not finish
// within its quantum, it pauses for as long. Sessions that ask for more packets than the machine can carry
// then get fewer, and half of the main loop's time is left for other work.
//
// Thread-safety: guarded by the SDK's lock. The main loop sends packets and makes callbacks.
#pragma once

#include <absl/container/flat_hash_map.h>

#include <functional>
#include <vector>

#include "orv/bfd_session.h"
#include "orv/intf.h"
#include "platform/gorm/PavoTask.h"
#include "platform/zelt/Clock.h"
#include "softswitch/managers/context.h"
#include "softswitch/sbfd/sbfd_engine.h"
#include "softswitch/tables/table.h"

namespace softswitch {

class IntfMgr;

struct BfdSessionRow {
   orv::sbfd_interval_t interval;
   bool rttEnabled = false;

   bool operator==(const BfdSessionRow&) const = default;
};

struct BfdSessionCodec {
   static constexpr std::uint8_t version = 1;
   static void encodeKey(const orv::sbfd_echo_session_key_t& key, store::Writer& out);
   static orv::sbfd_echo_session_key_t decodeKey(store::Reader& in);
   static void encodeRow(const BfdSessionRow& row, store::Writer& out);
   static BfdSessionRow decodeRow(store::Reader& in, std::uint8_t version);
};

class BfdSessionMgr final : public orv::bfd_session_mgr, public Pavo::TimerTask, private orv::intf_handler {
public:
   using Key = orv::sbfd_echo_session_key_t;
   using Sessions = Table<Key, BfdSessionRow, BfdSessionCodec>;
   // Nanoseconds of a monotonic clock.
   using Now = std::function<std::int64_t()>;
   static constexpr std::uint16_t defaultMinTxMillis = 300;
   static constexpr std::uint8_t defaultMultiplier = 3;
   static constexpr std::size_t maxLabels = 14;

   // REQUIRES: interfaces and path outlive the manager.
   BfdSessionMgr(const Context& context, IntfMgr& intfs, SbfdPath& path,
                 std::int64_t snapshotNanos = SbfdEngine::defaultSnapshotNanos,
                 Now now = Zelt::Clock::steadyNanos);
   ~BfdSessionMgr() override;

   orv::sbfd_echo_session_iter_t sbfd_echo_session_iter() const override;
   bool sbfd_echo_session_exists(const Key& key) const override;
   orv::bfd_session_status_t sbfd_echo_session_status(const Key& key) const override;
   void sbfd_echo_session_set(const Key& key) override;
   void sbfd_echo_session_del(const Key& key) override;
   void sbfd_echo_session_interval_set(const Key& key, const orv::sbfd_interval_t& interval) override;
   void sbfd_echo_session_rtt_enabled_set(const Key& key, bool enabled) override;
   orv::sbfd_interval_t sbfd_default_interval() const override;

   const Sessions& sessions() const { return sessions_; }

   // The state of a session; unknown and zeros if it does not exist.
   struct State {
      orv::bfd_session_status_t status = orv::bfd_session_status_t::unknown;
      orv::sbfd_echo_session_rtt_stats_t rtt;
      std::uint64_t sent = 0;
      std::uint64_t answered = 0;
   };
   State state(const Key& key) const;

protected:
   void taskExecute() override;

private:
   void on_intf_create(const orv::intf_id_t& intf) override;
   void on_intf_delete(const orv::intf_id_t& intf) override;
   void on_oper_status(const orv::intf_id_t& intf, orv::oper_status_t status) override;
   void on_admin_enabled(const orv::intf_id_t& intf, bool enabled) override;

   void check(const Key& key) const;
   const BfdSessionRow& find(const Key& key) const;
   void start(const Key& key, const BfdSessionRow& row);
   void readLink(SbfdSlot slot);
   void intfChanged(const orv::intf_id_t& intf);
   void tellStatuses();
   void tellRtts();
   void wake();

   IntfMgr& intfs_;
   const Now now_;
   Sessions sessions_;
   SbfdEngine engine_;
   absl::flat_hash_map<Key, SbfdSlot, std::hash<Key>> slots_;
   std::vector<Key> keys_;  // by slot
   absl::flat_hash_map<orv::intf_id_t, std::vector<SbfdSlot>, std::hash<orv::intf_id_t>> byIntf_;
};

}  // namespace softswitch
