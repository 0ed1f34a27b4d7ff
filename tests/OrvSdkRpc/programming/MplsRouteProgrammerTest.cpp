#include "OrvSdkRpc/programming/MplsRouteProgrammer.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "orv/error.h"
#include "orv/lock.h"
#include "testing/sdk/Iterators.h"
#include "testing/server/Contract.h"
#include "testing/server/Programmed.h"
#include "testing/server/TraceCapture.h"
#include "testing/server/WatchedLock.h"

namespace OrvSdkRpc {
namespace {

using testing::_;
using testing::InSequence;
using testing::Matcher;
using testing::Return;
using testing::Throw;

const orv::mpls_route_key_t key(orv::mpls_label_t(100), 0);

pb::mpls_route_msg withNexthop(pb::mpls_operation_enum operation,
                               std::initializer_list<std::uint32_t> labels) {
   pb::mpls_route_msg message;
   message.set_label(100);
   auto& nexthop = *message.mutable_nexthop_msg();
   nexthop.set_intf("Ethernet1");
   nexthop.mutable_address()->set_address(orvtest::ipv4({192, 0, 2, 1}));
   nexthop.set_mpls_operation(operation);
   for (const std::uint32_t label : labels)
      nexthop.add_mpls_labels(label);
   return message;
}

pb::mpls_route_msg withGroup(int operation) {
   pb::mpls_route_msg message;
   message.set_label(100);
   message.mutable_nexthop_group_msg()->set_name("g");
   message.mutable_nexthop_group_msg()->set_mpls_operation(
        static_cast<pb::mpls_route_msg::forward_nexthop_group_msg::mpls_operation_enum>(operation));
   return message;
}

pb::mpls_route_msg intoVrf(const std::string& name) {
   pb::mpls_route_msg message;
   message.set_label(100);
   message.set_popandforward(name);
   return message;
}

pb::mpls_route_msg deletion() {
   pb::mpls_route_msg message;
   message.set_label(100);
   message.set_delete_(true);
   return message;
}

class MplsRouteProgrammerTest : public testing::Test {
protected:
   pb::rpc_status_msg process(const pb::mpls_route_msg& request) {
      pb::rpc_status_msg response;
      mpls_.processMPLSRouteRequest(request, response);
      return response;
   }
   void expectNothingWritten() {
      EXPECT_CALL(routes_, mpls_route_set(_)).Times(0);
      EXPECT_CALL(routes_, mpls_route_del(_)).Times(0);
      EXPECT_CALL(routes_, mpls_route_via_set(_)).Times(0);
      EXPECT_CALL(routes_, mpls_route_via_del(_)).Times(0);
      EXPECT_CALL(labels_, mpls_vrf_label_set(_)).Times(0);
      EXPECT_CALL(labels_, mpls_vrf_label_del(_)).Times(0);
   }
   void routeStands(bool stands = true) {
      ON_CALL(routes_, exists(Matcher<const orv::mpls_route_key_t&>(key))).WillByDefault(Return(stands));
   }
   // Sets up a route with this version and one via, over a group.
   orv::mpls_route_via_t viaStands(std::uint16_t version) {
      orv::mpls_route_via_t via(key);
      via.nexthop_group_is("old");
      ON_CALL(routes_, mpls_route(key)).WillByDefault(Return(orv::mpls_route_t(key, version)));
      ON_CALL(routes_, mpls_route_via_iter(key)).WillByDefault([via](const auto&) {
         return orvtest::iterOver<orv::mpls_route_via_iter_t>({via});
      });
      return via;
   }
   void vrfLabelStands() {
      ON_CALL(labels_, mpls_vrf_label(_))
           .WillByDefault(Return(orv::mpls_vrf_label_t(orv::mpls_label_t(100), "red")));
   }
   // Processes the request. RETURNS: the via that it writes.
   orv::mpls_route_via_t written(const pb::mpls_route_msg& request) {
      orv::mpls_route_via_t via;
      EXPECT_CALL(routes_, mpls_route_via_set(_)).WillOnce(testing::SaveArg<0>(&via));
      const auto response = process(request);
      EXPECT_EQ(response.status(), pb::RPC_STATUS_OK);
      EXPECT_EQ(response.debug_string(), "");
      return via;
   }
   std::string refusal(const pb::mpls_route_msg& request) {
      orvtest::TraceCapture traces("OrvSdkRpc/0");
      const auto response = process(request);
      EXPECT_EQ(response.status(), pb::RPC_STATUS_ERROR);
      EXPECT_EQ(traces.texts(), std::vector<std::string>{response.debug_string()});
      return response.debug_string();
   }

   orvtest::Contract contract_;
   testing::NiceMock<orvtest::MockMplsRouteMgr>& routes_ = contract_.host.mplsRouteMgr;
   testing::NiceMock<orvtest::MockMplsVrfLabelMgr>& labels_ = contract_.host.mplsVrfLabelMgr;
   MplsRouteProgrammer mpls_{contract_.client, &routes_, &labels_};
};

class InitializedMplsRouteProgrammerTest : public MplsRouteProgrammerTest {
protected:
   InitializedMplsRouteProgrammerTest() { contract_.init(); }
};

TEST_F(MplsRouteProgrammerTest, beforeInitEveryItemOfABulkIsRefused) {
   expectNothingWritten();
   pb::mpls_route_bulk_msg request;
   request.add_bulk()->set_label(100);
   request.add_bulk()->set_label(101);
   pb::rpc_status_bulk_msg response;
   mpls_.processMPLSRouteBulkRequest(request, response);
   ASSERT_EQ(response.statuses_size(), 2);
   EXPECT_EQ(response.statuses(0).status(), pb::RPC_STATUS_NOT_INITIALIZED);
   EXPECT_EQ(response.statuses(0).debug_string(), "Error: no prior rpc_server_init call, request label: 100");
   EXPECT_EQ(response.statuses(1).debug_string(), "Error: no prior rpc_server_init call, request label: 101");
}

TEST_F(InitializedMplsRouteProgrammerTest, aNexthopIsARouteWithAViaAndNoVrfLabel) {
   vrfLabelStands();
   orv::mpls_route_via_t via(key);
   via.intf_is(orv::intf_id_t("Ethernet1"));
   via.hop_is(orv::ip_addr_t("192.0.2.1"));
   via.label_action_is(orv::mpls_action_t::swap);
   via.pushswap_label_is(orv::mpls_label_t(200));
   orvtest::TraceCapture traces("OrvSdkRpc/1-2");
   InSequence order;
   EXPECT_CALL(routes_, exists(Matcher<const orv::mpls_route_key_t&>(key))).WillOnce(Return(false));
   EXPECT_CALL(routes_, mpls_route_set(orv::mpls_route_t(key)));
   EXPECT_CALL(routes_, mpls_route_via_set(via));
   EXPECT_CALL(labels_, mpls_vrf_label_del(orv::mpls_label_t(100)));
   EXPECT_EQ(process(withNexthop(pb::MPLS_OPERATION_SWAP, {200})).status(), pb::RPC_STATUS_OK);
   EXPECT_EQ(traces.texts(),
             (std::vector<std::string>{"MPLS label 100 create route nexthop_msg Ethernet1 192.0.2.1 " +
                                            fmt::format("{}", orv::mpls_action_t::swap) + " 200",
                                       "MPLS label 100 delete popAndLookup"}));
}

TEST_F(InitializedMplsRouteProgrammerTest, aRouteThatStandsIsDeletedAndWrittenAnew) {
   InSequence order;
   EXPECT_CALL(routes_, exists(Matcher<const orv::mpls_route_key_t&>(key))).WillOnce(Return(true));
   EXPECT_CALL(routes_, mpls_route_del(key));
   EXPECT_CALL(routes_, mpls_route_set(orv::mpls_route_t(key)));
   EXPECT_CALL(routes_, mpls_route_via_set(_));
   EXPECT_CALL(routes_, mpls_route_via_del(_)).Times(0);
   EXPECT_EQ(process(withNexthop(pb::MPLS_OPERATION_PUSH, {200})).status(), pb::RPC_STATUS_OK);
}

TEST_F(InitializedMplsRouteProgrammerTest, popTakesNoLabelAndDecidesThePayloadItself) {
   const auto via = written(withNexthop(pb::MPLS_OPERATION_POP, {}));
   EXPECT_EQ(via.label_action(), orv::mpls_action_t::pop);
   EXPECT_EQ(static_cast<int>(via.payload_type()), 4);
   EXPECT_EQ(via.pushswap_label(), orv::mpls_label_t());
}

TEST_F(InitializedMplsRouteProgrammerTest, aWrongCountOfLabelsIsRefused) {
   expectNothingWritten();
   const auto words = [](orv::mpls_action_t action, const char* count) {
      return fmt::format("Error: MPLS label 100 action {} label count {}", action, count);
   };
   EXPECT_EQ(refusal(withNexthop(pb::MPLS_OPERATION_POP, {5})), words(orv::mpls_action_t::pop, "1 != 0"));
   EXPECT_EQ(refusal(withNexthop(pb::MPLS_OPERATION_SWAP, {5, 6})),
             words(orv::mpls_action_t::swap, "2 != 1"));
   EXPECT_EQ(refusal(withNexthop(pb::MPLS_OPERATION_SWAP, {})), words(orv::mpls_action_t::swap, "0 != 1"));
   EXPECT_EQ(refusal(withNexthop(pb::MPLS_OPERATION_PUSH, {5, 6})),
             words(orv::mpls_action_t::push, "2 != 1"));
}

TEST_F(InitializedMplsRouteProgrammerTest, otherActionsOfANexthopAreNotSupportedWhileAGroupMayForward) {
   EXPECT_EQ(refusal(withNexthop(pb::MPLS_OPERATION_FORWARD, {})),
             fmt::format("Error: MPLS label 100 action {} not supported", orv::mpls_action_t::forward));
   EXPECT_EQ(refusal(withNexthop(pb::MPLS_OPERATION_NONE, {})),
             fmt::format("Error: MPLS label 100 action {} not supported", orv::mpls_action_t::none));
   orvtest::TraceCapture traces("OrvSdkRpc/1");
   orv::mpls_route_via_t via(key);
   via.label_action_is(orv::mpls_action_t::forward);
   via.nexthop_group_is("g");
   EXPECT_EQ(written(withGroup(1)), via);
   EXPECT_EQ(traces.texts(),
             std::vector<std::string>{"MPLS label 100 create route nexthop-group g mpls_operation_enum 1"});
   via.label_action_is(orv::mpls_action_t::pop);
   EXPECT_EQ(written(withGroup(0)), via);
}

TEST_F(InitializedMplsRouteProgrammerTest, aVrfLabelTakesTheRouteAway) {
   routeStands();
   ON_CALL(routes_, exists(Matcher<const orv::mpls_route_via_t&>(_))).WillByDefault(Return(true));
   orvtest::TraceCapture traces("OrvSdkRpc/1-2");
   InSequence order;
   EXPECT_CALL(labels_, mpls_vrf_label_set(orv::mpls_vrf_label_t(orv::mpls_label_t(100), "red")));
   EXPECT_CALL(routes_, mpls_route_del(key));
   EXPECT_CALL(routes_, mpls_route_via_del(orv::mpls_route_via_t(key)));
   const auto response = process(intoVrf("red"));
   EXPECT_EQ(response.status(), pb::RPC_STATUS_OK);
   EXPECT_EQ(response.debug_string(), "");
   EXPECT_EQ(traces.texts(),
             (std::vector<std::string>{"MPLS label 100 create popAndLookup", "MPLS label 100 delete route"}));
}

TEST_F(InitializedMplsRouteProgrammerTest, aVrfLabelWithoutARouteIsSetAlone) {
   EXPECT_CALL(labels_, mpls_vrf_label_set(_));
   EXPECT_CALL(routes_, mpls_route_del(_)).Times(0);
   EXPECT_EQ(process(intoVrf("red")).status(), pb::RPC_STATUS_OK);
}

TEST_F(InitializedMplsRouteProgrammerTest, aDeleteTakesTheRouteThenItsViaAndLeavesTheVrfLabels) {
   routeStands();
   EXPECT_CALL(labels_, mpls_vrf_label(_)).Times(0);
   InSequence order;
   EXPECT_CALL(routes_, mpls_route_del(key));
   EXPECT_CALL(routes_, exists(Matcher<const orv::mpls_route_via_t&>(orv::mpls_route_via_t(key))))
        .WillOnce(Return(true));
   EXPECT_CALL(routes_, mpls_route_via_del(orv::mpls_route_via_t(key)));
   EXPECT_EQ(process(deletion()).status(), pb::RPC_STATUS_OK);
}

TEST_F(InitializedMplsRouteProgrammerTest, aDeleteOfARouteWithoutAViaSaysSoInTheTrace) {
   routeStands();
   orvtest::TraceCapture traces("OrvSdkRpc/1");
   EXPECT_CALL(routes_, mpls_route_via_del(_)).Times(0);
   EXPECT_EQ(process(deletion()).status(), pb::RPC_STATUS_OK);
   EXPECT_EQ(traces.texts(), (std::vector<std::string>{"MPLS label 100 delete route",
                                                       "MPLS label 100 no via found on delete"}));
}

TEST_F(InitializedMplsRouteProgrammerTest, aDeleteOfAVrfLabelSucceedsInTheSecondAttempt) {
   vrfLabelStands();
   EXPECT_CALL(routes_, mpls_route_del(_)).Times(0);
   EXPECT_CALL(labels_, mpls_vrf_label_del(orv::mpls_label_t(100)));
   const auto response = process(deletion());
   EXPECT_EQ(response.status(), pb::RPC_STATUS_OK);
   EXPECT_EQ(response.debug_string(), "");
}

TEST_F(InitializedMplsRouteProgrammerTest, aDeleteOfAnUnknownLabelIsNotFoundWithoutWords) {
   expectNothingWritten();
   const auto response = process(deletion());
   EXPECT_EQ(response.status(), pb::RPC_STATUS_NOT_FOUND);
   EXPECT_EQ(response.debug_string(), "");
}

TEST_F(InitializedMplsRouteProgrammerTest, withoutAForwardingThereIsNothingToWrite) {
   expectNothingWritten();
   pb::mpls_route_msg request;
   request.set_label(100);
   EXPECT_EQ(refusal(request),
             "Error: MPLS label 100 must specify nexthop_msg, nexthop_group_msg or popAndForward");
}

TEST_F(InitializedMplsRouteProgrammerTest, anErrorBecomesWordsAndTheBulkGoesOn) {
   pb::mpls_route_bulk_msg request;
   *request.add_bulk() = withNexthop(pb::MPLS_OPERATION_SWAP, {4000000000U});
   *request.add_bulk() = intoVrf("unknown");
   *request.add_bulk() = withGroup(0);
   EXPECT_CALL(labels_, mpls_vrf_label_set(_)).WillOnce(Throw(orv::configuration_error("no room")));
   EXPECT_CALL(routes_, mpls_route_via_set(_)).Times(1);
   pb::rpc_status_bulk_msg response;
   mpls_.processMPLSRouteBulkRequest(request, response);
   ASSERT_EQ(response.statuses_size(), 3);
   EXPECT_EQ(response.statuses(0).status(), pb::RPC_STATUS_ERROR);
   EXPECT_TRUE(response.statuses(0).debug_string().starts_with("Error: request label: 100 "));
   EXPECT_TRUE(response.statuses(1).debug_string().ends_with(" exception no room"));
   EXPECT_EQ(response.statuses(2).status(), pb::RPC_STATUS_OK);
}

TEST_F(InitializedMplsRouteProgrammerTest, aLabelWhoseViaIsRefusedForwardsAsBefore) {
   const auto old = viaStands(7);
   EXPECT_CALL(labels_, mpls_vrf_label_del(_)).Times(0);
   InSequence order;
   EXPECT_CALL(routes_, exists(Matcher<const orv::mpls_route_key_t&>(key))).WillOnce(Return(true));
   EXPECT_CALL(routes_, mpls_route_del(key));
   EXPECT_CALL(routes_, mpls_route_set(_));
   EXPECT_CALL(routes_, mpls_route_via_set(_))
        .WillOnce(Throw(orv::invalid_argument_error("no such interface")));
   EXPECT_CALL(routes_, mpls_route_del(key));
   EXPECT_CALL(routes_, mpls_route_set(orv::mpls_route_t(key, 7)));
   EXPECT_CALL(routes_, mpls_route_via_set(old));
   EXPECT_TRUE(process(withGroup(0)).debug_string().ends_with(" exception no such interface"));
}

TEST_F(InitializedMplsRouteProgrammerTest, aLabelWithoutViasStandsWithoutThemAgain) {
   routeStands();
   ON_CALL(routes_, mpls_route(key)).WillByDefault(Return(orv::mpls_route_t(key, 7)));
   InSequence order;
   EXPECT_CALL(routes_, mpls_route_del(key));
   EXPECT_CALL(routes_, mpls_route_set(orv::mpls_route_t(key)));
   EXPECT_CALL(routes_, mpls_route_via_set(_)).WillOnce(Throw(orv::invalid_argument_error("refused")));
   EXPECT_CALL(routes_, mpls_route_del(key));
   EXPECT_CALL(routes_, mpls_route_set(orv::mpls_route_t(key, 7)));
   EXPECT_TRUE(process(withGroup(0)).debug_string().ends_with(" exception refused"));
}

TEST_F(InitializedMplsRouteProgrammerTest, aLabelWhoseOldViaIsRefusedTooIsNotLeftBehindWithoutOne) {
   routeStands();
   const auto old = viaStands(0);
   orvtest::TraceCapture traces("OrvSdkRpc/0");
   InSequence order;
   EXPECT_CALL(routes_, mpls_route_del(key));
   EXPECT_CALL(routes_, mpls_route_set(_));
   EXPECT_CALL(routes_, mpls_route_via_set(_)).WillOnce(Throw(orv::invalid_argument_error("first")));
   EXPECT_CALL(routes_, mpls_route_del(key));
   EXPECT_CALL(routes_, mpls_route_set(_));
   EXPECT_CALL(routes_, mpls_route_via_set(old)).WillOnce(Throw(orv::invalid_argument_error("second")));
   EXPECT_CALL(routes_, mpls_route_del(key));
   EXPECT_TRUE(process(withGroup(0)).debug_string().ends_with(" exception first"));
   EXPECT_EQ(traces.count("Error: MPLS route 100 cannot be restored, exception second"), 1U);
}

TEST_F(InitializedMplsRouteProgrammerTest, aNewLabelWhoseViaIsRefusedIsTakenBackAndThatMayFailToo) {
   orvtest::TraceCapture traces("OrvSdkRpc/0");
   InSequence order;
   EXPECT_CALL(routes_, mpls_route_set(_));
   EXPECT_CALL(routes_, mpls_route_via_set(_)).WillOnce(Throw(orv::invalid_argument_error("first")));
   EXPECT_CALL(routes_, mpls_route_del(key)).WillOnce(Throw(orv::error("second")));
   EXPECT_TRUE(process(withGroup(0)).debug_string().ends_with(" exception first"));
   ASSERT_EQ(traces.texts().size(), 2U);
   EXPECT_TRUE(traces.texts()[0].ends_with(" cannot be restored, exception second"));
}

TEST_F(InitializedMplsRouteProgrammerTest, theLockSpansOneLabel) {
   orvtest::WatchedLock lock;
   // Which taking of the lock each call of the SDK stands under; 0 for none.
   std::vector<int> seen;
   const auto see = [&](const auto&...) { seen.push_back(orv::sdk_call_allowed() ? lock.taken() : 0); };
   ON_CALL(routes_, mpls_route_set(_)).WillByDefault(see);
   ON_CALL(routes_, mpls_route_via_set(_)).WillByDefault(see);
   bool stands = false;
   const auto look = [&](const auto&) {
      see();
      return stands;
   };
   ON_CALL(routes_, exists(Matcher<const orv::mpls_route_key_t&>(_))).WillByDefault(look);
   ON_CALL(routes_, exists(Matcher<const orv::mpls_route_via_t&>(_))).WillByDefault(look);
   ON_CALL(routes_, mpls_route_del(_)).WillByDefault(see);
   ON_CALL(routes_, mpls_route_via_del(_)).WillByDefault(see);
   ON_CALL(labels_, mpls_vrf_label_set(_)).WillByDefault(see);
   ON_CALL(labels_, mpls_vrf_label(_)).WillByDefault([&](const auto& label) {
      see(label);
      return orv::mpls_vrf_label_t();
   });
   std::thread pump([&] {
      for (const auto& request :
           {withGroup(0), withNexthop(pb::MPLS_OPERATION_POP, {}), intoVrf("red"), deletion()}) {
         process(request);
      }
      pb::mpls_route_bulk_msg bulk;
      *bulk.add_bulk() = intoVrf("red");
      *bulk.add_bulk() = deletion();
      pb::rpc_status_bulk_msg response;
      mpls_.processMPLSRouteBulkRequest(bulk, response);
      stands = true;
      process(deletion());
   });
   pump.join();
   // Exists, set, via and label of the first two; set and exists of the third; both looks of the delete. The
   // last two again in a bulk. Looks and deletes of a route that stands and of its via.
   EXPECT_EQ(seen, (std::vector{1, 1, 1, 1, 2, 2, 2, 2, 3, 3, 4, 4, 5, 5, 6, 6, 7, 7, 7, 7}));
   EXPECT_EQ(lock.released(), 7);
}

TEST(MplsRouteProgrammerDeathTest, anUnknownOperationOfAGroupEndsTheProcess) {
   GTEST_FLAG_SET(death_test_style, "threadsafe");
   orvtest::Contract contract;
   contract.init();
   MplsRouteProgrammer mpls(contract.client, &contract.host.mplsRouteMgr, &contract.host.mplsVrfLabelMgr);
   pb::rpc_status_msg response;
   EXPECT_DEATH(mpls.processMPLSRouteRequest(withGroup(2), response), "GROUP_MPLS_OPERATION_POP");
}

}  // namespace
}  // namespace OrvSdkRpc
