#include "OrvSdkRpc/mirror/ClassMapService.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "orv/error.h"
#include "orv/lock.h"
#include "testing/mock/MockClassMapMgr.h"
#include "testing/sdk/Iterators.h"
#include "testing/server/MirrorFixture.h"

namespace OrvSdkRpc {
namespace {

namespace remote = orv::remote;
using orv::policy_feature_t;
using orvtest::iterOver;
using testing::InSequence;
using testing::Return;
using testing::Throw;

using ClassMapServiceTest =
     orvtest::MirrorFixture<ClassMapService, remote::ClassMapMgrService, orvtest::MockClassMapMgr>;

const orv::policy_map_key_t voice("voice", policy_feature_t::pbr);
const orv::policy_map_key_t video("video", policy_feature_t::pbr);

template <class Rq>
Rq ofMap(const orv::policy_map_key_t& key) {
   Rq request;
   request.mutable_key()->set_name(std::string(key.name()));
   request.mutable_key()->set_feature(remote::POLICY_FEATURE_PBR);
   return request;
}
// With one rule, at sequence 10.
orv::class_map_t mapWithRule(const orv::policy_map_key_t& key) {
   orv::class_map_t map(key);
   orv::class_map_rule_t rule;
   rule.acl_key_is(orv::acl_key_t("web", orv::acl_type_t::ipv4));
   map.rule_set(10, rule);
   return map;
}
remote::ClassMapIsRequest mapSet(const orv::policy_map_key_t& key) {
   remote::ClassMapIsRequest request;
   auto& map = *request.mutable_class_map();
   *map.mutable_key() = ofMap<remote::ClassMapRequest>(key).key();
   auto& acl = *(*map.mutable_rules())[10].mutable_acl_key();
   acl.set_acl_name("web");
   acl.set_acl_type(remote::ACL_TYPE_IPV4);
   return request;
}

TEST_F(ClassMapServiceTest, whatAClassMapIsReadsAsTheSwitchSaysIt) {
   EXPECT_CALL(mgr_, exists(voice)).WillOnce([](const orv::policy_map_key_t&) {
      EXPECT_TRUE(orv::sdk_call_allowed());
      return true;
   });
   EXPECT_TRUE(ok(&Stub::exists, ofMap<remote::ClassMapExistsRequest>(voice)).exists());
   EXPECT_CALL(mgr_, class_map(voice)).WillOnce(Return(mapWithRule(voice)));
   const auto map = ok(&Stub::class_map, ofMap<remote::ClassMapRequest>(voice)).class_map();
   EXPECT_EQ(map.key().name(), "voice");
   ASSERT_EQ(map.rules().count(10), 1U);
   EXPECT_EQ(map.rules().at(10).acl_key().acl_name(), "web");
}

TEST_F(ClassMapServiceTest, theMapsOfAFeatureAreListedByKey) {
   EXPECT_CALL(mgr_, class_map_iter(policy_feature_t::pbr))
        .WillOnce(Return(iterOver<orv::class_map_iter_t>({video, voice})));
   remote::ClassMapsRequest request;
   request.set_feature(remote::POLICY_FEATURE_PBR);
   const auto maps = list(&Stub::class_maps, request);
   ASSERT_EQ(maps.size(), 2U);
   EXPECT_EQ(maps[0].key().name(), "video");
   EXPECT_EQ(maps[1].key().name(), "voice");
   EXPECT_EQ(maps[1].key().feature(), remote::POLICY_FEATURE_PBR);
}

TEST_F(ClassMapServiceTest, mapsAreSetAndDeletedOneOrMany) {
   const InSequence sequence;
   EXPECT_CALL(mgr_, class_map_is(mapWithRule(voice)));
   EXPECT_CALL(mgr_, class_map_is(mapWithRule(voice)));
   EXPECT_CALL(mgr_, class_map_is(mapWithRule(video))).WillOnce(Throw(orv::error("full")));
   EXPECT_CALL(mgr_, class_map_del(voice));
   EXPECT_CALL(mgr_, class_map_del(video));

   ok(&Stub::class_map_is, mapSet(voice));
   remote::BulkClassMapIsRequest sets;
   for (const auto& key : {voice, video, voice})
      *sets.add_requests() = mapSet(key);
   const auto set = ok(&Stub::bulk_class_map_is, sets);
   EXPECT_EQ(set.count(), 1U);
   EXPECT_EQ(set.status().message(), "full");

   ok(&Stub::class_map_del, ofMap<remote::ClassMapDelRequest>(voice));
   remote::BulkClassMapDelRequest dels;
   *dels.add_requests() = ofMap<remote::ClassMapDelRequest>(video);
   EXPECT_EQ(ok(&Stub::bulk_class_map_del, dels).count(), 1U);
}

TEST_F(ClassMapServiceTest, aFeatureThatTheWireDoesNotKnowNeverReachesTheSwitch) {
   auto request = ofMap<remote::ClassMapExistsRequest>(voice);
   request.mutable_key()->set_feature(static_cast<remote::PolicyFeature>(99));
   remote::ClassMapExistsResponse response;
   EXPECT_EQ(call(&Stub::exists, request, response).error_code(), grpc::StatusCode::INVALID_ARGUMENT);
}

TEST_F(ClassMapServiceTest, aReplayIsTheSwitchesBusiness) {
   const InSequence sequence;
   EXPECT_CALL(mgr_, resync_init());
   EXPECT_CALL(mgr_, resync_complete()).WillOnce(Throw(orv::error("not now")));
   ok(&Stub::resync_init, remote::ClassMapResyncInitRequest());
   fails(&Stub::resync_complete, remote::ClassMapResyncCompleteRequest(), grpc::StatusCode::INTERNAL,
         "not now");
}

TEST_F(ClassMapServiceTest, eachRpcHasOneHandlerThatWaits) {
   expectOneHandlerPerRpc();
}

}  // namespace
}  // namespace OrvSdkRpc
