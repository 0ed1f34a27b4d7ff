#include "orv/fib.h"

namespace orv {

fib_handler::fib_handler(fib_mgr* mgr) : mgr_(mgr) {
   if (mgr_ != nullptr) mgr_->handlers().add(this);
}

fib_handler::~fib_handler() {
   if (mgr_ != nullptr) mgr_->handlers().del(this);
}

void fib_handler::on_route_set(const fib_route_t&) {}

void fib_handler::on_route_del(const fib_route_key_t&) {}

void fib_handler::on_fec_set(const fib_fec_t&) {}

void fib_handler::on_fec_del(const fib_fec_key_t&) {}

}  // namespace orv
