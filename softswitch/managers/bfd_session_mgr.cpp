#include "softswitch/managers/bfd_session_mgr.h"

#include "orv/error.h"
#include "softswitch/managers/intf_mgr.h"
#include "softswitch/value_codec.h"

namespace softswitch {

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

BfdSessionMgr::BfdSessionMgr(const Context& context, const IntfMgr& intfs)
     : intfs_(intfs), sessions_(context.store, "sbfd session", context.limits.bfdSessions) {}

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
   return sessions_.contains(key) ? orv::bfd_session_status_t::down : orv::bfd_session_status_t::unknown;
}

void BfdSessionMgr::sbfd_echo_session_set(const orv::sbfd_echo_session_key_t& key) {
   orv::sdk_lock_check();
   check(key);
   if (!sessions_.contains(key))
      sessions_.set(key, {.interval = sbfd_default_interval(), .rttEnabled = false});
}

void BfdSessionMgr::sbfd_echo_session_del(const orv::sbfd_echo_session_key_t& key) {
   orv::sdk_lock_check();
   sessions_.erase(key);
}

void BfdSessionMgr::sbfd_echo_session_interval_set(const orv::sbfd_echo_session_key_t& key,
                                                   const orv::sbfd_interval_t& interval) {
   orv::sdk_lock_check();
   auto row = find(key);
   if (interval.min_tx() == 0) throw orv::invalid_range_error("min_tx", std::uint64_t{0}, 1, 65535);
   if (interval.multiplier() == 0) throw orv::invalid_range_error("multiplier", std::uint64_t{0}, 1, 255);
   row.interval = interval;
   sessions_.set(key, std::move(row));
}

void BfdSessionMgr::sbfd_echo_session_rtt_enabled_set(const orv::sbfd_echo_session_key_t& key, bool enabled) {
   orv::sdk_lock_check();
   auto row = find(key);
   row.rttEnabled = enabled;
   sessions_.set(key, std::move(row));
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

}  // namespace softswitch
