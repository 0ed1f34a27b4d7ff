#include "softswitch/managers/nexthop_group_mgr.h"

#include <fmt/format.h>
#include <gmock/gmock.h>

#include "softswitch/managers/eth_phy_intf_mgr.h"
#include "testing/softswitch/SwitchFixture.h"

namespace softswitch {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::UnorderedElementsAre;
using HwState = orv::nexthop_group_programmed_hw_state_t;
using CounterState = orv::nexthop_group_counter_state_t;

class GroupListener final : public orv::nexthop_group_handler_v3 {
public:
   using orv::nexthop_group_handler_v3::nexthop_group_handler_v3;
   void on_nexthop_group_active(const std::string& name, bool active) override {
      heard.push_back(name + (active ? " active" : " inactive"));
   }
   void on_nexthop_group_programmed(const std::string& name, std::uint16_t version,
                                    const orv::nexthop_group_programmed_status_t& status) override {
      EXPECT_EQ(status.hw_state(), HwState::success);
      heard.push_back(name + " version " + std::to_string(version));
   }
   std::vector<std::string> take() { return std::exchange(heard, {}); }
   std::vector<std::string> heard;
};

class NexthopGroupMgrTest : public SwitchFixture {
protected:
   NexthopGroupMgr& mgr() { return sw().nexthopGroups(); }
   void linkIs(std::string_view intf, bool up) {
      sw().intfs().linkIs(orv::intf_id_t(intf), up);
      settle();
   }
   // Sets a group with a child group in entry 0 and the other entries after it.
   void parent(const std::string& name, const std::string& child,
               const std::vector<orv::nexthop_group_entry_t>& others = {}) {
      orv::nexthop_group_entry_t e;
      e.child_nexthop_group_is(child);
      orv::nexthop_group_t g(name, orv::nexthop_group_encap_t::mpls);
      std::uint16_t slot = 0;
      g.nexthop_set(slot, e);
      for (const auto& other : others)
         g.nexthop_set(++slot, other);
      mgr().nexthop_group_set(g);
   }
   std::vector<std::string> names() {
      std::vector<std::string> result;
      for (auto it = mgr().nexthop_group_iter(); it; ++it)
         result.push_back(it->name());
      return result;
   }
};

TEST_F(NexthopGroupMgrTest, everyFieldSurvivesARestart) {
   orv::nexthop_group_t g("full", orv::nexthop_group_encap_t::mpls_over_gre,
                          orv::nexthop_group_gre_key_t::ingress_intf);
   auto e = entry("192.0.2.1", "Ethernet1");
   e.mpls_action_is({orv::mpls_action_t::push, {orv::mpls_label_t(200), orv::mpls_label_t(100)}});
   e.sbfd_session_key_is({address("192.0.2.1"), orv::intf_id_t("Ethernet1"), {orv::mpls_label_t(16)}, 46, 5});
   g.nexthop_set(0, e);
   orv::nexthop_group_entry_t child;
   child.child_nexthop_group_is("other");
   g.nexthop_set(1023, child);
   g.backup_nexthop_set(0, entry("2001:db8::1", "Ethernet2"));
   g.destination_ip_set(3, address("192.0.2.9"));
   g.ttl_is(65535);
   g.source_ip_is(address("192.0.2.100"));
   g.source_intf_is(orv::intf_id_t("Loopback0"));
   g.autosize_is(true);
   g.counters_unshared_is(true);
   g.counters_persistent_is(true);
   g.hierarchical_fecs_enabled_is(true);
   mgr().nexthop_group_set(g);
   restart();
   g.version_id_is(1);
   EXPECT_EQ(mgr().nexthop_group("full"), g);
   EXPECT_EQ(mgr().nexthop_group("other").name(), "");
}

TEST_F(NexthopGroupMgrTest, aSetReplacesTheWholeGroup) {
   auto g = group("g");
   g.nexthop_set(1, entry("192.0.2.2"));
   mgr().nexthop_group_set(g);
   mgr().nexthop_group_set(group("g"));
   EXPECT_EQ(mgr().nexthop_group("g").nexthops().size(), 1u);
   EXPECT_EQ(mgr().size(), 1u);
}

TEST_F(NexthopGroupMgrTest, versionsRiseAndSkipZero) {
   std::uint16_t version = 0;
   mgr().nexthop_group_set(group("g"), version);
   EXPECT_EQ(version, 1);
   mgr().nexthop_group_set(group("g"), version);
   EXPECT_EQ(version, 2);
   mgr().nexthop_group_set(group("g"));
   EXPECT_EQ(mgr().nexthop_group("g").version_id(), 3);
   mgr().nexthop_group_set_with_version_id(group("g"), 65535);
   EXPECT_EQ(mgr().nexthop_group("g").version_id(), 65535);
   mgr().nexthop_group_set(group("g"), version);
   EXPECT_EQ(version, 1);
   mgr().nexthop_group_set(group("other"), version);
   EXPECT_EQ(version, 1);
   EXPECT_THAT(refusal([&] { mgr().nexthop_group_set_with_version_id(group("g"), 0); }),
               HasSubstr("version_id"));
   EXPECT_EQ(mgr().nexthop_group("g").version_id(), 1);
   // The version count continues after a restart.
   restart();
   mgr().nexthop_group_set(group("g"), version);
   EXPECT_EQ(version, 2);
}

TEST_F(NexthopGroupMgrTest, hardwareFollowsLater) {
   GroupListener listener(&mgr());
   listener.watch_all_nexthop_groups(true);
   setGroup("g");
   EXPECT_TRUE(mgr().exists("g"));
   EXPECT_FALSE(mgr().active("g"));
   EXPECT_TRUE(listOf(mgr().programmed_nexthop_group_iter()).empty());
   EXPECT_EQ(mgr().get_nexthop_group_programmed_hw_state("g"), HwState::unknown);
   EXPECT_TRUE(listener.heard.empty());
   settle();
   EXPECT_THAT(listener.take(), ElementsAre("g version 1", "g active"));
   EXPECT_TRUE(mgr().active("g"));
   EXPECT_THAT(listOf(mgr().programmed_nexthop_group_iter()), ElementsAre("g"));
   EXPECT_EQ(mgr().programmed_nexthop_group("g").version_id(), 1);
   EXPECT_EQ(mgr().get_nexthop_group_programmed_hw_state("g"), HwState::success);
   EXPECT_EQ(mgr().counter_state("g"), CounterState::success);
   mgr().nexthop_group_set(group("g", "Ethernet2"));
   EXPECT_EQ(mgr().programmed_nexthop_group("g").nexthops().find(0)->intf().name(), "Ethernet1");
   settle();
   EXPECT_EQ(mgr().programmed_nexthop_group("g").nexthops().find(0)->intf().name(), "Ethernet2");
   EXPECT_THAT(listener.take(), ElementsAre("g version 2"));
   mgr().nexthop_group_del("g");
   EXPECT_FALSE(mgr().exists("g"));
   settle();
   EXPECT_THAT(listener.take(), ElementsAre("g inactive"));
   EXPECT_TRUE(listOf(mgr().programmed_nexthop_group_iter()).empty());
   EXPECT_EQ(mgr().get_nexthop_group_programmed_hw_state("g"), HwState::unknown);
}

TEST_F(NexthopGroupMgrTest, severalSetsBeforeTheStageAreOne) {
   GroupListener listener(&mgr());
   listener.watch_nexthop_group("g", true);
   setGroup("g");
   setGroup("g");
   setGroup("unwatched");
   settle();
   EXPECT_THAT(listener.take(), ElementsAre("g version 2", "g active"));
   // This group is deleted before it reaches hardware.
   setGroup("short");
   mgr().nexthop_group_del("short");
   settle();
   EXPECT_FALSE(mgr().active("short"));
}

TEST_F(NexthopGroupMgrTest, everyDeletionIsTold) {
   mgr().nexthop_group_set(group("forwards"));
   mgr().nexthop_group_set(group("idle", "Ethernet2"));
   mgr().nexthop_group_set(group("stale", "Ethernet2"));
   linkIs("Ethernet2", false);
   EXPECT_FALSE(mgr().active("idle"));
   GroupListener listener(&mgr());
   listener.watch_all_nexthop_groups(true);
   mgr().nexthop_group_del("idle");
   mgr().nexthop_group_del("forwards");
   setGroup("unheard");
   mgr().nexthop_group_del("unheard");
   mgr().nexthop_group_del("nobody");
   EXPECT_THAT(listener.take(), ElementsAre());
   settle();
   EXPECT_THAT(listener.take(), ElementsAre("idle inactive", "forwards inactive", "unheard inactive"));
   mgr().resync_init();
   mgr().resync_complete();
   settle();
   EXPECT_THAT(listener.take(), ElementsAre("stale inactive"));
   // A group that is set again before hardware has removed it was never deleted for its watchers.
   setGroup("back");
   settle();
   listener.take();
   mgr().nexthop_group_del("back");
   setGroup("back");
   settle();
   EXPECT_THAT(listener.take(), ElementsAre("back version 1"));
}

TEST_F(NexthopGroupMgrTest, aDeletedGroupIsListedWhileHardwareHasIt) {
   for (const char* name : {"a", "b", "c", "d", "e"})
      setGroup(name);
   settle();
   for (const char* name : {"a", "c", "e"})
      mgr().nexthop_group_del(name);
   setGroup("unheard");
   EXPECT_THAT(names(), ElementsAre("b", "d", "unheard"));
   EXPECT_THAT(listOf(mgr().programmed_nexthop_group_iter()), ElementsAre("a", "b", "c", "d", "e"));
   EXPECT_TRUE(mgr().counter("c", 0).valid());
   // A group that is set again is listed once.
   setGroup("c");
   EXPECT_THAT(listOf(mgr().programmed_nexthop_group_iter()), ElementsAre("a", "b", "c", "d", "e"));
   settle();
   EXPECT_THAT(listOf(mgr().programmed_nexthop_group_iter()), ElementsAre("b", "c", "d", "unheard"));
   mgr().resync_init();
   setGroup("d");
   mgr().resync_complete();
   EXPECT_THAT(listOf(mgr().programmed_nexthop_group_iter()), ElementsAre("b", "c", "d", "unheard"));
   settle();
   EXPECT_THAT(listOf(mgr().programmed_nexthop_group_iter()), ElementsAre("d"));
}

// The walk visits every group that hardware has throughout once and in order, whatever is deleted and set
// meanwhile.
TEST_F(NexthopGroupMgrTest, aWalkOfProgrammedGroupsSurvivesChanges) {
   for (const char* name : {"a", "b", "c", "d", "e", "f", "g"})
      setGroup(name);
   settle();
   auto it = mgr().programmed_nexthop_group_iter();
   EXPECT_EQ(*it, "a");
   mgr().nexthop_group_del("a");
   mgr().nexthop_group_del("b");
   mgr().nexthop_group_del("c");
   EXPECT_EQ(*++it, "b");
   // These groups are set again behind the iterator, at its position and ahead of it.
   setGroup("a");
   setGroup("b");
   setGroup("c");
   auto copy = it;
   EXPECT_EQ(*++it, "c");
   mgr().nexthop_group_del("d");
   mgr().nexthop_group_del("f");
   EXPECT_EQ(*++it, "d");
   settle();
   EXPECT_EQ(*++it, "e");
   EXPECT_EQ(*++it, "g");
   EXPECT_FALSE(++it);
   EXPECT_EQ(*++copy, "c");
   EXPECT_EQ(*++copy, "e");
   mgr().nexthop_group_del("g");
   EXPECT_EQ(*++copy, "g");
   EXPECT_FALSE(++copy);
}

TEST_F(NexthopGroupMgrTest, groupsAreProgrammedAgainAfterARestart) {
   setGroup("g");
   settle();
   restart();
   EXPECT_TRUE(listOf(mgr().programmed_nexthop_group_iter()).empty());
   settle();
   EXPECT_TRUE(mgr().active("g"));
}

TEST_F(NexthopGroupMgrTest, activityFollowsTheLink) {
   auto g = group("g");
   g.nexthop_set(1, entry("192.0.2.2", "Ethernet2"));
   mgr().nexthop_group_set(g);
   settle();
   GroupListener listener(&mgr());
   listener.watch_all_nexthop_groups(true);
   linkIs("Ethernet1", false);
   EXPECT_TRUE(mgr().active("g"));
   EXPECT_TRUE(listener.heard.empty());
   linkIs("Ethernet2", false);
   EXPECT_FALSE(mgr().active("g"));
   linkIs("Ethernet1", true);
   EXPECT_TRUE(mgr().active("g"));
   EXPECT_THAT(listener.take(), ElementsAre("g inactive", "g active"));
}

TEST_F(NexthopGroupMgrTest, activityFollowsPortsThatGoAndTransceiversThatArePulled) {
   const orv::intf_id_t ethernet1("Ethernet1");
   setGroup("g");
   settle();
   GroupListener listener(&mgr());
   listener.watch_all_nexthop_groups(true);
   sw().ethPhyIntfs().transceiverPresentIs(ethernet1, false);
   settle();
   sw().ethPhyIntfs().transceiverPresentIs(ethernet1, true);
   settle();
   sw().ethPhyIntfs().portDel(ethernet1);
   settle();
   sw().ethPhyIntfs().portAdd(ethernet1);
   settle();
   EXPECT_THAT(listener.take(), ElementsAre("g inactive", "g active", "g inactive", "g active"));
}

TEST_F(NexthopGroupMgrTest, whatResolves) {
   const auto activeWith = [&](orv::nexthop_group_entry_t e) {
      orv::nexthop_group_t g("g", orv::nexthop_group_encap_t::mpls);
      g.nexthop_set(0, std::move(e));
      mgr().nexthop_group_set(g);
      settle();
      return mgr().active("g");
   };
   EXPECT_TRUE(activeWith(entry("192.0.2.1", "Ethernet1")));
   EXPECT_TRUE(activeWith(entry("192.0.2.1")));
   EXPECT_TRUE(activeWith(entry("", "Ethernet1")));
   EXPECT_FALSE(activeWith({}));
   mgr().nexthop_group_set(orv::nexthop_group_t("g", orv::nexthop_group_encap_t::mpls));
   settle();
   EXPECT_FALSE(mgr().active("g"));
}

TEST_F(NexthopGroupMgrTest, activityGoesUpAChainOfGroups) {
   parent("top", "middle");
   parent("middle", "leaf");
   settle();
   EXPECT_FALSE(mgr().active("top"));
   setGroup("leaf");
   settle();
   EXPECT_TRUE(mgr().active("top"));
   linkIs("Ethernet1", false);
   EXPECT_FALSE(mgr().active("top"));
   linkIs("Ethernet1", true);
   EXPECT_TRUE(mgr().active("top"));
   mgr().nexthop_group_del("leaf");
   settle();
   EXPECT_FALSE(mgr().active("top"));
}

// One more step of the hardware stage programs the new group; a walk over all groups would need another one.
TEST_F(NexthopGroupMgrTest, groupsAreWalkedOverOnlyWhileOneLeadsIntoAnother) {
   for (int i = 0; i < 1000; ++i)
      setGroup("leaf-" + std::to_string(i));
   parent("parent", "leaf-0");
   settle();
   mgr().nexthop_group_del("parent");
   settle();
   setGroup("new");
   mgr().hardwareStep(sw().hardware().plane());
   EXPECT_TRUE(mgr().hardwareIdle());
}

TEST_F(NexthopGroupMgrTest, groupsThatLeadIntoEachOtherDoNotHoldEachOtherUp) {
   const auto all = [&](bool active) {
      for (const char* name : {"a", "b", "above"})
         EXPECT_EQ(mgr().active(name), active) << name;
   };
   parent("above", "b");
   parent("b", "a");
   parent("a", "b", {entry("", "Ethernet1")});
   settle();
   all(true);
   GroupListener listener(&mgr());
   listener.watch_all_nexthop_groups(true);
   linkIs("Ethernet1", false);
   all(false);
   EXPECT_THAT(listener.take(), UnorderedElementsAre("a inactive", "b inactive", "above inactive"));
   linkIs("Ethernet1", true);
   all(true);
   EXPECT_THAT(listener.take(), UnorderedElementsAre("a active", "b active", "above active"));
   // A sweep that changes nothing reports nothing.
   linkIs("Ethernet2", false);
   EXPECT_THAT(listener.take(), ElementsAre());
   // A set removes the only entry that leaves the loop.
   parent("a", "b");
   settle();
   all(false);
   EXPECT_THAT(listener.take(),
               UnorderedElementsAre("a version 2", "a inactive", "b inactive", "above inactive"));
}

// More groups than one step of the sweep visits.
TEST_F(NexthopGroupMgrTest, aChainRisesWhateverItsOrder) {
   constexpr int length = 600;
   for (int i = 0; i < length; ++i)
      parent(fmt::format("down{}", i), i + 1 == length ? "leaf" : fmt::format("down{}", i + 1));
   for (int i = 0; i < length; ++i)
      parent(fmt::format("up{}", i), i == 0 ? "leaf" : fmt::format("up{}", i - 1));
   setGroup("leaf");
   settle();
   EXPECT_TRUE(mgr().active("down0"));
   EXPECT_TRUE(mgr().active(fmt::format("up{}", length - 1)));
   linkIs("Ethernet1", false);
   EXPECT_FALSE(mgr().active("down0"));
   EXPECT_FALSE(mgr().active(fmt::format("up{}", length - 1)));
}

TEST_F(NexthopGroupMgrTest, countersAreThoseOfProgrammedEntries) {
   setGroup("g");
   EXPECT_FALSE(mgr().counter("g", 0).valid());
   settle();
   EXPECT_TRUE(mgr().counter("g", 0).valid());
   EXPECT_EQ(mgr().counter("g", 0).packets(), 0u);
   EXPECT_FALSE(mgr().counter("g", 1).valid());
   EXPECT_FALSE(mgr().counter("other", 0).valid());
   mgr().countTraffic("g", 0, {.packets = 3, .bytes = 300});
   EXPECT_EQ(mgr().counter("g", 0), orv::nexthop_group_entry_counter_t(3, 300, true));
   EXPECT_THAT(refusal([&] { mgr().countTraffic("g", 1, {}); }),
               HasSubstr("no nexthop group 'g' with an entry 1"));
   EXPECT_THAT(refusal([&] { mgr().countTraffic("x", 0, {}); }), HasSubstr("'x'"));
}

TEST_F(NexthopGroupMgrTest, refusals) {
   const auto refused = [&](orv::nexthop_group_t g) { return refusal([&] { mgr().nexthop_group_set(g); }); };
   EXPECT_THAT(refused(group("")), HasSubstr("no name"));
   EXPECT_THAT(refused(group(std::string(256, 'g'))), HasSubstr("256 bytes"));
   EXPECT_EQ(refused(group(std::string(255, 'g'))), "");
   EXPECT_EQ(refused(group("Z\xfcrich")), "nexthop group name 'Z\\xfcrich' is not UTF-8");
   EXPECT_THAT(refused(group("g", "Ethernet99")), HasSubstr("entry 0: unknown interface Ethernet99"));
   auto g = group("g");
   g.nexthop_set(1024, entry("192.0.2.1"));
   EXPECT_THAT(refused(g), HasSubstr("entry index 1024 is out of range, expected 0 to 1023"));
   g = group("g");
   g.backup_nexthop_set(65535, entry("192.0.2.1"));
   EXPECT_THAT(refused(g), HasSubstr("entry index 65535"));
   g = group("g");
   g.destination_ip_set(1024, address("192.0.2.1"));
   EXPECT_THAT(refused(g), HasSubstr("destination index 1024"));
   g = group("g");
   g.source_intf_is(orv::intf_id_t("Loopback99"));
   EXPECT_THAT(refused(g), HasSubstr("unknown source interface Loopback99"));
   const auto labelled = [&](orv::mpls_label_stack_t labels) {
      auto e = entry("192.0.2.1");
      e.mpls_action_is({orv::mpls_action_t::push, std::move(labels)});
      auto with = group("g");
      with.nexthop_set(2, e);
      return with;
   };
   EXPECT_THAT(refused(labelled({orv::mpls_label_t()})),
               HasSubstr("entry 2: label 1048576 is above 1048575"));
   orv::mpls_label_stack_t deep;
   for (int i = 0; i < 15; ++i)
      deep.push_back(orv::mpls_label_t(16));
   EXPECT_THAT(refused(labelled(deep)), HasSubstr("stack of 15 labels"));
   orv::nexthop_group_entry_t self;
   self.child_nexthop_group_is("g");
   g = group("g");
   g.nexthop_set(1, self);
   EXPECT_THAT(refused(g), HasSubstr("leads into itself"));
   EXPECT_FALSE(mgr().exists("g"));
}

TEST_F(NexthopGroupMgrTest, aFullTableRefuses) {
   switch_.reset();
   options_.limits.nexthopGroups = 2;
   start();
   setGroup("a");
   setGroup("b");
   EXPECT_THAT(refusal([&] { setGroup("c"); }), HasSubstr("nexthop_group table is full, it holds 2 rows"));
   EXPECT_EQ(refusal([&] { setGroup("a"); }), "");
   settle();
   EXPECT_THAT(names(), ElementsAre("a", "b"));
   mgr().nexthop_group_del("a");
   EXPECT_EQ(refusal([&] { setGroup("c"); }), "");
}

TEST_F(NexthopGroupMgrTest, resyncRemovesWhatWasNotSetAgain) {
   for (const char* name : {"a", "b", "c"})
      setGroup(name);
   settle();
   mgr().resync_init();
   setGroup("b");
   mgr().resync_complete();
   EXPECT_THAT(names(), ElementsAre("b"));
   settle();
   EXPECT_THAT(listOf(mgr().programmed_nexthop_group_iter()), ElementsAre("b"));
}

TEST_F(NexthopGroupMgrTest, aWalkSurvivesChanges) {
   for (const char* name : {"a", "b", "c", "d"})
      setGroup(name);
   auto it = mgr().nexthop_group_iter();
   EXPECT_EQ(it->name(), "a");
   mgr().nexthop_group_del("a");
   mgr().nexthop_group_del("b");
   setGroup("bb");
   ++it;
   EXPECT_EQ(it->name(), "bb");
   auto copy = it;
   ++it;
   EXPECT_EQ(it->name(), "c");
   ++copy;
   EXPECT_EQ(copy->name(), "c");
}

}  // namespace
}  // namespace softswitch
