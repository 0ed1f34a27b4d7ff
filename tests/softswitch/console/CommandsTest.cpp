#include "CommandsFixture.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <functional>

#include "ConsoleClient.h"
#include "orv/ip_route.h"
#include "platform/zelt/ActivityLock.h"
#include "softswitch/console/command_table.h"
#include "softswitch/console/server.h"

namespace softswitch::console {
namespace {

using testing::HasSubstr;
using testing::Not;

TEST_F(CommandsFixture, blankLinesDoNothing) {
   EXPECT_EQ(run(""), "");
   EXPECT_EQ(run("   "), "");
}

TEST_F(CommandsFixture, unknownWordsAreNamedWithWhatWasExpected) {
   EXPECT_EQ(refusal("shwo version"),
             "unknown command 'shwo', expected one of configure, help, set, show, unset");
   EXPECT_EQ(refusal("show"),
             "missing word after 'show', expected one of acl, agent, class-map, counters, fib, "
             "forwarding, interfaces, ip, main-loop, mpls, nexthop-group, policy-map, ports, sbfd, tech, "
             "traffic, traffic-policy, tunnel, version, vrf, writers");
   EXPECT_THAT(refusal("show rooms"), HasSubstr("'rooms' after 'show', expected one of acl, agent"));
   EXPECT_EQ(refusal("show ip"), "missing word after 'show ip', expected route");
   EXPECT_EQ(refusal("show fib rout"), "'rout' after 'show fib', expected one of fec, route");
   EXPECT_EQ(refusal("configure no ip"), "missing word after 'configure no ip', expected route");
   EXPECT_EQ(refusal("show version now"), "'now' after 'show version', expected the end of the line");
   EXPECT_EQ(refusal("show tech all"), "'all' after 'show tech', expected the end of the line");
   EXPECT_EQ(refusal("configure vrf red | json"),
             "'| json' after 'configure vrf', expected only after show commands and help");
   EXPECT_THAT(run("show vrf"), Not(HasSubstr("red")));
}

TEST_F(CommandsFixture, everyShowCommandRefusesAWordTooManyAndPrintsBothForms) {
   for (const Command& shown : showCommands()) {
      // This command requires arguments that describe a packet.
      if (shown.name == "show forwarding lookup") continue;
      const std::string command(shown.name);
      EXPECT_NE(refusal(command + " \"\" extra words"), "") << command;
      EXPECT_NE(run(command), "") << command;
      EXPECT_TRUE(json(command).is_object()) << command;
      EXPECT_EQ(run(command + " json"), run(command + " | json")) << command;
   }
}

TEST_F(CommandsFixture, techHoldsEverything) {
   const auto tech = json("show tech");
   for (const auto* section : {"version",        "interfaces",    "vrfs",        "agent",
                               "status",         "options",       "tables",      "store",
                               "nexthop_groups", "ip_routes",     "mpls_routes", "mpls_vrf_labels",
                               "tunnels",        "fib_routes",    "fib_fecs",    "acls",
                               "acl_rules",      "class_maps",    "policy_maps", "sbfd_sessions",
                               "sbfd_far_ends",  "ports",         "traffic",     "writers",
                               "main_loop",      "activity_lock", "tasks",       "traffic_policies"}) {
      EXPECT_TRUE(tech.contains(section)) << section;
      EXPECT_THAT(run("show tech"), HasSubstr(std::string("---- ") + section + " ----\n"));
   }
}

// Checks that the lock is free whenever a piece of a long listing is written.
class FreeLockOutput final : public Output {
public:
   void write(std::string_view text) override {
      EXPECT_FALSE(Zelt::activityLock().ownedByMe());
      rows += static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
      longest = std::max(longest, text.size());
      if (onPiece) onPiece();
   }
   std::size_t rows = 0, longest = 0;
   std::function<void()> onPiece;
};

class LongListing : public CommandsFixture {
protected:
   static constexpr std::uint32_t routes = 20'000;

   void SetUp() override {
      CommandsFixture::SetUp();
      orv::ip_route_mgr& mgr = *target().get_ip_route_mgr();
      const orv::sdk_scoped_lock lock;
      for (std::uint32_t i = 0; i < routes; ++i)
         mgr.ip_route_set(orv::ip_route_t(key(i)), orv::ip_route_action_t::drop);
   }
   static orv::ip_route_key_t key(std::uint32_t i) {
      const std::uint8_t bytes[4] = {10, static_cast<std::uint8_t>(i >> 16),
                                     static_cast<std::uint8_t>(i >> 8), static_cast<std::uint8_t>(i)};
      return orv::ip_route_key_t(orv::ip_prefix_t(orv::ip_addr_t(orv::af_ipv4, bytes), 32));
   }
};

TEST_F(LongListing, comesInPiecesWithTheLockFree) {
   for (const auto* command : {"show ip route", "show ip route json"}) {
      FreeLockOutput out;
      commands_->run(command, out);
      EXPECT_GE(out.rows, routes);
      EXPECT_LE(out.rows, routes + 3);
      EXPECT_LT(out.longest, 128u * 1024u);
   }
}

TEST_F(LongListing, routesMayGoWhileItIsRead) {
   orv::ip_route_mgr& mgr = *target().get_ip_route_mgr();
   FreeLockOutput out;
   out.onPiece = [&] {
      const orv::sdk_scoped_lock lock;
      for (std::uint32_t i = routes / 2; i < routes; ++i)
         mgr.ip_route_del(key(i));
   };
   commands_->run("show ip route", out);
   EXPECT_GE(out.rows, routes / 2);
   EXPECT_LT(out.rows, routes);
}

TEST_F(LongListing, isCutOffWhenTheReaderLeaves) {
   FreeLockOutput out;
   out.onPiece = [] { throw OutputClosed("gone"); };
   EXPECT_THROW(commands_->run("show ip route", out), OutputClosed);
   EXPECT_LT(out.rows, routes);
   EXPECT_EQ(json("show vrf")["vrfs"].size(), 1u);
}

TEST_F(LongListing, aReaderThatDoesNotReadHoldsUpNobody) {
   Server server(Address::parse("127.0.0.1:0"),
                 [this](std::string_view line, Output& out) { commands_->run(line, out); });
   ConsoleClient stuck(server.address());
   for (int i = 0; i < 100; ++i)
      stuck.send("show tech json\n");
   ConsoleClient other(server.address());
   for (int i = 0; i < 50; ++i) {
      ASSERT_EQ(other.run(i % 2 ? "set link Ethernet1 up" : "set link Ethernet1 down")->error, "");
   }
   EXPECT_THAT(other.run("show interfaces Ethernet1")->text, HasSubstr("Ethernet1"));
   server.stop();
}

TEST_F(CommandsFixture, refusalsAndOutputGoOverTheSocket) {
   Server server(Address::parse("127.0.0.1:0"),
                 [this](std::string_view line, Output& out) { commands_->run(line, out); });
   ConsoleClient client(server.address());
   EXPECT_EQ(client.run("configure vrf red")->error, "");
   EXPECT_EQ(client.run("show vrf")->text, "Name\ndefault\nred\n");
   EXPECT_EQ(client.run("set link Ethernet99 up")->error, "unknown interface Ethernet99");
   EXPECT_EQ(client.run("nonsense")->error,
             "unknown command 'nonsense', expected one of configure, help, set, show, unset");
   server.stop();
}

}  // namespace
}  // namespace softswitch::console
