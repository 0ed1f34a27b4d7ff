#include "orv/mpls_route.h"

namespace orv {

mpls_route_handler::mpls_route_handler(mpls_route_mgr* mgr) : mgr_(mgr) {
   if (mgr_ != nullptr) mgr_->handlers().add(this);
}

mpls_route_handler::~mpls_route_handler() {
   if (mgr_ != nullptr) mgr_->handlers().del(this);
}

void mpls_route_handler::watch_all_mpls_routes(bool interest) {
   if (mgr_ != nullptr) mgr_->handlers().all_is(this, interest);
}

void mpls_route_handler::watch_mpls_route(const mpls_route_key_t& key, bool interest) {
   if (mgr_ != nullptr) mgr_->handlers().key_is(this, key, interest);
}

void mpls_route_handler::on_mpls_route_set(const mpls_route_key_t&, mpls_fec_id_t) {}

void mpls_route_handler::on_mpls_route_del(const mpls_route_key_t&) {}

void mpls_route_handler::on_mpls_fec_set(mpls_fec_id_t) {}

void mpls_route_handler::on_mpls_fec_del(mpls_fec_id_t) {}

}  // namespace orv
