// Traffic and counter writers over a few interfaces, with a clock that the test moves.
#pragma once

#include <memory>
#include <string>

#include "softswitch/managers/intf_mgr.h"
#include "softswitch/managers/mount_mgr.h"
#include "softswitch/traffic/counter_writers.h"
#include "softswitch/traffic/traffic_model.h"
#include "testing/softswitch/ManagerFixture.h"

namespace softswitch {

class TrafficFixture : public ManagerFixture {
protected:
   void SetUp() override {
      ManagerFixture::SetUp();
      mounts_ = std::make_unique<MountMgr>(context());
      intfs_ = std::make_unique<IntfMgr>(context(), topology_);
      traffic_ = std::make_unique<TrafficModel>(*intfs_, [this] { return now_; });
      writers_ = std::make_unique<CounterWriters>(context(), *mounts_, *intfs_, *traffic_, 1'000'000'000);
   }
   void TearDown() override {
      writers_.reset();
      traffic_.reset();
      intfs_.reset();
      mounts_.reset();
      ManagerFixture::TearDown();
   }

   void pass(double seconds) { now_ += static_cast<std::int64_t>(seconds * 1e9); }
   // Samples as if the interval had ended.
   void sample() {
      writers_->sampleNow();
      runLoop();
   }

   const Topology topology_ = Topology::parse(R"({"interfaces": [
      {"name": "Ethernet1", "count": 4}, {"name": "Loopback0"}, {"name": "Lag1"}, {"name": "Management1"}]})",
                                              "test");
   std::int64_t now_ = 1'000'000'000;
   std::unique_ptr<MountMgr> mounts_;
   std::unique_ptr<IntfMgr> intfs_;
   std::unique_ptr<TrafficModel> traffic_;
   std::unique_ptr<CounterWriters> writers_;
};

}  // namespace softswitch
