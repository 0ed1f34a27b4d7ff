#include "orv/intf.h"

namespace orv {

std::string_view enum_text(oper_status_t v) noexcept {
   switch (v) {
      case oper_status_t::unknown:
         return "unknown";
      case oper_status_t::up:
         return "up";
      case oper_status_t::down:
         return "down";
   }
   return {};
}

intf_handler::intf_handler(intf_mgr* mgr) : mgr_(mgr) {
   if (mgr_ != nullptr) mgr_->handlers().add(this);
}

intf_handler::~intf_handler() {
   if (mgr_ != nullptr) mgr_->handlers().del(this);
}

void intf_handler::watch_all_intfs(bool interest) {
   if (mgr_ != nullptr) mgr_->handlers().all_is(this, interest);
}

void intf_handler::watch_intf(const intf_id_t& intf, bool interest) {
   if (mgr_ != nullptr) mgr_->handlers().key_is(this, intf, interest);
}

void intf_handler::on_intf_create(const intf_id_t&) {}

void intf_handler::on_intf_delete(const intf_id_t&) {}

void intf_handler::on_oper_status(const intf_id_t&, oper_status_t) {}

void intf_handler::on_admin_enabled(const intf_id_t&, bool) {}

void intf_handler::on_intf_description(const intf_id_t&, const std::string&) {}

}  // namespace orv
