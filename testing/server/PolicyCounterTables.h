// The platform's counters of policies and what their classes do, written by the test.
#pragma once

#include <fmt/format.h>
#include <gmock/gmock.h>

#include <string>
#include <utility>
#include <vector>

#include "OrvSdkRpcProtos/policy_map_counters.pb.h"
#include "orv/mount.h"
#include "platform/state/PbrCounters.h"
#include "platform/state/PbrStatus.h"
#include "platform/tessel/MountGroup.h"
#include "platform/tessel/SharedMem.h"
#include "platform/zelt/Dir.h"
#include "testing/mock/MockPolicyMapMgr.h"
#include "testing/server/MainLoop.h"

namespace OrvSdkRpc {

// A base of fixtures; comes before those that use the lock.
class PolicyCounterTables : public MainLoop {
protected:
   PolicyCounterTables() {
      counterMount_.entityIs(table_);
      slicesMount_.entityIs(slices_);
      ON_CALL(policies_, pbr_status()).WillByDefault([this] { return status_; });
   }
   ~PolicyCounterTables() { runLoop(); }

   // Completes the mounts of a handler as the switch does.
   void mount(orv::mount_handler& handler) {
      const orv::sdk_scoped_lock lock;
      const auto state = Pavo::makePtr<Tessel::MountGroup>(state_);
      const auto shared = Pavo::makePtr<ZeltSharedMem::MountGroup>(shared_);
      handler.doMounts(state, shared);
      EXPECT_EQ(state->size(), 1U);
      EXPECT_EQ(shared->size(), 1U);
      handler.initialized_is(true);
      handler.onMountsComplete(state_, shared_);
   }

   // The rule 10 of a class of the policy "edge".
   static PbrCountersKey keyOf(const std::string& className) { return {"edge", "", className, "10"}; }
   // Set a row, and remove it; the main loop has not told of it yet.
   void rowIs(const std::string& className, std::uint64_t packets) {
      const orv::sdk_scoped_lock lock;
      table_->rowIs(keyOf(className), {.packets = packets, .bytes = 100 * packets, .time = 1});
   }
   void rowDel(const std::string& className) {
      const orv::sdk_scoped_lock lock;
      table_->rowDel(keyOf(className));
   }
   // The actions of a class of the policy "edge".
   void actionsAre(const std::string& className, const std::vector<Pbr::PbrAction>& actions) {
      const orv::sdk_scoped_lock lock;
      auto row = status_->row("edge").value_or(Pbr::PolicyMapStatus());
      row.classMapStatus[className] = {.sequence = 10, .actions = actions};
      status_->rowIs("edge", row);
   }

   // "1 edge/web/10 5 packets 500 bytes drop", "1 gone"
   static std::string shown(const orv::remote::PolicyMapCounters& entry) {
      std::string text = fmt::format("{}", entry.key());
      if (entry.has_key_name()) {
         const auto& name = entry.key_name();
         text += fmt::format(" {}/{}/{}", name.policy_map_key().name(), name.class_name(), name.rule_name());
      }
      if (entry.operation() == orv::remote::POLICY_MAP_COUNTERS_OPERATION_DELETE) text += " gone";
      if (entry.has_counters())
         text += fmt::format(" {} packets {} bytes", entry.counters().packets(), entry.counters().bytes());
      if (entry.policy_action().has_drop()) text += " drop";
      if (entry.policy_action().has_out()) {
         const auto& out = entry.policy_action().out();
         text += " out";
         if (out.has_nexthops()) text += fmt::format(" to {} hops", out.nexthops().nexthops_size());
         if (out.has_nexthop_group_name()) text += " through " + out.nexthop_group_name();
         if (out.ttl() != 0) text += fmt::format(" ttl {}", out.ttl());
      }
      return text;
   }

   const Pavo::Ptr<Tessel::EntityManager> state_ = Pavo::makePtr<Tessel::EntityManager>();
   const Pavo::Ptr<ZeltSharedMem::EntityManager> shared_ = Pavo::makePtr<ZeltSharedMem::EntityManager>();
   const Pavo::Ptr<Pbr::CounterTable> table_ = Pavo::makePtr<Pbr::CounterTable>("counters");
   const Pavo::Ptr<Pbr::Status> status_ = Pavo::makePtr<Pbr::Status>("status");
   const Pavo::Ptr<Zelt::Dir> slices_ = Pavo::makePtr<Zelt::Dir>();
   testing::NiceMock<orvtest::MockPolicyMapMgr> policies_;

private:
   Tessel::Mount counterMount_ = shared_->mount(std::string(Pbr::counterPath), Tessel::MountMode::write);
   Tessel::Mount slicesMount_ = state_->mount(std::string(Pbr::statusDirPath), Tessel::MountMode::write);
};

}  // namespace OrvSdkRpc
