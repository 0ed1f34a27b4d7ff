#include "orv/bfd_session.h"

namespace orv {

bfd_session_handler::bfd_session_handler(bfd_session_mgr* mgr) : mgr_(mgr) {
   if (mgr_ != nullptr) mgr_->handlers().add(this);
}

bfd_session_handler::~bfd_session_handler() {
   if (mgr_ != nullptr) mgr_->handlers().del(this);
}

void bfd_session_handler::watch_all_sbfd_echo_sessions(bool interest) {
   if (mgr_ != nullptr) mgr_->handlers().all_is(this, interest);
}

void bfd_session_handler::watch_sbfd_echo_session(const sbfd_echo_session_key_t& key, bool interest) {
   if (mgr_ != nullptr) mgr_->handlers().key_is(this, key, interest);
}

void bfd_session_handler::on_sbfd_echo_session_status(const sbfd_echo_session_key_t&, bfd_session_status_t) {}

void bfd_session_handler::on_sbfd_echo_session_rtt(const sbfd_echo_session_key_t&,
                                                   const sbfd_echo_session_rtt_stats_t&) {}

}  // namespace orv
