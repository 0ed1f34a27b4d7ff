// Seamless-BFD echo sessions as configured objects.
//
// Sessions are kept, validated and survive a restart with their interval and round-trip setting. No probe is
// sent: a session's status is down from its making on, no status or round-trip event ever comes, and whoever
// watches sessions is registered and hears nothing.
//
// Refusals (orv::invalid_argument_error or orv::invalid_range_error, naming the value):
//    a key without a nexthop, or with an interface that does not exist (no interface at all is taken: the
//    nexthop is resolved)
//    a null label, more than 14 labels, a traffic class (EXP) above 7
//    an interval with min_tx 0 or multiplier 0
//    interval and round-trip setting of a session that is not there
//    and orv::error for one more than the table holds
//
// Thread-safety: guarded by the SDK's lock.
#pragma once

#include "orv/bfd_session.h"
#include "softswitch/context.h"
#include "softswitch/table.h"

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

class BfdSessionMgr final : public orv::bfd_session_mgr {
public:
   using Sessions = Table<orv::sbfd_echo_session_key_t, BfdSessionRow, BfdSessionCodec>;
   static constexpr std::uint16_t defaultMinTxMillis = 300;
   static constexpr std::uint8_t defaultMultiplier = 3;
   static constexpr std::size_t maxLabels = 14;

   BfdSessionMgr(const Context& context, const IntfMgr& intfs);

   orv::sbfd_echo_session_iter_t sbfd_echo_session_iter() const override;
   bool sbfd_echo_session_exists(const orv::sbfd_echo_session_key_t& key) const override;
   orv::bfd_session_status_t sbfd_echo_session_status(const orv::sbfd_echo_session_key_t& key) const override;
   void sbfd_echo_session_set(const orv::sbfd_echo_session_key_t& key) override;
   void sbfd_echo_session_del(const orv::sbfd_echo_session_key_t& key) override;
   void sbfd_echo_session_interval_set(const orv::sbfd_echo_session_key_t& key,
                                       const orv::sbfd_interval_t& interval) override;
   void sbfd_echo_session_rtt_enabled_set(const orv::sbfd_echo_session_key_t& key, bool enabled) override;
   orv::sbfd_interval_t sbfd_default_interval() const override;

   const Sessions& sessions() const { return sessions_; }

private:
   void check(const orv::sbfd_echo_session_key_t& key) const;
   const BfdSessionRow& find(const orv::sbfd_echo_session_key_t& key) const;

   const IntfMgr& intfs_;
   Sessions sessions_;
};

}  // namespace softswitch
