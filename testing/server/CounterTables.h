// The platform's counter tables, written by the test, and a listener that records what a watcher reports.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "OrvSdkRpc/hardware/IntfTrafficRatesWatcher.h"
#include "platform/gorm/TaskScheduler.h"
#include "platform/state/EthIntfCounter.h"
#include "platform/zelt/Anchors.h"

namespace OrvSdkRpc {

class CounterTables : public testing::Test {
protected:
   using EthTable = Interface::AllEthIntfCounterRillo;
   using LagTable = Rillo::Interface::AllIntfCounterDir;

   CounterTables() {
      dirMount_.entityIs(dir_);
      lagMount_.entityIs(lags_);
   }
   ~CounterTables() override { runLoop(); }

   static Interface::IntfCounter row(double inPktsRate, double time = 1) {
      return {.statistics = {}, .rates = {.inPktsRate = inPktsRate, .sampleTime = time}};
   }

   Pavo::Ptr<EthTable> writerIs(const std::string& name) {
      const auto path = Interface::EthIntfCounterMountHelper::path(name, "current");
      auto table = Pavo::makePtr<EthTable>(path);
      auto& mount = mounts_[name];
      if (!mount) mount = shared_->mount(path, Tessel::MountMode::write);
      mount.entityIs(table);
      dir_->entityIs(name, Pavo::makePtr<Interface::EthIntfCounterWriterStatus>(name));
      return table;
   }
   void writerDel(const std::string& name) {
      dir_->entityDel(name);
      mounts_[name].entityIs(nullptr);
   }

   // Records what a watch reports, "Ethernet1 5" for five packets per second.
   IntfTrafficRatesWatcher::OnRates listener() {
      return [this](const orv::intf_id_t& intf, const orv::intf_traffic_rates_t& rates) {
         told_.push_back(fmt::format("{} {}", intf, rates.in_pkts_rate()));
      };
   }
   std::vector<std::string> take() {
      runLoop();
      return std::exchange(told_, {});
   }

   static void runLoop() {
      const auto& scheduler = Gorm::TaskSchedulerRoot::findOrCreateScheduler();
      const Zelt::ActivityLockAnchor lock;
      while (scheduler->hasReady())
         scheduler->runReady();
   }

   static Lumic::IntfId id(std::string_view name) { return Lumic::IntfId(name); }

   const Pavo::Ptr<Tessel::EntityManager> state_ = Pavo::makePtr<Tessel::EntityManager>();
   const Pavo::Ptr<ZeltSharedMem::EntityManager> shared_ = Pavo::makePtr<ZeltSharedMem::EntityManager>();
   const Pavo::Ptr<Zelt::Dir> dir_ = Pavo::makePtr<Zelt::Dir>();
   const Pavo::Ptr<LagTable> lags_ = Pavo::makePtr<LagTable>("lags");
   std::vector<std::string> told_;

private:
   Tessel::Mount dirMount_ =
        state_->mount(std::string(Interface::ethWriterStatusPath), Tessel::MountMode::write);
   Tessel::Mount lagMount_ = shared_->mount(std::string(Interface::lagCounterPath), Tessel::MountMode::write);
   std::map<std::string, Tessel::Mount> mounts_;
};

}  // namespace OrvSdkRpc
