// Ports: hardware, transceiver and speed of the Ethernet and management interfaces.
//
// All of this is operational state, not configuration: at each start every port of the topology exists, with
// its transceiver and at its speed. A port without hardware shows no transceiver and no speed. A port without
// a link shows no speed. A port without hardware or transceiver is down.
//
// Refusals (orv::invalid_argument_error, naming the value):
//    an interface that does not exist or is not a port, in every operation but exists
//    the speed unknown
//    adding a port that exists already, or under a name that is not a port's
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
   // Adds or removes a whole port, as with a line card.
   void portAdd(const orv::intf_id_t& intf);
   void portDel(const orv::intf_id_t& intf);

private:
   struct Port {
      bool hardware = true;
      bool transceiver = true;
      bool link = true;  // as IntfMgr has it
      orv::eth_link_speed_t speed = orv::eth_link_speed_t::unknown;

      // The values that the manager shows.
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
   // Ports that have changed since the start.
   absl::flat_hash_map<orv::intf_id_t, Port, std::hash<orv::intf_id_t>> changed_;
};

}  // namespace softswitch
