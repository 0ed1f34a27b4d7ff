#include "orv/nexthop_group.h"

namespace orv {

nexthop_group_handler::nexthop_group_handler(nexthop_group_mgr* mgr) : mgr_(mgr) {
   if (mgr_ != nullptr) mgr_->handlers().add(this);
}

nexthop_group_handler::~nexthop_group_handler() {
   if (mgr_ != nullptr) mgr_->handlers().del(this);
}

void nexthop_group_handler::watch_all_nexthop_groups(bool interest) {
   if (mgr_ != nullptr) mgr_->handlers().all_is(this, interest);
}

void nexthop_group_handler::watch_nexthop_group(const std::string& name, bool interest) {
   if (mgr_ != nullptr) mgr_->handlers().key_is(this, name, interest);
}

void nexthop_group_handler::on_nexthop_group_active(const std::string&, bool) {}

void nexthop_group_handler::on_nexthop_group_programmed(const std::string&, std::uint16_t,
                                                        const nexthop_group_programmed_status_t&) {}

}  // namespace orv
