// A switch in a directory of its own and its console's commands.
#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <thread>

#include "orv/error.h"
#include "orv/lock.h"
#include "softswitch/console/commands.h"
#include "softswitch/forwarding/hardware.h"
#include "testing/base/TempDir.h"
#include "testing/softswitch/RunningSwitch.h"

namespace softswitch::console {

class CommandsFixture : public testing::Test {
protected:
   void SetUp() override { start(); }
   void TearDown() override { stop(); }

   void start() {
      Options options;
      options.stateDirectory = directory_ / "state";
      options.agentOptions = {{"colour", "green"}};
      switch_ = std::make_unique<orvtest::RunningSwitch>(std::move(options));
      commands_ = std::make_unique<Commands>(**switch_);
   }
   void stop() {
      commands_.reset();
      switch_.reset();
   }

   SoftSwitch& target() { return **switch_; }

   std::string run(std::string_view line) {
      StringOutput out;
      commands_->run(line, out);
      return out.text();
   }
   nlohmann::json json(const std::string& line) { return nlohmann::json::parse(run(line + " | json")); }

   // The text of the refusal, "" when there was none.
   std::string refusal(std::string_view line) {
      try {
         run(line);
      } catch (const CommandError& e) {
         return e.what();
      } catch (const orv::error& e) {
         return e.what();
      }
      return "";
   }

   // Waits until hardware has the whole configuration.
   void settle() {
      for (bool idle = false; !idle;) {
         std::this_thread::yield();
         const orv::sdk_scoped_lock lock;
         idle = target().hardware().idle();
      }
   }

   std::unique_ptr<Commands> commands_;

private:
   const orvtest::TempDir directory_;
   std::unique_ptr<orvtest::RunningSwitch> switch_;
};

}  // namespace softswitch::console
