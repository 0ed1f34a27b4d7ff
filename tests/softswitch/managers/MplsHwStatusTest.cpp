#include "softswitch/managers/mpls_hw_status.h"

#include <gmock/gmock.h>

#include <array>

#include "testing/softswitch/HardwareFixture.h"

namespace softswitch {
namespace {

using orv::mpls_action_t;
using orv::mpls_label_t;
using orv::mpls_route_key_t;
using orv::mpls_route_t;
using orv::mpls_route_via_t;

class MplsHwStatusTest : public HardwareFixture {
protected:
   static mpls_route_key_t label(std::uint32_t number, std::uint8_t metric = 0) {
      return mpls_route_key_t(mpls_label_t(number), metric);
   }
   static orv::nexthop_group_t group(const std::string& name) {
      orv::nexthop_group_t made(name, orv::nexthop_group_encap_t::mpls);
      made.nexthop_set(0, orv::nexthop_group_entry_t{address("192.0.2.1")});
      return made;
   }
   void setGroup(const std::string& name, std::uint16_t version) {
      groups().nexthop_group_set_with_version_id(group(name), version);
   }
   void setMpls(const mpls_route_key_t& key, const std::string& group, std::uint16_t version,
                mpls_action_t action = mpls_action_t::pop) {
      mplsRoutes_->mpls_route_set(mpls_route_t(key, version));
      mpls_route_via_t via(key, action);
      via.nexthop_group_is(group);
      mplsRoutes_->mpls_route_via_set(via);
   }
   void setHop(const mpls_route_key_t& key, std::string_view hop, std::uint16_t version) {
      mplsRoutes_->mpls_route_set(mpls_route_t(key, version));
      mpls_route_via_t via(key, mpls_action_t::pop);
      via.hop_is(address(hop));
      mplsRoutes_->mpls_route_via_set(via);
   }
   // Hands over what is configured, and has the plane answer.
   void program(bool good = true) {
      for (int i = 0; i < 3; ++i) {
         step();
         plane_->answerAll(good);
      }
      step();
   }
   Pavo::Ptr<Mpls::Hardware::Status> table() {
      return mounts_.state()->entity<Mpls::Hardware::Status>(Mpls::Hardware::statusPath);
   }
   // The row of a label: "metric 0, version 1 over g 2, state 1, vias 1", "none".
   std::string row(std::uint32_t number) {
      Mpls::RouteKey key;
      key.stackSizeIs(1);
      key.labelStackIs(Lumic::MplsStackEntryIndex(0), Lumic::MplsLabel(number));
      const auto found = table()->row(key);
      if (!found) return "none";
      EXPECT_EQ(static_cast<const Mpls::RouteKey&>(found->key), key);
      std::string text = fmt::format("metric {}, ", found->key.metric());
      if (!found->ackInfo) return text + "no answer";
      const auto& ack = *found->ackInfo;
      const auto way = ack.fecId.adjType() == Rillo::Fib::adjTypeNexthopGroup
                            ? names_.text(static_cast<NameId>(NexthopGroup::fecIdToNexthopGroupId(ack.fecId)))
                            : fmt::format("type {}", ack.fecId.adjType());
      text += fmt::format("version {} over {} {}, state {}, vias {}", ack.routeVersion, way, ack.fecVersion,
                          static_cast<int>(ack.hwState), found->vias);
      return found->unprogrammed ? text + ", unprogrammed" : text;
   }
   std::string nameInHardware(const std::string& group) {
      return groups().nexthop_group_map()->name(names_.find(group));
   }
};

TEST_F(MplsHwStatusTest, theTableHasOneWriter) {
   EXPECT_NE(table(), nullptr);
   EXPECT_THROW(MplsHwStatus second(mounts_), std::runtime_error);
}

// The row comes with the last of the three: the route, the group, the plane's answer.
TEST_F(MplsHwStatusTest, aRowComesWithTheAnswerForTheRouteAndTheGroup) {
   setMpls(label(100), "g", 5);
   program();
   EXPECT_EQ(row(100), "none") << "hardware has no such group";
   setGroup("g", 7);
   step();
   EXPECT_EQ(row(100), "none") << "the plane has not answered for the group";
   EXPECT_EQ(nameInHardware("g"), "");
   plane_->answerAll();
   EXPECT_EQ(nameInHardware("g"), "g");
   EXPECT_EQ(row(100), "none") << "the route has not been handed over";
   step();
   EXPECT_EQ(row(100), "none") << "the plane has not answered for the route";
   plane_->answerAll();
   EXPECT_EQ(row(100), "metric 0, version 5 over g 7, state 1, vias 1");
}

TEST_F(MplsHwStatusTest, theGroupMayComeFirst) {
   setGroup("g", 7);
   program();
   setMpls(label(100), "g", 5);
   step();
   EXPECT_EQ(row(100), "none");
   plane_->answerAll();
   EXPECT_EQ(row(100), "metric 0, version 5 over g 7, state 1, vias 1");
}

TEST_F(MplsHwStatusTest, aRowHasTheVersionsThatHardwareHas) {
   setGroup("g", 7);
   setMpls(label(100), "g", 5);
   program();
   mplsRoutes_->mpls_route_set(mpls_route_t(label(100), 6));
   setGroup("g", 8);
   EXPECT_EQ(row(100), "metric 0, version 5 over g 7, state 1, vias 1");
   step();
   EXPECT_EQ(row(100), "metric 0, version 5 over g 7, state 1, vias 1");
   plane_->answerAll();
   step();
   EXPECT_EQ(row(100), "metric 0, version 6 over g 8, state 1, vias 1");
   // The group alone.
   setGroup("g", 9);
   program();
   EXPECT_EQ(row(100), "metric 0, version 6 over g 9, state 1, vias 1");
   // Another group.
   setGroup("h", 1);
   setMpls(label(100), "h", 6);
   program();
   EXPECT_EQ(row(100), "metric 0, version 6 over h 1, state 1, vias 1");
   // What hardware does for another reason does not change the row.
   setMpls(label(100), "h", 6, mpls_action_t::forward);
   program();
   EXPECT_EQ(row(100), "metric 0, version 6 over h 1, state 1, vias 1");
}

TEST_F(MplsHwStatusTest, aNewVersionOfAGroupIsToldForEachOfItsRoutesAndNoOther) {
   setGroup("g", 1);
   setGroup("h", 1);
   for (std::uint32_t number = 0; number < 1000; ++number)
      setMpls(label(number), number % 10 == 0 ? "h" : "g", 1);
   program();
   setGroup("g", 2);
   step();
   plane_->takeLog();
   plane_->answerAll();
   // Changes during the pass are for the next one.
   mplsRoutes_->hardwareStep(*plane_);
   setGroup("g", 3);
   program();
   for (std::uint32_t number = 0; number < 1000; ++number)
      EXPECT_EQ(row(number), number % 10 == 0 ? "metric 0, version 1 over h 1, state 1, vias 1"
                                              : "metric 0, version 1 over g 3, state 1, vias 1");
   EXPECT_EQ(plane_->takeLog(), std::vector<std::string>{"group g"}) << "no route is programmed anew";
}

TEST_F(MplsHwStatusTest, aRefusalIsToldWithTheVersionThatWasRefused) {
   setGroup("g", 7);
   program();
   setMpls(label(100), "g", 5);
   step();
   plane_->answerAll(false);
   EXPECT_EQ(row(100), "metric 0, version 5 over g 7, state 2, vias 0");
   mplsRoutes_->mpls_route_set(mpls_route_t(label(100), 6));
   program();
   EXPECT_EQ(row(100), "metric 0, version 6 over g 7, state 1, vias 1");
   mplsRoutes_->mpls_route_set(mpls_route_t(label(100), 8));
   step();
   plane_->answerAll(false);
   EXPECT_EQ(row(100), "metric 0, version 8 over g 7, state 2, vias 1");
   EXPECT_EQ(mplsRoutes_->hw_version_id(label(100)), 6) << "hardware keeps what it had";
   mplsRoutes_->mpls_route_del(label(100));
   program();
   EXPECT_EQ(row(100), "none");
   // A route that was never in hardware goes too.
   setMpls(label(200), "g", 5);
   step();
   plane_->answerAll(false);
   mplsRoutes_->mpls_route_del(label(200));
   program();
   EXPECT_EQ(row(200), "none");
}

TEST_F(MplsHwStatusTest, aRouteThatHardwareLosesIsUnprogrammedUntilItIsDeleted) {
   setGroup("g", 7);
   setMpls(label(100), "g", 5);
   program();
   groups().nexthop_group_del("g");
   step();
   EXPECT_EQ(nameInHardware("g"), "");
   EXPECT_EQ(row(100), "metric 0, version 5 over g 7, state 1, vias 0, unprogrammed");
   setGroup("g", 1);
   program();
   EXPECT_EQ(nameInHardware("g"), "g");
   EXPECT_EQ(row(100), "metric 0, version 5 over g 1, state 1, vias 1");
   groups().nexthop_group_del("g");
   program();
   mplsRoutes_->mpls_route_del(label(100));
   program();
   EXPECT_EQ(row(100), "none");
}

TEST_F(MplsHwStatusTest, aRouteThatIsDeletedBeforeTheAnswerHasNoRow) {
   setGroup("g", 7);
   program();
   setMpls(label(100), "g", 5);
   step();
   mplsRoutes_->mpls_route_del(label(100));
   step();
   plane_->answerAll();
   EXPECT_EQ(row(100), "none");
   // Set again before the answer to the first set: only the last answer counts.
   setMpls(label(100), "g", 5);
   step();
   mplsRoutes_->mpls_route_del(label(100));
   setMpls(label(100), "g", 6);
   step();
   plane_->answerAll();
   EXPECT_EQ(row(100), "metric 0, version 6 over g 7, state 1, vias 1");
}

TEST_F(MplsHwStatusTest, aRouteWithHopsHasAFecOfItsOwnKind) {
   setHop(label(100), "192.0.2.1", 5);
   setHop(label(100), "192.0.2.2", 5);
   program();
   EXPECT_EQ(row(100), "metric 0, version 5 over type 4 0, state 1, vias 2");
   mplsRoutes_->mpls_route_via_del(mpls_route_via_t(label(100)));
   program();
   EXPECT_EQ(row(100), "metric 0, version 5 over type 4 0, state 1, vias 0, unprogrammed");
}

// Hardware forwards a stack of labels by the route with the smallest metric that it has.
TEST_F(MplsHwStatusTest, ofSeveralMetricsTheOneThatForwardsIsTold) {
   setGroup("g", 7);
   setMpls(label(100, 20), "g", 2);
   program();
   EXPECT_EQ(row(100), "metric 20, version 2 over g 7, state 1, vias 1");
   setMpls(label(100, 30), "g", 3);
   program();
   EXPECT_EQ(row(100), "metric 20, version 2 over g 7, state 1, vias 1");
   setMpls(label(100), "g", 1);
   program();
   EXPECT_EQ(row(100), "metric 0, version 1 over g 7, state 1, vias 1");
   // A route that does not forward is refused without a word in the table.
   mplsRoutes_->mpls_route_set(mpls_route_t(label(100, 30), 4));
   step();
   plane_->answerAll(false);
   EXPECT_EQ(row(100), "metric 0, version 1 over g 7, state 1, vias 1");
   mplsRoutes_->mpls_route_del(label(100));
   program();
   EXPECT_EQ(row(100), "metric 20, version 2 over g 7, state 1, vias 1");
   mplsRoutes_->mpls_route_via_del(mpls_route_via_t(label(100, 20)));
   program();
   EXPECT_EQ(row(100), "metric 30, version 3 over g 7, state 1, vias 1");
   mplsRoutes_->mpls_route_del(label(100, 30));
   program();
   EXPECT_EQ(row(100), "metric 30, version 3 over g 7, state 1, vias 0, unprogrammed")
        << "a route of these labels is still configured";
   mplsRoutes_->mpls_route_del(label(100, 20));
   program();
   EXPECT_EQ(row(100), "none");
   EXPECT_EQ(table()->size(), 0U);
}

TEST_F(MplsHwStatusTest, aStackHasItsBottomFirst) {
   setGroup("g", 7);
   const std::array labels{mpls_label_t(100), mpls_label_t(200), mpls_label_t(300)};
   setMpls(mpls_route_key_t(labels, 9), "g", 1);
   program();
   ASSERT_EQ(table()->size(), 1U);
   const auto key = table()->keys().front();
   EXPECT_EQ(key.to_string(), "100,200,300");
   EXPECT_EQ(key.labelStack(Lumic::MplsStackEntryIndex(0)).value(), 300U);
   EXPECT_EQ(table()->row(key)->key.metric(), 9);
   // A prefix of the stack is another row.
   setMpls(label(100), "g", 1);
   program();
   EXPECT_EQ(table()->size(), 2U);
   // So is a stack of the largest size.
   std::vector<mpls_label_t> most;
   for (std::uint32_t i = 0; i < mpls_route_key_t::labels_max; ++i)
      most.emplace_back(i);
   setMpls(mpls_route_key_t(most, 0), "g", 1);
   program();
   EXPECT_EQ(table()->size(), 3U);
}

TEST_F(MplsHwStatusTest, aNumberThatIsReusedHasTheNewName) {
   setGroup("g", 1);
   program();
   const auto number = names_.find("g");
   groups().nexthop_group_del("g");
   program();
   EXPECT_EQ(groups().nexthop_group_map()->name(number), "");
   setGroup("h", 1);
   program();
   ASSERT_EQ(names_.find("h"), number);
   EXPECT_EQ(groups().nexthop_group_map()->name(number), "h");
   EXPECT_EQ(groups().nexthop_group_map()->size(), 1U);
}

TEST_F(MplsHwStatusTest, aGroupThatThePlaneRefusesHasNoName) {
   setGroup("g", 1);
   step();
   plane_->answerAll(false);
   EXPECT_EQ(nameInHardware("g"), "");
   setGroup("g", 2);
   program();
   setGroup("g", 3);
   step();
   plane_->answerAll(false);
   EXPECT_EQ(nameInHardware("g"), "g") << "hardware has it in the form before";
   groups().nexthop_group_del("g");
   program();
   EXPECT_EQ(nameInHardware("g"), "");
}

}  // namespace
}  // namespace softswitch
