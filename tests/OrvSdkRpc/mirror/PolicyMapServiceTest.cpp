#include "OrvSdkRpc/mirror/PolicyMapService.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

#include "orv/error.h"
#include "platform/process/Toggles.h"
#include "testing/base/Eventually.h"
#include "testing/base/TempDir.h"
#include "testing/mock/MockPolicyMapMgr.h"
#include "testing/sdk/Iterators.h"
#include "testing/server/MainLoop.h"
#include "testing/server/MirrorFixture.h"
#include "testing/server/TraceCapture.h"

namespace OrvSdkRpc {
namespace {

namespace remote = orv::remote;
using orv::policy_feature_t;
using orvtest::iterOver;
using testing::An;
using testing::InSequence;
using testing::Return;
using testing::Throw;

const orv::policy_map_key_t steer("steer", policy_feature_t::pbr);
const orv::policy_map_key_t shape("shape", policy_feature_t::pbr);
const orv::policy_map_key_t gold("gold", policy_feature_t::none);
constexpr char disabled[] = "Traffic policy gRPC is disabled.";

template <class Rq>
Rq ofPolicyMap(const orv::policy_map_key_t& key) {
   Rq request;
   request.mutable_key()->set_name(std::string(key.name()));
   request.mutable_key()->set_feature(remote::POLICY_FEATURE_PBR);
   return request;
}
template <class Rq>
Rq ofTrafficPolicy(const std::string& name) {
   Rq request;
   request.set_name(name);
   return request;
}
remote::PolicyMapIsRequest policySet(const orv::policy_map_key_t& key) {
   remote::PolicyMapIsRequest request;
   *request.mutable_policy_map()->mutable_key() = ofPolicyMap<remote::PolicyMapRequest>(key).key();
   return request;
}
remote::TrafficPolicyIsRequest trafficPolicySet(const std::string& name) {
   remote::TrafficPolicyIsRequest request;
   request.mutable_traffic_policy()->set_key(name);
   return request;
}
// No conversion takes it.
remote::TrafficPolicyIsRequest malformedTrafficPolicy() {
   auto request = trafficPolicySet("gold");
   (*request.mutable_traffic_policy()->mutable_rules())[10].set_traffic_policy_rule_type(
        static_cast<remote::TrafficPolicyRuleType>(99));
   return request;
}
template <class Rq>
Rq applied(Rq request, int direction) {
   request.mutable_intf_id()->set_name("Ethernet1");
   request.set_direction(static_cast<decltype(request.direction())>(direction));
   request.set_apply(true);
   return request;
}

class PolicyMapServiceTest : public MainLoop,
                             public orvtest::MirrorFixture<PolicyMapService, remote::PolicyMapMgrService,
                                                           orvtest::MockPolicyMapMgr> {
protected:
   ~PolicyMapServiceTest() override {
      running_.stop();
      const orv::sdk_scoped_lock lock;
      running_.destroy();
   }

   void synced(const orv::policy_map_key_t& key) {
      callBack([&](auto& handler) { handler.on_policy_map_sync(key); });
   }
   void syncFailed(const orv::policy_map_key_t& key, const std::string& message) {
      callBack([&](auto& handler) { handler.on_policy_map_sync_fail(key, message); });
   }
   void configSet(const orv::policy_map_key_t& key) {
      callBack([&](auto& handler) { handler.on_policy_map_config_set(key); });
   }
   void trafficPolicyConfigSet(const orv::policy_map_key_t& key) {
      callBack([&](auto& handler) { handler.on_traffic_policy_config_set(key); });
   }
   // A message in short form: "steer 1", "steer failed: no room".
   static std::string shown(const std::optional<remote::PolicyMapWatchResponse>& response) {
      if (!response) return "end";
      if (response->ack()) return "ack";
      const std::string name = response->key().name() + " ";
      using Case = remote::PolicyMapWatchResponse::PolicyMapEventCase;
      return response->policy_map_event_case() == Case::kSyncFailMessage
                  ? name + "failed: " + response->sync_fail_message()
                  : name + std::to_string(response->event());
   }
};

TEST_F(PolicyMapServiceTest, whatAPolicyMapIsReadsAsTheSwitchSaysIt) {
   EXPECT_CALL(mgr_, exists(steer)).WillOnce([](const orv::policy_map_key_t&) {
      EXPECT_TRUE(locked());
      return true;
   });
   EXPECT_TRUE(ok(&Stub::exists, ofPolicyMap<remote::PolicyMapExistsRequest>(steer)).exists());
   EXPECT_CALL(mgr_, policy_map(steer)).WillOnce(Return(orv::policy_map_t(steer)));
   EXPECT_EQ(ok(&Stub::policy_map, ofPolicyMap<remote::PolicyMapRequest>(steer)).policy_map().key().name(),
             "steer");
   EXPECT_CALL(mgr_, hw_status(steer)).WillOnce(Return(orv::policy_map_hw_statuses_t()));
   EXPECT_TRUE(ok(&Stub::hw_status, ofPolicyMap<remote::PolicyMapHwStatusRequest>(steer)).has_statuses());
}

TEST_F(PolicyMapServiceTest, theMapsOfAFeatureAndThoseInHardwareAreListed) {
   EXPECT_CALL(mgr_, policy_map_iter(policy_feature_t::pbr))
        .WillOnce(Return(iterOver<orv::policy_map_iter_t>({shape, steer})));
   remote::PolicyMapsRequest maps;
   maps.set_feature(remote::POLICY_FEATURE_PBR);
   const auto keys = list(&Stub::policy_maps, maps);
   ASSERT_EQ(keys.size(), 2U);
   EXPECT_EQ(keys[0].key().name(), "shape");
   EXPECT_EQ(keys[1].key().name(), "steer");
   EXPECT_CALL(mgr_, policy_map_hw_status_iter(policy_feature_t::pbr))
        .WillOnce(Return(iterOver<orv::policy_map_hw_status_iter_t>({steer})));
   remote::PolicyMapHwStatusesRequest statuses;
   statuses.set_feature(remote::POLICY_FEATURE_PBR);
   const auto inHardware = list(&Stub::policy_map_hw_statuses, statuses);
   ASSERT_EQ(inHardware.size(), 1U);
   EXPECT_EQ(inHardware[0].key().name(), "steer");
}

TEST_F(PolicyMapServiceTest, mapsAreSetAppliedAndDeletedOneOrMany) {
   const InSequence sequence;
   EXPECT_CALL(mgr_, policy_map_is(orv::policy_map_t(steer)));
   EXPECT_CALL(mgr_, policy_map_is(orv::policy_map_t(shape)));
   EXPECT_CALL(mgr_, policy_map_is(orv::policy_map_t(steer))).WillOnce(Throw(orv::error("full")));
   EXPECT_CALL(mgr_, policy_map_apply(steer, orv::intf_id_t("Ethernet1"), orv::acl_direction_t::in, true));
   EXPECT_CALL(mgr_, policy_map_apply(shape, orv::intf_id_t("Ethernet1"), orv::acl_direction_t::out, true));
   EXPECT_CALL(mgr_, policy_map_del(steer));
   EXPECT_CALL(mgr_, policy_map_del(shape));

   ok(&Stub::policy_map_is, policySet(steer));
   remote::BulkPolicyMapIsRequest sets;
   for (const auto& key : {shape, steer, shape})
      *sets.add_requests() = policySet(key);
   const auto set = ok(&Stub::bulk_policy_map_is, sets);
   EXPECT_EQ(set.count(), 1U);
   EXPECT_EQ(set.status().message(), "full");

   ok(&Stub::policy_map_apply,
      applied(ofPolicyMap<remote::PolicyMapApplyRequest>(steer), remote::ACL_DIRECTION_IN));
   remote::BulkPolicyMapApplyRequest applies;
   *applies.add_requests() =
        applied(ofPolicyMap<remote::PolicyMapApplyRequest>(shape), remote::ACL_DIRECTION_OUT);
   EXPECT_EQ(ok(&Stub::bulk_policy_map_apply, applies).count(), 1U);

   ok(&Stub::policy_map_del, ofPolicyMap<remote::PolicyMapDelRequest>(steer));
   remote::BulkPolicyMapDelRequest dels;
   *dels.add_requests() = ofPolicyMap<remote::PolicyMapDelRequest>(shape);
   EXPECT_EQ(ok(&Stub::bulk_policy_map_del, dels).count(), 1U);
}

TEST_F(PolicyMapServiceTest, trafficPoliciesAreReadSetAppliedAndDeleted) {
   const orv::traffic_policy_t policy = [] {
      orv::traffic_policy_t made;
      made.key_is("gold");
      return made;
   }();
   const InSequence sequence;
   EXPECT_CALL(mgr_, traffic_policy_exists("gold")).WillOnce(Return(true));
   EXPECT_CALL(mgr_, traffic_policy("gold")).WillOnce(Return(policy));
   EXPECT_CALL(mgr_, traffic_policy_iter()).WillOnce(Return(iterOver<orv::traffic_policy_iter_t>({gold})));
   EXPECT_CALL(mgr_, traffic_policy_is(policy)).Times(2);
   EXPECT_CALL(mgr_, traffic_policy_apply("gold", orv::intf_id_t("Ethernet1"),
                                          orv::traffic_policy_direction_t::in, true));
   EXPECT_CALL(mgr_, traffic_policy_apply("gold", orv::intf_id_t("Ethernet1"),
                                          orv::traffic_policy_direction_t::out, true));
   EXPECT_CALL(mgr_, traffic_policy_del("gold")).Times(2);

   EXPECT_TRUE(ok(&Stub::traffic_policy_exists, ofTrafficPolicy<remote::TrafficPolicyExistsRequest>("gold"))
                    .exists());
   EXPECT_EQ(ok(&Stub::traffic_policy, ofTrafficPolicy<remote::TrafficPolicyRequest>("gold"))
                  .traffic_policy()
                  .key(),
             "gold");
   const auto names = list(&Stub::traffic_policies, remote::TrafficPoliciesRequest());
   ASSERT_EQ(names.size(), 1U);
   EXPECT_EQ(names[0].key().name(), "gold");
   ok(&Stub::traffic_policy_is, trafficPolicySet("gold"));
   remote::BulkTrafficPolicyIsRequest sets;
   *sets.add_requests() = trafficPolicySet("gold");
   *sets.add_requests() = malformedTrafficPolicy();
   const auto set = ok(&Stub::bulk_traffic_policy_is, sets);
   EXPECT_EQ(set.count(), 1U);
   EXPECT_NE(set.status().code(), 0);
   ok(&Stub::traffic_policy_apply, applied(ofTrafficPolicy<remote::TrafficPolicyApplyRequest>("gold"),
                                           remote::TRAFFIC_POLICY_DIRECTION_IN));
   remote::BulkTrafficPolicyApplyRequest applies;
   *applies.add_requests() = applied(ofTrafficPolicy<remote::TrafficPolicyApplyRequest>("gold"),
                                     remote::TRAFFIC_POLICY_DIRECTION_OUT);
   EXPECT_EQ(ok(&Stub::bulk_traffic_policy_apply, applies).count(), 1U);
   ok(&Stub::traffic_policy_del, ofTrafficPolicy<remote::TrafficPolicyDelRequest>("gold"));
   remote::BulkTrafficPolicyDelRequest dels;
   *dels.add_requests() = ofTrafficPolicy<remote::TrafficPolicyDelRequest>("gold");
   EXPECT_EQ(ok(&Stub::bulk_traffic_policy_del, dels).count(), 1U);
}

TEST_F(PolicyMapServiceTest, aReplayIsTheSwitchesBusiness) {
   const InSequence sequence;
   EXPECT_CALL(mgr_, resync_init());
   EXPECT_CALL(mgr_, resync_complete()).WillOnce(Throw(orv::error("not now")));
   ok(&Stub::resync_init, remote::PolicyMapResyncInitRequest());
   fails(&Stub::resync_complete, remote::PolicyMapResyncCompleteRequest(), grpc::StatusCode::INTERNAL,
         "not now");
}

TEST_F(PolicyMapServiceTest, everyKindOfEventHasItsPlaceInTheMessage) {
   const auto client = watch(remote::PolicyMapWatchRequest());
   synced(steer);
   runLoop();
   configSet(steer);
   runLoop();
   trafficPolicyConfigSet(gold);
   runLoop();
   syncFailed(shape, "no room");
   runLoop();
   EXPECT_EQ(shown(client->next()), "steer 1");
   EXPECT_EQ(shown(client->next()), "steer 2");
   EXPECT_EQ(shown(client->next()), "gold 3");
   EXPECT_EQ(shown(client->next()), "shape failed: no room");
}

TEST_F(PolicyMapServiceTest, aFailedSyncReplacesTheSyncThatWaitsAndTheOtherWayRound) {
   const auto client = watch(remote::PolicyMapWatchRequest());
   synced(steer);
   syncFailed(steer, "no room");
   runLoop();
   syncFailed(steer, "no room");
   synced(steer);
   runLoop();
   synced(shape);
   runLoop();
   EXPECT_EQ(shown(client->next()), "steer failed: no room");
   EXPECT_EQ(shown(client->next()), "steer 1");
   EXPECT_EQ(shown(client->next()), "shape 1");
}

TEST_F(PolicyMapServiceTest, settingsOfOneKeyReplaceEachOther) {
   const auto client = watch(remote::PolicyMapWatchRequest());
   configSet(gold);
   trafficPolicyConfigSet(gold);
   runLoop();
   configSet(steer);
   runLoop();
   EXPECT_EQ(shown(client->next()), "gold 3");
   EXPECT_EQ(shown(client->next()), "steer 2");
}

TEST_F(PolicyMapServiceTest, aKeyInBothBacklogsYieldsTwoEvents) {
   const auto client = watch(remote::PolicyMapWatchRequest());
   configSet(steer);
   synced(steer);
   runLoop();
   EXPECT_THAT((std::vector{shown(client->next()), shown(client->next())}),
               testing::UnorderedElementsAre("steer 1", "steer 2"));
}

TEST_F(PolicyMapServiceTest, aWatchHasAnAcknowledgementAndNoDump) {
   remote::PolicyMapWatchRequest request;
   request.set_ack(true);
   const auto client = watch(request);
   EXPECT_EQ(shown(client->next()), "ack");
   synced(steer);
   runLoop();
   EXPECT_EQ(shown(client->next()), "steer 1");
}

TEST_F(PolicyMapServiceTest, aFeatureThatTheWireDoesNotKnowCostsItsEventAndATrace) {
   const auto client = watch(remote::PolicyMapWatchRequest());
   const orvtest::TraceCapture traces("policy_map/0");
   const orv::policy_map_key_t unknown("odd", static_cast<policy_feature_t>(99));
   synced(unknown);
   syncFailed(unknown, "no room");
   configSet(unknown);
   runLoop();
   synced(steer);
   runLoop();
   EXPECT_EQ(shown(client->next()), "steer 1") << "nothing was left behind";
   ASSERT_EQ(traces.texts().size(), 3U);
   EXPECT_THAT(traces.texts()[1], testing::StartsWith("on_policy_map_sync_fail is not told: "));
}

TEST_F(PolicyMapServiceTest, theReasonOfAFailureIsBoundedAndUtf8) {
   const auto client = watch(remote::PolicyMapWatchRequest());
   syncFailed(steer, "Z\xfcrich " + std::string(100'000, 'x'));
   runLoop();
   const auto response = client->next();
   ASSERT_TRUE(response);
   EXPECT_EQ(response->sync_fail_message().substr(0, 10), "Z\\xfcrich ");
   EXPECT_LE(response->sync_fail_message().size(), 2048U);
}

TEST_F(PolicyMapServiceTest, theSwitchIsWatchedWhileSomebodyListens) {
   EXPECT_FALSE(sdkWatched());
   {
      const auto first = watch(remote::PolicyMapWatchRequest());
      EXPECT_TRUE(sdkWatched());
   }
   EXPECT_TRUE(orvtest::eventually([&] { return !sdkWatched(); }));
}

// A client hears of what happens from the moment it subscribes.
TEST_F(PolicyMapServiceTest, whatWaitsWhenTheLastOneLeavesReachesNobody) {
   {
      const auto first = watch(remote::PolicyMapWatchRequest());
      synced(shape);
      configSet(shape);
   }
   ASSERT_TRUE(orvtest::eventually([&] { return !sdkWatched(); }));
   const auto late = watch(remote::PolicyMapWatchRequest());
   runLoop();
   synced(steer);
   runLoop();
   EXPECT_EQ(shown(late->next()), "steer 1");
}

TEST_F(PolicyMapServiceTest, eachRpcHasOneHandlerThatWaits) {
   expectOneHandlerPerRpc();
}

class SwitchedOff : public PolicyMapServiceTest {
public:
   void TestBody() override {
      // A strict mock: nothing is asked of the manager, though a policy cannot even be converted.
      fails(&Stub::traffic_policy_is, malformedTrafficPolicy(), grpc::StatusCode::UNIMPLEMENTED, disabled);
      fails(&Stub::traffic_policy_exists, remote::TrafficPolicyExistsRequest(),
            grpc::StatusCode::UNIMPLEMENTED, disabled);
      fails(&Stub::traffic_policy, remote::TrafficPolicyRequest(), grpc::StatusCode::UNIMPLEMENTED, disabled);
      fails(&Stub::traffic_policy_del, remote::TrafficPolicyDelRequest(), grpc::StatusCode::UNIMPLEMENTED,
            disabled);
      fails(&Stub::traffic_policy_apply, remote::TrafficPolicyApplyRequest(), grpc::StatusCode::UNIMPLEMENTED,
            disabled);
      remote::BulkTrafficPolicyIsRequest sets;
      EXPECT_EQ(ok(&Stub::bulk_traffic_policy_is, sets).status().code(), 0) << "the items are refused";
      *sets.add_requests() = malformedTrafficPolicy();
      const auto set = ok(&Stub::bulk_traffic_policy_is, sets);
      EXPECT_EQ(set.count(), 0U);
      EXPECT_EQ(set.status().message(), disabled);
      EXPECT_NE(set.status().code(), 0);
      remote::BulkTrafficPolicyDelRequest deletes;
      deletes.add_requests();
      EXPECT_EQ(ok(&Stub::bulk_traffic_policy_del, deletes).status().message(), disabled);
      remote::BulkTrafficPolicyApplyRequest applies;
      applies.add_requests();
      EXPECT_EQ(ok(&Stub::bulk_traffic_policy_apply, applies).status().message(), disabled);

      EXPECT_CALL(mgr_, traffic_policy_iter())
           .WillOnce(Return(iterOver<orv::traffic_policy_iter_t>({gold})))
           .WillOnce(Return(orv::traffic_policy_iter_t()));
      listFails(&Stub::traffic_policies, remote::TrafficPoliciesRequest(), grpc::StatusCode::UNIMPLEMENTED,
                disabled);
      EXPECT_TRUE(list(&Stub::traffic_policies, remote::TrafficPoliciesRequest()).empty());

      EXPECT_CALL(mgr_, policy_map_is(An<const orv::policy_map_t&>()));
      ok(&Stub::policy_map_is, policySet(steer));
   }
};

// A toggle is read once per process, so this test has a process of its own.
int withTrafficPoliciesSwitchedOff() {
   const orvtest::TempDir dir;
   std::ofstream(dir / "OrvSdkRpc.json") << R"({"OrvSdkRpcTrafficPolicy": false})";
   toggleDirectoryIs(dir.path());
   SwitchedOff().TestBody();
   return testing::Test::HasFailure() ? 1 : 0;
}

TEST(PolicyMapServiceDeathTest, trafficPoliciesThatAreSwitchedOffAreRefusedAndPolicyMapsWork) {
   GTEST_FLAG_SET(death_test_style, "threadsafe");
   EXPECT_EXIT(std::exit(withTrafficPoliciesSwitchedOff()), testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace OrvSdkRpc
