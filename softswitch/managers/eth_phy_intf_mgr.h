// Ports: hardware, transceiver and speed of the Ethernet and management interfaces.
//
// All of this is the state of things, not configuration: each start finds every port of the topology there,
// with its transceiver and at its speed. A port whose hardware is gone shows no transceiver and no speed; one
// without a link shows no speed; one without hardware or transceiver is down.
//
// Refusals (orv::invalid_argument_error, naming the value):
//    an interface that the switch does not have, or that is not a port, in every operation but exists
//    the speed unknown
//    a port to be inserted that is there already, or under a name that is none of a port
//
// Thread-safety: guarded by the SDK's lock; callbacks come from the main loop.
#pragma once

#include <absl/container/flat_hash_map.h>

#include "orv/eth_phy_intf.h"
#include "softswitch/managers/context.h"

namespace softswitch {

class IntfMgr;

class EthPhyIntfMgr final : public orv::eth_phy_intf_mgr {
public:
   EthPhyIntfMgr(const Context& context, IntfMgr& intfs);

   orv::eth_phy_intf_iter_t eth_phy_intf_iter() const override;
   bool exists(const orv::intf_id_t& intf) const override;
   bool hardware_present(const orv::intf_id_t& intf) const override;
   orv::eth_addr_t burned_in_eth_addr(const orv::intf_id_t& intf) const override;
   orv::eth_link_speed_t link_speed(const orv::intf_id_t& intf) const override;
   bool transceiver_present(const orv::intf_id_t& intf) const override;

   void hardwarePresentIs(const orv::intf_id_t& intf, bool present);
   void transceiverPresentIs(const orv::intf_id_t& intf, bool present);
   void linkSpeedIs(const orv::intf_id_t& intf, orv::eth_link_speed_t speed);
   // The port as a whole comes or goes, as with a line card.
   void portAdd(const orv::intf_id_t& intf);
   void portDel(const orv::intf_id_t& intf);

private:
   struct Port {
      bool hardware = true;
      bool transceiver = true;
      bool link = true;  // as IntfMgr has it
      orv::eth_link_speed_t speed = orv::eth_link_speed_t::unknown;

      // As shown.
      bool transceiverPresent() const { return hardware && transceiver; }
      orv::eth_link_speed_t linkSpeed() const {
         return hardware && link ? speed : orv::eth_link_speed_t::unknown;
      }
   };

   Port port(const orv::intf_id_t& intf) const;
   void portIs(const orv::intf_id_t& intf, const Port& port);
   void linkChanged(const orv::intf_id_t& intf);
   void tellSpeed(const orv::intf_id_t& intf, orv::eth_link_speed_t speed);

   Callbacks& callbacks_;
   IntfMgr& intfs_;
   // Ports that are not as they were at the start.
   absl::flat_hash_map<orv::intf_id_t, Port, std::hash<orv::intf_id_t>> changed_;
};

}  // namespace softswitch
