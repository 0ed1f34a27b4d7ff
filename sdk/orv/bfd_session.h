// Seamless-BFD echo sessions.
//
// Thread-safety: every operation is a call of the SDK and needs the main thread or
// sdk_scoped_lock (lock.h). Callbacks come from the main loop.
#pragma once

#include "orv/iter.h"
#include "orv/sbfd_types.h"
#include "orv/watch_list.h"

namespace orv {

class bfd_session_mgr;

// Registers with the manager for its lifetime; registers nothing if the manager is null.
// REQUIRES: the manager outlives the handler.
class bfd_session_handler {
public:
   explicit bfd_session_handler(bfd_session_mgr* mgr);
   virtual ~bfd_session_handler();
   bfd_session_handler(const bfd_session_handler&) = delete;
   bfd_session_handler& operator=(const bfd_session_handler&) = delete;

   // No callback comes for a session that is not watched.
   void watch_all_sbfd_echo_sessions(bool interest);
   void watch_sbfd_echo_session(const sbfd_echo_session_key_t& key, bool interest);

   virtual void on_sbfd_echo_session_status(const sbfd_echo_session_key_t& key, bfd_session_status_t status);
   // Called only for sessions with round-trip times enabled.
   virtual void on_sbfd_echo_session_rtt(const sbfd_echo_session_key_t& key,
                                         const sbfd_echo_session_rtt_stats_t& stats);

   [[nodiscard]] bfd_session_mgr* get_bfd_session_mgr() const noexcept { return mgr_; }

private:
   bfd_session_mgr* const mgr_;
};

struct sbfd_echo_session_iter_impl : iter_impl<sbfd_echo_session_key_t> {};
// Keys, in order.
using sbfd_echo_session_iter_t = iter_base<sbfd_echo_session_key_t, sbfd_echo_session_iter_impl>;

// THROWS: one of the errors of error.h, naming the value, if the switch refuses a value. Nothing changes
// then.
class bfd_session_mgr {
public:
   virtual ~bfd_session_mgr() = default;

   [[nodiscard]] virtual sbfd_echo_session_iter_t sbfd_echo_session_iter() const = 0;
   [[nodiscard]] virtual bool sbfd_echo_session_exists(const sbfd_echo_session_key_t& key) const = 0;
   // Status unknown if the session does not exist.
   [[nodiscard]] virtual bfd_session_status_t sbfd_echo_session_status(
        const sbfd_echo_session_key_t& key) const = 0;

   // Creates the session with the default interval; a no-op if it exists.
   virtual void sbfd_echo_session_set(const sbfd_echo_session_key_t& key) = 0;
   // A no-op if the session does not exist.
   virtual void sbfd_echo_session_del(const sbfd_echo_session_key_t& key) = 0;
   // Both refuse a session that does not exist.
   virtual void sbfd_echo_session_interval_set(const sbfd_echo_session_key_t& key,
                                               const sbfd_interval_t& interval) = 0;
   virtual void sbfd_echo_session_rtt_enabled_set(const sbfd_echo_session_key_t& key, bool enabled) = 0;
   [[nodiscard]] virtual sbfd_interval_t sbfd_default_interval() const = 0;

   // For handlers and for implementations of the manager.
   [[nodiscard]] watch_list<bfd_session_handler, sbfd_echo_session_key_t>& handlers() noexcept {
      return handlers_;
   }

private:
   watch_list<bfd_session_handler, sbfd_echo_session_key_t> handlers_;
};

}  // namespace orv
