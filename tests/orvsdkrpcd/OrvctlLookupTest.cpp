// An operator asks for the path of a packet, through the real client and daemon.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>
#include <thread>

#include "OrvctlAndDaemon.h"

namespace orvsdkrpcd {
namespace {

using testing::HasSubstr;

class OrvctlLookup : public test::OrvctlAndDaemon {
protected:
   nlohmann::json look(const std::string& words) const {
      const std::string text = expect(0, {"console", "show forwarding lookup " + words + " | json"});
      return nlohmann::json::parse(text)["lookup"];
   }
   // Polls, since hardware follows a moment later.
   void await(const std::string& words, const std::string& group) const {
      while (look(words).value("nexthop_group", "") != group)
         std::this_thread::yield();
   }
};

TEST_F(OrvctlLookup, aRedirectIsSeenToWorkAndToGo) {
   expect(0, {"init", "--policy-map", "cbf"});
   expect(0, {"nhg", "set", "gold", "--nexthop", "intf=Ethernet1,address=10.1.0.2,labels=100,op=push"});
   expect(0, {"nhg", "set", "low", "--nexthop", "intf=Ethernet2,address=10.2.0.2,labels=200,op=push"});
   expect(0, {"route", "add", "192.0.2.0/24", "--nhg", "gold"});
   expect(0, {"redirect", "set", "gold", "low", "--ipv4", "46"});
   await("192.0.2.7", "gold");
   await("192.0.2.7 dscp 46", "low");
   const auto plain = look("192.0.2.7 dscp 10");
   EXPECT_EQ(plain["nexthop_group"], "gold");
   EXPECT_EQ(plain["interface"], "Ethernet1");
   EXPECT_FALSE(plain.contains("redirected_to"));
   const auto redirected = look("192.0.2.7 dscp 46");
   EXPECT_EQ(redirected["route"], "192.0.2.0/24 preference 1");
   EXPECT_EQ(redirected["nexthop_group_of_route"], "gold");
   EXPECT_EQ(redirected["interface"], "Ethernet2");
   EXPECT_EQ(redirected["labels"], nlohmann::json::array({200}));
   const std::string text = expect(0, {"console", "show forwarding lookup 192.0.2.7 dscp 46"});
   EXPECT_THAT(text, HasSubstr("DSCP 46: redirected from gold to low by policy map cbf rule 1, class map "
                               "gold-low, ACL gold-low_IPv4 rule 1\n"));

   // A second after the redirect's removal the traffic leaves through gold again.
   expect(0, {"redirect", "del", "gold", "low"});
   await("192.0.2.7 dscp 46", "gold");
   EXPECT_FALSE(look("192.0.2.7 dscp 46").contains("redirected_to"));
   EXPECT_THAT(expect(1, {"console", "show forwarding lookup 192.0.2.7 dscp 64"}),
               HasSubstr("'64' after 'show forwarding lookup 192.0.2.7 dscp', expected a DSCP (0 to 63)"));
}

}  // namespace
}  // namespace orvsdkrpcd
