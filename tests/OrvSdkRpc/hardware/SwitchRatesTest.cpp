// The watcher over the software switch: traffic that is set at the console comes out as rates.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <optional>

#include "OrvSdkRpc/hardware/IntfTrafficRatesWatcher.h"
#include "orv/lock.h"
#include "softswitch/console/commands.h"
#include "testing/base/TempDir.h"
#include "testing/softswitch/RunningSwitch.h"

namespace OrvSdkRpc {
namespace {

class SwitchRatesTest : public testing::Test {
protected:
   SwitchRatesTest() {
      const orv::sdk_scoped_lock lock;
      switch_->get_intf_counter_mgr_with_mode(orv::mgr_mode_type_t::resident);
      watcher_.emplace(switch_->get_mount_mgr());
   }
   ~SwitchRatesTest() override {
      const orv::sdk_scoped_lock lock;
      watcher_->stopWatching();
      watcher_.reset();
   }

   static softswitch::Options options(const orvtest::TempDir& directory) {
      softswitch::Options made;
      made.stateDirectory = directory.path();
      made.counterIntervalNanos = 1'000'000;
      return made;
   }
   void run(std::string_view line) {
      softswitch::console::StringOutput out;
      softswitch::console::Commands(*switch_).run(line, out);
   }
   void watch() {
      const orv::sdk_scoped_lock lock;
      watcher_->startWatching([this](const orv::intf_id_t& intf, const orv::intf_traffic_rates_t& rates) {
         const std::lock_guard guard(mutex_);
         rates_[intf.to_string()] = rates;
         changed_.notify_all();
      });
   }
   // Waits until the interface's rates satisfy `such`.
   template <typename Such>
   void await(const std::string& intf, Such such) {
      std::unique_lock guard(mutex_);
      changed_.wait(guard, [&] {
         const auto it = rates_.find(intf);
         return it != rates_.end() && such(it->second);
      });
   }

   const orvtest::TempDir directory_;
   orvtest::RunningSwitch switch_{options(directory_)};
   std::optional<IntfTrafficRatesWatcher> watcher_;
   std::mutex mutex_;
   std::condition_variable changed_;
   std::map<std::string, orv::intf_traffic_rates_t> rates_;
};

TEST_F(SwitchRatesTest, ratesFollowTheTrafficOfPortsAndLags) {
   run("configure interface Lag1 create");
   watch();
   run("set traffic Internal1 in-pps 5");
   run("set traffic Ethernet1 in-pps 1000 out-bps 8000");
   run("set traffic Lag1 in-pps 7");
   const auto near = [](double wanted) {
      return [wanted](const orv::intf_traffic_rates_t& rates) {
         return std::abs(rates.in_pkts_rate() - wanted) < wanted * 1e-6;
      };
   };
   await("Ethernet1", near(1000));
   await("Lag1", near(7));
   run("set link Ethernet1 down");
   await("Ethernet1", [](const auto& rates) { return rates.in_pkts_rate() == 0 && rates.sample_time() > 0; });
   run("set writer Linecard1 interfaces Ethernet2");
   run("set traffic Ethernet2 in-pps 300");
   await("Ethernet2", near(300));
   run("set writer Linecard1 down");
   run("set traffic Ethernet2 in-pps 400");
   run("set traffic Ethernet3 in-pps 50");
   await("Ethernet3", near(50));
   run("set writer Linecard1 up");
   await("Ethernet2", near(400));
   const std::lock_guard guard(mutex_);
   EXPECT_FALSE(rates_.contains("Internal1"));
   EXPECT_FALSE(rates_.contains("Ethernet4")) << "it never had a rate";
}

TEST_F(SwitchRatesTest, aDamagedRowIsReadAgainAsTheWriterHasIt) {
   watch();
   run("set traffic Ethernet1 in-pps 1000");
   await("Ethernet1", [](const auto& rates) { return rates.in_pkts_rate() > 0; });
   run("set counter-interval 3600000");
   {
      const std::lock_guard guard(mutex_);
      rates_.clear();
   }
   run("set counter-row Ethernet1 damaged");
   await("Ethernet1", [](const auto& rates) { return std::abs(rates.in_pkts_rate() - 1000) < 1e-3; });
}

}  // namespace
}  // namespace OrvSdkRpc
