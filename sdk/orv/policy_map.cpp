#include "orv/policy_map.h"

namespace orv {

policy_map_handler::policy_map_handler(policy_map_mgr* mgr) : mgr_(mgr) {
   if (mgr_ != nullptr) mgr_->handlers().add(this);
}

policy_map_handler::~policy_map_handler() {
   if (mgr_ != nullptr) mgr_->handlers().del(this);
}

void policy_map_handler::watch_all_policy_maps(bool interest) {
   if (mgr_ != nullptr) mgr_->handlers().all_is(this, interest);
}

void policy_map_handler::watch_policy_map(const policy_map_key_t& key, bool interest) {
   if (mgr_ != nullptr) mgr_->handlers().key_is(this, key, interest);
}

void policy_map_handler::on_policy_map_sync(const policy_map_key_t&) {}

void policy_map_handler::on_policy_map_sync_fail(const policy_map_key_t&, const std::string&) {}

void policy_map_handler::on_policy_map_config_set(const policy_map_key_t&) {}

void policy_map_handler::on_traffic_policy_config_set(const policy_map_key_t&) {}

}  // namespace orv
