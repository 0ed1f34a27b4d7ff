#include "orv/acl.h"

namespace orv {

acl_handler::acl_handler(acl_mgr* mgr) : mgr_(mgr) {
   if (mgr_ != nullptr) mgr_->handlers().add(this);
}

acl_handler::~acl_handler() {
   if (mgr_ != nullptr) mgr_->handlers().del(this);
}

void acl_handler::watch_all_acls(bool interest) {
   if (mgr_ != nullptr) mgr_->handlers().all_is(this, interest);
}

void acl_handler::on_acl_sync() {}

void acl_handler::on_acl_sync_fail(const std::string&, const std::string&) {}

}  // namespace orv
