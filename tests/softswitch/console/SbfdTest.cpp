#include "softswitch/console/sbfd.h"

#include <gmock/gmock.h>

#include <chrono>
#include <thread>

#include "CommandsFixture.h"
#include "softswitch/sbfd/bfd_session_mgr.h"
#include "softswitch/sbfd/sbfd_model.h"

namespace softswitch::console {
namespace {

using Value = nlohmann::json;
using testing::ContainsRegex;
using testing::HasSubstr;

class SbfdTest : public CommandsFixture {
protected:
   void makeSession(const char* nexthop = "10.0.0.1") {
      const orv::sdk_scoped_lock lock;
      const orv::sbfd_echo_session_key_t key(orv::ip_addr_t(nexthop), orv::intf_id_t("Ethernet1"),
                                             {orv::mpls_label_t(16), orv::mpls_label_t(17)}, 46, 5);
      auto& sessions = target().bfdSessions();
      sessions.sbfd_echo_session_set(key);
      sessions.sbfd_echo_session_interval_set(key, {5, 20});
   }
   Value session() { return json("show sbfd")["sbfd_sessions"][0]; }
   // Polls, since the switch runs on a thread of its own.
   template <typename Condition>
   void waitUntil(Condition condition) {
      const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
      while (!condition()) {
         ASSERT_LT(std::chrono::steady_clock::now(), end) << run("show sbfd");
         std::this_thread::yield();
      }
   }
};

TEST_F(SbfdTest, showsSessionsAsTheyStand) {
   run("set sbfd default down");
   makeSession();
   auto shown = session();
   shown.erase("sent");
   EXPECT_EQ(shown, Value({{"nexthop", "10.0.0.1"},
                           {"interface", "Ethernet1"},
                           {"labels", {16, 17}},
                           {"dscp", 46},
                           {"exp", 5},
                           {"min_tx_ms", 5},
                           {"multiplier", 20},
                           {"rtt_enabled", false},
                           {"status", "down"},
                           {"answered", 0},
                           {"last_rtt_us", 0},
                           {"min_rtt_us", 0},
                           {"avg_rtt_us", 0},
                           {"max_rtt_us", 0},
                           {"snapshot_min_rtt_us", 0},
                           {"snapshot_avg_rtt_us", 0},
                           {"snapshot_max_rtt_us", 0}}));
   EXPECT_THAT(run("show sbfd"), ContainsRegex("10.0.0.1 +Ethernet1 +16, 17 +46 +5 +5 +20 +no +down"));
}

TEST_F(SbfdTest, aFarEndTakesASessionUpAndDown) {
   run("set sbfd 10.0.0.1 delay 150");
   makeSession();
   waitUntil([&] { return session()["status"] == "up"; });
   EXPECT_EQ(session()["min_rtt_us"], 150);
   // Both of one reading: the session goes on.
   const auto counts = session();
   EXPECT_GE(counts["sent"], counts["answered"]);
   run("set sbfd 10.0.0.1 down");
   waitUntil([&] { return session()["status"] == "down"; });
   run("unset sbfd 10.0.0.1");
   waitUntil([&] { return session()["max_rtt_us"] == 200; });
   EXPECT_EQ(session()["status"], "up");
   run("set link Ethernet1 down");
   waitUntil([&] { return session()["status"] == "down"; });
   run("configure interface Ethernet1 shutdown");
   waitUntil([&] { return session()["status"] == "admin-down"; });
}

TEST_F(SbfdTest, farEndsKeepWhatACommandDoesNotName) {
   run("set sbfd default delay 300 jitter 20");
   run("set sbfd 10.0.0.1 loss 5");
   run("set sbfd 10.0.0.1 interface Ethernet2 delay 0 down");
   const auto ends = json("show sbfd")["sbfd_far_ends"];
   const auto row = [](const char* nexthop, const char* intf, const char* state, int delay, int jitter,
                       int loss) {
      return Value({{"nexthop", nexthop},
                    {"interface", intf},
                    {"state", state},
                    {"delay_us", delay},
                    {"jitter_us", jitter},
                    {"loss_percent", loss}});
   };
   EXPECT_THAT(ends, testing::ElementsAre(row("10.0.0.1", "", "up", 300, 20, 5),
                                          row("10.0.0.1", "Ethernet2", "down", 0, 20, 5),
                                          row("default", "", "up", 300, 20, 0)));
   run("unset sbfd 10.0.0.1");
   run("unset sbfd 10.0.0.1 interface Ethernet2");
   run("unset sbfd default");
   EXPECT_THAT(json("show sbfd")["sbfd_far_ends"], testing::ElementsAre(row("default", "", "up", 200, 0, 0)));
}

TEST_F(SbfdTest, refusesWordsWithWhatWasExpected) {
   EXPECT_THAT(refusal("set sbfd"), HasSubstr("missing word"));
   EXPECT_THAT(refusal("set sbfd nowhere up"), HasSubstr("'nowhere'"));
   EXPECT_EQ(refusal("set sbfd 10.0.0.1"),
             "missing word after 'set sbfd 10.0.0.1', expected up, down, delay "
             "MICROS, jitter MICROS or loss PERCENT");
   EXPECT_THAT(refusal("set sbfd default sideways"), HasSubstr("'sideways'"));
   EXPECT_THAT(refusal("set sbfd default loss 101"), HasSubstr("101"));
   EXPECT_THAT(refusal("set sbfd default delay 10000001"), HasSubstr("10000001"));
   EXPECT_THAT(refusal("set sbfd default up delay"), HasSubstr("missing word"));
   EXPECT_THAT(refusal("unset sbfd default now"), HasSubstr("'now'"));
   EXPECT_EQ(json("show sbfd")["sbfd_far_ends"].size(), 1u);
}

}  // namespace
}  // namespace softswitch::console
