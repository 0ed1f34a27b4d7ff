// A switch in a directory of its own and its console's commands.
#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <thread>

#include "../RunningSwitch.h"
#include "orv/error.h"
#include "orv/lock.h"
#include "softswitch/console/commands.h"
#include "softswitch/forwarding/hardware.h"

namespace softswitch::console {

class CommandsTest : public testing::Test {
protected:
   void SetUp() override {
      char pattern[] = "/tmp/commands.XXXXXX";
      ASSERT_NE(::mkdtemp(pattern), nullptr);
      directory_ = pattern;
      start();
   }
   void TearDown() override {
      stop();
      std::filesystem::remove_all(directory_);
   }

   void start() {
      Options options;
      options.stateDirectory = directory_ / "state";
      options.agentOptions = {{"colour", "green"}};
      switch_ = std::make_unique<RunningSwitch>(std::move(options));
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

   // The words of the refusal, "" when there was none.
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

   // Until all that was configured is in hardware and the main loop has told it.
   void settle() {
      for (bool idle = false; !idle;) {
         std::this_thread::yield();
         const orv::sdk_scoped_lock lock;
         idle = target().hardware().idle();
      }
   }

   std::unique_ptr<Commands> commands_;

private:
   std::filesystem::path directory_;
   std::unique_ptr<RunningSwitch> switch_;
};

}  // namespace softswitch::console
