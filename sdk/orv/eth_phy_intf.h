// Physical Ethernet interfaces: hardware, link speed and transceiver of a port.
//
// Thread-safety: every operation is a call of the SDK and needs the main thread or
// sdk_scoped_lock (lock.h). Callbacks come from the main loop.
#pragma once

#include "orv/eth_addr.h"
#include "orv/eth_phy_intf_types.h"
#include "orv/intf_id.h"
#include "orv/iter.h"
#include "orv/watch_list.h"

namespace orv {

class eth_phy_intf_mgr;

// Registers with the manager for its lifetime; registers nothing if the manager is null.
// REQUIRES: the manager outlives the handler.
class eth_phy_intf_handler {
public:
   explicit eth_phy_intf_handler(eth_phy_intf_mgr* mgr);
   virtual ~eth_phy_intf_handler();
   eth_phy_intf_handler(const eth_phy_intf_handler&) = delete;
   eth_phy_intf_handler& operator=(const eth_phy_intf_handler&) = delete;

   // No callback comes for an interface that is not watched. An interface may be
   // watched before it exists.
   void watch_all_eth_phy_intfs(bool interest);
   void watch_eth_phy_intf(const intf_id_t& intf, bool interest);

   virtual void on_eth_phy_intf_create(const intf_id_t& intf);
   virtual void on_eth_phy_intf_delete(const intf_id_t& intf);
   virtual void on_eth_phy_intf_hardware_present(const intf_id_t& intf, bool present);
   virtual void on_eth_phy_intf_link_speed(const intf_id_t& intf, eth_link_speed_t speed);
   virtual void on_eth_phy_intf_transceiver_present(const intf_id_t& intf, bool present);

   [[nodiscard]] eth_phy_intf_mgr* get_eth_phy_intf_mgr() const noexcept { return mgr_; }

private:
   eth_phy_intf_mgr* const mgr_;
};

struct eth_phy_intf_iter_impl : iter_impl<intf_id_t> {};
// Ordered by name, with digits compared as numbers.
using eth_phy_intf_iter_t = iter_base<intf_id_t, eth_phy_intf_iter_impl>;

// THROWS: invalid_argument_error, naming the interface, if it does not exist or is not physical; from every
// operation except exists.
class eth_phy_intf_mgr {
public:
   virtual ~eth_phy_intf_mgr() = default;

   [[nodiscard]] virtual eth_phy_intf_iter_t eth_phy_intf_iter() const = 0;
   [[nodiscard]] virtual bool exists(const intf_id_t& intf) const = 0;
   // The port's hardware is present and responds.
   [[nodiscard]] virtual bool hardware_present(const intf_id_t& intf) const = 0;
   // The factory-assigned address.
   [[nodiscard]] virtual eth_addr_t burned_in_eth_addr(const intf_id_t& intf) const = 0;
   [[nodiscard]] virtual eth_link_speed_t link_speed(const intf_id_t& intf) const = 0;
   [[nodiscard]] virtual bool transceiver_present(const intf_id_t& intf) const = 0;

   // For handlers and for implementations of the manager.
   [[nodiscard]] watch_list<eth_phy_intf_handler, intf_id_t>& handlers() noexcept { return handlers_; }

private:
   watch_list<eth_phy_intf_handler, intf_id_t> handlers_;
};

}  // namespace orv
