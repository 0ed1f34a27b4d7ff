#include "softswitch/managers/eth_phy_intf_mgr.h"

#include <fmt/format.h>

#include <memory>

#include "orv/error.h"
#include "softswitch/managers/intf_mgr.h"
#include "softswitch/managers/link_speed.h"

namespace softswitch {
namespace {

// The ports among all interfaces.
class PortIter final : public orv::eth_phy_intf_iter_impl {
public:
   PortIter(const IntfMgr& intfs, orv::intf_iter_t all) : intfs_(&intfs), all_(std::move(all)) {}

   bool next(orv::intf_id_t& row) override {
      // The interface at the iterator may have been removed since the last step.
      while (all_) {
         row = *all_;
         ++all_;
         if (intfs_->exists(row) && isPort(intfs_->facts(row).type)) return true;
      }
      return false;
   }
   std::unique_ptr<orv::iter_impl<orv::intf_id_t>> clone() const override {
      return std::make_unique<PortIter>(*this);
   }

private:
   const IntfMgr* intfs_;
   orv::intf_iter_t all_;
};

}  // namespace

EthPhyIntfMgr::EthPhyIntfMgr(const Context& context, IntfMgr& intfs)
     : callbacks_(context.callbacks), intfs_(intfs) {
   intfs_.linkChangedIs([this](const orv::intf_id_t& intf) { linkChanged(intf); });
}

orv::eth_phy_intf_iter_t EthPhyIntfMgr::eth_phy_intf_iter() const {
   orv::sdk_lock_check();
   return orv::eth_phy_intf_iter_t(std::make_unique<PortIter>(intfs_, intfs_.intf_iter()));
}

bool EthPhyIntfMgr::exists(const orv::intf_id_t& intf) const {
   orv::sdk_lock_check();
   return intfs_.exists(intf) && isPort(intfs_.facts(intf).type);
}

bool EthPhyIntfMgr::hardware_present(const orv::intf_id_t& intf) const {
   orv::sdk_lock_check();
   return port(intf).hardware;
}

orv::eth_addr_t EthPhyIntfMgr::burned_in_eth_addr(const orv::intf_id_t& intf) const {
   orv::sdk_lock_check();
   port(intf);
   return orv::eth_addr_t(intfs_.facts(intf).mac.data());
}

orv::eth_link_speed_t EthPhyIntfMgr::link_speed(const orv::intf_id_t& intf) const {
   orv::sdk_lock_check();
   return port(intf).linkSpeed();
}

bool EthPhyIntfMgr::transceiver_present(const orv::intf_id_t& intf) const {
   orv::sdk_lock_check();
   return port(intf).transceiverPresent();
}

void EthPhyIntfMgr::hardwarePresentIs(const orv::intf_id_t& intf, bool present) {
   orv::sdk_lock_check();
   auto changed = port(intf);
   changed.hardware = present;
   portIs(intf, changed);
}

void EthPhyIntfMgr::transceiverPresentIs(const orv::intf_id_t& intf, bool present) {
   orv::sdk_lock_check();
   auto changed = port(intf);
   changed.transceiver = present;
   portIs(intf, changed);
}

void EthPhyIntfMgr::linkSpeedIs(const orv::intf_id_t& intf, orv::eth_link_speed_t speed) {
   orv::sdk_lock_check();
   auto changed = port(intf);
   if (orv::bits_per_second(speed) == 0) {
      throw orv::invalid_argument_error(
           fmt::format("speed {} of interface {}, expected a link speed", speed, intf));
   }
   changed.speed = speed;
   portIs(intf, changed);
}

void EthPhyIntfMgr::portAdd(const orv::intf_id_t& intf) {
   orv::sdk_lock_check();
   intfs_.portAdd(intf);
   callbacks_.post([this, intf] {
      handlers().notify(intf, [&](auto& handler) { handler.on_eth_phy_intf_create(intf); });
   });
}

void EthPhyIntfMgr::portDel(const orv::intf_id_t& intf) {
   orv::sdk_lock_check();
   intfs_.portDel(intf);
   changed_.erase(intf);
   callbacks_.post([this, intf] {
      handlers().notify(intf, [&](auto& handler) { handler.on_eth_phy_intf_delete(intf); });
   });
}

EthPhyIntfMgr::Port EthPhyIntfMgr::port(const orv::intf_id_t& intf) const {
   const auto& facts = intfs_.facts(intf);
   if (!isPort(facts.type)) {
      throw orv::invalid_argument_error(
           fmt::format("interface {} is of type {}, not a port", intf, to_string(facts.type)));
   }
   const auto it = changed_.find(intf);
   Port result = it != changed_.end() ? it->second : Port{.speed = linkSpeed(facts.speedBps)};
   result.link = intfs_.linkUp(intf);
   return result;
}

void EthPhyIntfMgr::portIs(const orv::intf_id_t& intf, const Port& now) {
   const auto before = port(intf);
   changed_.insert_or_assign(intf, now);
   const auto tell = [this, intf](auto call) {
      callbacks_.post([this, intf, call] { handlers().notify(intf, call); });
   };
   if (now.hardware != before.hardware) {
      tell([intf, present = now.hardware](auto& handler) {
         handler.on_eth_phy_intf_hardware_present(intf, present);
      });
   }
   if (now.transceiverPresent() != before.transceiverPresent()) {
      tell([intf, present = now.transceiverPresent()](auto& handler) {
         handler.on_eth_phy_intf_transceiver_present(intf, present);
      });
   }
   if (now.linkSpeed() != before.linkSpeed()) tellSpeed(intf, now.linkSpeed());
   intfs_.portUsableIs(intf, now.transceiverPresent());
}

void EthPhyIntfMgr::linkChanged(const orv::intf_id_t& intf) {
   if (!isPort(intfs_.facts(intf).type)) return;
   const auto now = port(intf);
   auto before = now;
   before.link = !now.link;
   if (now.linkSpeed() != before.linkSpeed()) tellSpeed(intf, now.linkSpeed());
}

void EthPhyIntfMgr::tellSpeed(const orv::intf_id_t& intf, orv::eth_link_speed_t speed) {
   callbacks_.post([this, intf, speed] {
      handlers().notify(intf, [&](auto& handler) { handler.on_eth_phy_intf_link_speed(intf, speed); });
   });
}

}  // namespace softswitch
