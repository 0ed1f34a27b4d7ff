#include "orv/eth_phy_intf.h"

namespace orv {

eth_phy_intf_handler::eth_phy_intf_handler(eth_phy_intf_mgr* mgr) : mgr_(mgr) {
   if (mgr_ != nullptr) mgr_->handlers().add(this);
}

eth_phy_intf_handler::~eth_phy_intf_handler() {
   if (mgr_ != nullptr) mgr_->handlers().del(this);
}

void eth_phy_intf_handler::watch_all_eth_phy_intfs(bool interest) {
   if (mgr_ != nullptr) mgr_->handlers().all_is(this, interest);
}

void eth_phy_intf_handler::watch_eth_phy_intf(const intf_id_t& intf, bool interest) {
   if (mgr_ != nullptr) mgr_->handlers().key_is(this, intf, interest);
}

void eth_phy_intf_handler::on_eth_phy_intf_create(const intf_id_t&) {}

void eth_phy_intf_handler::on_eth_phy_intf_delete(const intf_id_t&) {}

void eth_phy_intf_handler::on_eth_phy_intf_hardware_present(const intf_id_t&, bool) {}

void eth_phy_intf_handler::on_eth_phy_intf_link_speed(const intf_id_t&, eth_link_speed_t) {}

void eth_phy_intf_handler::on_eth_phy_intf_transceiver_present(const intf_id_t&, bool) {}

}  // namespace orv
