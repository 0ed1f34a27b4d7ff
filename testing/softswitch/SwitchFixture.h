// A software switch on a directory of its own, whose main loop runs when the test says so.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "orv/error.h"
#include "orv/lock.h"
#include "platform/gorm/TaskScheduler.h"
#include "platform/zelt/Anchors.h"
#include "softswitch/forwarding/hardware.h"
#include "softswitch/managers/fib_mgr.h"
#include "softswitch/managers/intf_mgr.h"
#include "softswitch/managers/ip_route_mgr.h"
#include "softswitch/managers/nexthop_group_mgr.h"
#include "softswitch/soft_switch.h"
#include "softswitch/store/store.h"
#include "testing/base/TempDir.h"
#include "testing/sdk/Iterators.h"
#include "testing/sdk/Refusal.h"

namespace softswitch {

using orvtest::listOf;
using orvtest::refusal;

// Rows of a table of its own, until the store has no room for another.
inline void fillDisk(store::Store& store) {
   const auto ballast = store.open("ballast");
   int rows = 0;
   for (const std::size_t bytes : {1 << 20, 1 << 15, 1 << 11, 1}) {
      try {
         for (;; ++rows) {
            store.put(ballast, std::to_string(rows), std::string(bytes, 'x'));
            store.commit();
         }
      } catch (const store::StoreError& e) {
         if (e.trouble() != store::Trouble::noSpace) throw;
      }
   }
}

inline orv::ip_prefix_t prefix(std::string_view text) {
   return orv::ip_prefix_t(text);
}
inline orv::ip_addr_t address(std::string_view text) {
   return orv::ip_addr_t(text);
}

class SwitchFixture : public testing::Test {
protected:
   void SetUp() override { start(); }

   void start() {
      options_.stateDirectory = directory_ / "state";
      options_.log = [this](std::string_view line) { log_.emplace_back(line); };
      switch_ = std::make_unique<SoftSwitch>(options_);
   }
   // Acts like a process that ends without an orderly stop and starts again.
   void restart() {
      switch_.reset();
      start();
   }

   SoftSwitch& sw() { return *switch_; }

   // Runs the main loop until hardware has everything and no callback is left.
   void settle() {
      const auto scheduler = Gorm::TaskSchedulerRoot::findOrCreateScheduler();
      for (;;) {
         {
            const Zelt::ActivityLockAnchor lock;
            if (!scheduler->hasReady() && sw().hardware().idle()) return;
         }
         scheduler->waitForWork();
         const Zelt::ActivityLockAnchor lock;
         scheduler->runReady();
      }
   }

   static orv::nexthop_group_entry_t entry(std::string_view hop, std::string_view intf = "") {
      orv::nexthop_group_entry_t e{address(hop)};
      e.intf_is(orv::intf_id_t(intf));
      return e;
   }
   static orv::nexthop_group_t group(const std::string& name, std::string_view intf = "Ethernet1") {
      orv::nexthop_group_t g(name, orv::nexthop_group_encap_t::mpls);
      g.nexthop_set(0, entry("192.0.2.1", intf));
      return g;
   }
   void setGroup(const std::string& name) { sw().nexthopGroups().nexthop_group_set(group(name)); }

   static orv::ip_route_key_t key(std::string_view text, std::uint8_t preference = 1) {
      return {prefix(text), preference};
   }
   static orv::ip_route_via_t groupVia(std::string_view route, const std::string& name) {
      orv::ip_route_via_t via(key(route));
      via.nexthop_group_is(name);
      return via;
   }
   static orv::ip_route_via_t hopVia(std::string_view route, std::string_view hop,
                                     std::string_view intf = "") {
      orv::ip_route_via_t via(key(route));
      via.hop_is(address(hop));
      via.intf_is(orv::intf_id_t(intf));
      return via;
   }
   // A route over a group, as a controller sets it.
   void setRoute(std::string_view route, const std::string& name) {
      const orv::sdk_scoped_lock lock;
      sw().ipRoutes().ip_route_set(orv::ip_route_t(key(route)), orv::ip_route_action_t::nexthop_group);
      sw().ipRoutes().ip_route_via_set(groupVia(route, name));
   }
   std::vector<std::string> routes(const std::string& vrf = "default") {
      std::vector<std::string> result;
      for (auto it = sw().ipRoutes().ip_route_iter(vrf); it; ++it)
         result.push_back(it->key().to_string());
      return result;
   }

   const orvtest::TempDir directory_;
   std::vector<std::string> log_;
   Options options_;
   std::unique_ptr<SoftSwitch> switch_;
};

}  // namespace softswitch
