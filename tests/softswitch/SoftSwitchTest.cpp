#include "softswitch/soft_switch.h"

#include <gmock/gmock.h>

#include <atomic>
#include <chrono>
#include <fstream>
#include <thread>

#include "orv/agent.h"
#include "platform/state/EthIntfCounter.h"
#include "softswitch/managers/agent_mgr.h"
#include "softswitch/managers/mount_mgr.h"
#include "softswitch/store/error.h"
#include "testing/softswitch/SwitchFixture.h"

namespace softswitch {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
namespace fs = std::filesystem;

class Agent : public orv::agent_handler {
public:
   explicit Agent(orv::sdk& sdk) : orv::agent_handler(sdk.get_agent_mgr()) {}
   void on_initialized() override { heard.push_back("initialized"); }
   void on_agent_enabled(bool enabled) override {
      heard.push_back(enabled ? "enabled" : "disabled");
      if (acknowledges) get_agent_mgr()->agent_shutdown_complete_is(true);
   }
   std::vector<std::string> heard;
   bool acknowledges = true;
};

class SoftSwitchTest : public SwitchFixture {
protected:
   fs::path state() const { return directory_ / "state"; }
};

TEST_F(SoftSwitchTest, everyGetterHasAManager) {
   orv::sdk& sdk = sw();
   EXPECT_EQ(sdk.name(), "OrvSdkRpc");
   for (const void* manager : std::initializer_list<const void*>{
             sdk.get_acl_mgr(),
             sdk.get_agent_mgr(),
             sdk.get_bfd_session_mgr(),
             sdk.get_bgp_mgr(),
             sdk.get_bgp_path_mgr(),
             sdk.get_class_map_mgr(),
             sdk.get_cmdapi_mgr(),
             sdk.get_eth_lag_intf_mgr(),
             sdk.get_eth_phy_intf_mgr(),
             sdk.get_eth_phy_intf_counter_mgr(),
             sdk.get_intf_mgr(),
             sdk.get_intf_counter_mgr(),
             sdk.get_ip_intf_mgr(),
             sdk.get_ip_route_mgr(),
             sdk.get_macsec_mgr(),
             sdk.get_mount_mgr(),
             sdk.get_mpls_route_mgr(),
             sdk.get_mpls_vrf_label_mgr(),
             sdk.get_nexthop_group_mgr(),
             sdk.get_nexthop_group_tunnel_mgr(),
             sdk.get_policy_map_mgr(),
             sdk.get_vrf_mgr(),
             sdk.get_fib_mgr(orv::mgr_mode_type_t::resident),
             sdk.get_intf_counter_mgr_with_mode(orv::mgr_mode_type_t::resident)}) {
      EXPECT_NE(manager, nullptr);
   }
   EXPECT_EQ(sdk.get_ip_route_mgr(), sdk.get_ip_route_mgr());
}

TEST_F(SoftSwitchTest, mountsAreCompleteBeforeTheAgentIsInitialized) {
   class Mounter final : public orv::mount_handler {
   public:
      using orv::mount_handler::mount_handler;
      void onMountsComplete(const Pavo::Ptr<Tessel::EntityManager>& state,
                            const Pavo::Ptr<ZeltSharedMem::EntityManager>&) override {
         writers = state->entity<Zelt::Dir>(Interface::ethWriterStatusPath);
      }
      Pavo::Ptr<Zelt::Dir> writers;
   } mounter(sw().get_mount_mgr());
   class Asking final : public Agent {
   public:
      Asking(orv::sdk& sdk, const orv::mount_handler& mounts) : Agent(sdk), mounts_(mounts) {}
      void on_initialized() override { EXPECT_TRUE(mounts_.initialized()); }

   private:
      const orv::mount_handler& mounts_;
   } agent(sw(), mounter);
   sw().stop();
   sw().mainLoop();
   EXPECT_TRUE(mounter.writers);
}

TEST_F(SoftSwitchTest, residentCountersAreInTheTables) {
   const auto dir = sw().mounts().state()->entity<Zelt::Dir>(Interface::ethWriterStatusPath);
   settle();
   EXPECT_THAT(dir->names(), testing::IsEmpty());
   EXPECT_EQ(sw().get_intf_counter_mgr_with_mode(orv::mgr_mode_type_t::resident),
             sw().get_intf_counter_mgr());
   settle();
   EXPECT_THAT(dir->names(), ElementsAre("Fixed"));
   sw().get_intf_counter_mgr_with_mode(orv::mgr_mode_type_t::on_demand);
   settle();
   EXPECT_THAT(dir->names(), testing::IsEmpty());
}

TEST_F(SoftSwitchTest, stopsInOrder) {
   Agent agent(sw());
   setRoute("10.0.0.0/8", "g");
   sw().stop();
   sw().mainLoop();
   EXPECT_THAT(agent.heard, ElementsAre("initialized", "disabled"));
   EXPECT_FALSE(sw().agent().enabled());
   EXPECT_FALSE(fs::exists(state() / "in-use"));
   EXPECT_THAT(refusal([&] { setRoute("11.0.0.0/8", "g"); }), HasSubstr("the switch has stopped"));
}

TEST_F(SoftSwitchTest, aStopWithoutHandlersIsAtOnce) {
   sw().stop();
   sw().mainLoop();
   EXPECT_FALSE(sw().agent().enabled());
}

TEST_F(SoftSwitchTest, theLoopWaitsForTheAcknowledgement) {
   Agent agent(sw());
   agent.acknowledges = false;
   std::atomic<bool> acknowledged = false;
   std::thread other([&] {
      for (bool disabled = false; !disabled;) {
         const orv::sdk_scoped_lock lock;
         disabled = !sw().agent().enabled();
      }
      const orv::sdk_scoped_lock lock;
      acknowledged = true;
      sw().agent().agent_shutdown_complete_is(true);
      sw().agent().agentOptionIs("wake", "up");
   });
   sw().stop();
   sw().mainLoop();
   EXPECT_TRUE(acknowledged);
   other.join();
}

TEST_F(SoftSwitchTest, aSecondStopDoesNotWait) {
   Agent agent(sw());
   agent.acknowledges = false;
   std::thread other([&] {
      for (bool disabled = false; !disabled;) {
         const orv::sdk_scoped_lock lock;
         disabled = !sw().agent().enabled();
      }
      sw().stop();
   });
   sw().stop();
   sw().mainLoop();
   other.join();
   EXPECT_FALSE(fs::exists(state() / "in-use"));
}

TEST_F(SoftSwitchTest, twoStopsAtOnceTellEveryHandlerAllTheSame) {
   Agent first(sw());
   Agent second(sw());
   first.acknowledges = second.acknowledges = false;
   sw().stop();
   sw().stop();
   sw().mainLoop();
   EXPECT_THAT(first.heard, ElementsAre("initialized", "disabled"));
   EXPECT_THAT(second.heard, ElementsAre("initialized", "disabled"));
   EXPECT_FALSE(fs::exists(state() / "in-use"));
}

TEST_F(SoftSwitchTest, twoStopsAmidABurstOfEventsTellThoseBeforeTheEnd) {
   class Busy final : public Agent {
   public:
      explicit Busy(SoftSwitch& sw) : Agent(sw), switch_(sw) { acknowledges = false; }
      void on_initialized() override {
         for (int i = 0; i < 1000; ++i)
            switch_.agent().agentOptionIs("option", std::to_string(i));
         switch_.stop();
         switch_.stop();
      }
      void on_agent_option(const std::string& name, const std::string&) override { heard.push_back(name); }

   private:
      SoftSwitch& switch_;
   } agent(sw());
   sw().mainLoop();
   ASSERT_EQ(agent.heard.size(), 1001u);
   EXPECT_EQ(agent.heard.back(), "disabled");
}

TEST_F(SoftSwitchTest, anAgentThatEndsByItselfEndsTheLoop) {
   class Ender final : public Agent {
   public:
      using Agent::Agent;
      void on_initialized() override { get_agent_mgr()->agent_shutdown_complete_is(true); }
   } agent(sw());
   sw().mainLoop();
   SUCCEED();
}

TEST_F(SoftSwitchTest, whatAHandlerThrowsComesOutOfTheLoop) {
   class Thrower final : public Agent {
   public:
      using Agent::Agent;
      void on_initialized() override { throw orv::configuration_error("no"); }
   } agent(sw());
   EXPECT_THROW(sw().mainLoop(), orv::configuration_error);
}

TEST_F(SoftSwitchTest, otherThreadsNeedTheLock) {
   std::string error;
   std::thread other([&] {
      error = refusal([&] { static_cast<void>(sw().ipRoutes().exists(key("10.0.0.0/8"))); });
      const orv::sdk_scoped_lock lock;
      static_cast<void>(sw().ipRoutes().exists(key("10.0.0.0/8")));
   });
   other.join();
   EXPECT_THAT(error, HasSubstr("sdk_scoped_lock not grabbed"));
}

TEST_F(SoftSwitchTest, oneLockSpanIsOneTransaction) {
   setRoute("10.0.0.0/8", "g");
   const auto before = sw().store().commits();
   setRoute("11.0.0.0/8", "g");
   EXPECT_EQ(sw().store().commits(), before + 1);
   EXPECT_FALSE(sw().store().inSpan());
   {
      const orv::sdk_scoped_lock lock;
      EXPECT_TRUE(sw().ipRoutes().exists(key("11.0.0.0/8")));
   }
   EXPECT_EQ(sw().store().commits(), before + 1);
}

TEST_F(SoftSwitchTest, whileTheLoopRunsOthersProgram) {
   auto agent = std::make_unique<Agent>(sw());
   std::thread controller([&] {
      for (int i = 0; i < 500; ++i) {
         if (i % 50 == 0) {
            const orv::sdk_scoped_lock lock;
            setGroup("g" + std::to_string(i));
         }
         setRoute(fmt::format("10.{}.{}.0/24", i / 256, i % 256), fmt::format("g{}", i / 50 * 50));
      }
      for (bool done = false; !done;) {
         const orv::sdk_scoped_lock lock;
         done = sw().hardware().idle();
      }
      sw().stop();
   });
   sw().mainLoop();
   controller.join();
   EXPECT_EQ(sw().ipRoutes().programmed(), 500u);
   std::size_t inFib = 0;
   for (auto it = sw().fib().fib_route_iter(); it; ++it)
      ++inFib;
   EXPECT_EQ(inFib, 500u);
   agent.reset();
   restart();
   EXPECT_EQ(sw().ipRoutes().size(), 500u);
}

TEST_F(SoftSwitchTest, theMainLoopAnswersWhileHardwareIsBusy) {
   // There are many routes to program. Between two quanta of that work the main loop must run its other
   // tasks.
   for (int i = 0; i < 200000; ++i)
      setRoute(fmt::format("10.{}.{}.{}/32", i >> 16, i >> 8 & 255, i & 255), "g");
   setGroup("g");
   const auto scheduler = Gorm::TaskSchedulerRoot::findOrCreateScheduler();
   int dispatches = 0;
   while (!sw().hardware().idle()) {
      scheduler->waitForWork();
      const Zelt::ActivityLockAnchor lock;
      scheduler->runReady(0);
      ++dispatches;
   }
   EXPECT_EQ(sw().ipRoutes().programmed(), 200000u);
   EXPECT_GT(dispatches, 3);
}

TEST_F(SoftSwitchTest, aBusyStateDirectoryIsRefused) {
   setRoute("10.0.0.0/8", "g");
   try {
      SoftSwitch second(options_);
      ADD_FAILURE() << "was not refused";
   } catch (const store::StoreError& e) {
      EXPECT_EQ(e.trouble(), store::Trouble::busy);
   }
   // The first switch keeps running, and is still the SDK.
   EXPECT_EQ(refusal([&] { setRoute("11.0.0.0/8", "g"); }), "");
   EXPECT_FALSE(sw().store().inSpan());
}

TEST_F(SoftSwitchTest, aDamagedStateDirectoryIsRefusedAndLeft) {
   setRoute("10.0.0.0/8", "g");
   sw().stop();
   sw().mainLoop();
   switch_.reset();
   const auto file = state() / "data.mdb";
   const auto size = fs::file_size(file);
   fs::resize_file(file, size / 2);
   try {
      SoftSwitch again(options_);
      ADD_FAILURE() << "was not refused";
   } catch (const store::StoreError& e) {
      EXPECT_EQ(e.trouble(), store::Trouble::damaged);
      EXPECT_THAT(e.what(), testing::AllOf(HasSubstr("is damaged"), HasSubstr(state().string())));
   }
   EXPECT_EQ(fs::file_size(file), size / 2);
   EXPECT_FALSE(fs::exists(state() / "in-use"));
   // The refused start leaves nothing behind in the process.
   fs::remove(file);
   start();
   EXPECT_TRUE(routes().empty());
}

}  // namespace
}  // namespace softswitch
