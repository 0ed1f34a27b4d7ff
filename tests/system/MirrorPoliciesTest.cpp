// The policies of a daemon: every watcher hears what one client sets and how hardware took it.
#include <gmock/gmock.h>
#include <grpcpp/grpcpp.h>
#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "OrvSdkRpcProtos/class_map.grpc.pb.h"
#include "OrvSdkRpcProtos/policy_map.grpc.pb.h"
#include "testing/base/Eventually.h"
#include "testing/base/TempDir.h"
#include "testing/process/Daemon.h"
#include "testing/server/StreamClient.h"

namespace orvtest {
namespace {

namespace remote = orv::remote;

class MirrorPolicies : public testing::Test {
protected:
   using PolicyStub = remote::PolicyMapMgrService::Stub;
   using ClassStub = remote::ClassMapMgrService::Stub;
   using Watch = StreamClient<remote::PolicyMapWatchResponse>;

   MirrorPolicies() {
      daemon_.start();
      const auto channel = grpc::CreateChannel(daemon_.address(), grpc::InsecureChannelCredentials());
      policies_ = remote::PolicyMapMgrService::NewStub(channel);
      classes_ = remote::ClassMapMgrService::NewStub(channel);
      for (auto* each : {&first_, &second_}) {
         remote::PolicyMapWatchRequest request;
         request.set_ack(true);
         *each = std::make_unique<Watch>(*policies_, &PolicyStub::watch, request);
         const auto ack = (*each)->next();
         EXPECT_TRUE(ack && ack->ack());
      }
   }

   template <class Stub, class Rq, class Rp>
   static Rp ok(Stub& stub, grpc::Status (Stub::*rpc)(grpc::ClientContext*, const Rq&, Rp*),
                const Rq& request) {
      grpc::ClientContext context;
      Rp response;
      const grpc::Status status = (stub.*rpc)(&context, request, &response);
      EXPECT_TRUE(status.ok()) << status.error_message();
      return response;
   }
   // "steer 1", "gold 3 none", "steer failed: why"; a traffic policy has no feature.
   static std::string shown(const remote::PolicyMapWatchResponse& event) {
      std::string text = event.key().name();
      if (event.policy_map_event_case() == remote::PolicyMapWatchResponse::kSyncFailMessage)
         return text + " failed: " + event.sync_fail_message();
      text += " " + std::to_string(event.event());
      return event.key().feature() == remote::POLICY_FEATURE_NONE ? text + " none" : text;
   }
   // Both watchers hear each of these, and nothing else; settings and outcomes in any order to each other.
   void expectTold(const std::vector<std::string>& events) {
      for (auto* watch : {first_.get(), second_.get()}) {
         std::vector<std::string> told;
         while (told.size() < events.size()) {
            const auto event = watch->next();
            ASSERT_TRUE(event);
            told.push_back(shown(*event));
         }
         EXPECT_THAT(told, testing::UnorderedElementsAreArray(events));
      }
   }

   template <class Rq>
   static Rq ofSteer() {
      Rq request;
      request.mutable_key()->set_name("steer");
      request.mutable_key()->set_feature(remote::POLICY_FEATURE_PBR);
      return request;
   }
   static remote::PolicyMapKey webKey() {
      remote::PolicyMapKey key;
      key.set_name("web");
      key.set_feature(remote::POLICY_FEATURE_PBR);
      return key;
   }
   // A policy map whose one rule drops what a class map selects.
   void setSteer() {
      remote::PolicyMapIsRequest request;
      auto& map = *request.mutable_policy_map();
      *map.mutable_key() = ofSteer<remote::PolicyMapRequest>().key();
      auto& rule = (*map.mutable_rules())[10];
      *rule.mutable_class_map_key() = webKey();
      rule.set_policy_map_rule_type(remote::POLICY_MAP_RULE_TYPE_CLASS_MAP);
      rule.add_actions()->set_action_type(remote::POLICY_ACTION_TYPE_DROP);
      ok(*policies_, &PolicyStub::policy_map_is, request);
   }
   void applySteer() {
      auto request = ofSteer<remote::PolicyMapApplyRequest>();
      request.mutable_intf_id()->set_name("Ethernet1");
      request.set_direction(remote::ACL_DIRECTION_IN);
      request.set_apply(true);
      ok(*policies_, &PolicyStub::policy_map_apply, request);
   }
   void setWeb() {
      remote::ClassMapIsRequest request;
      *request.mutable_class_map()->mutable_key() = webKey();
      ok(*classes_, &ClassStub::class_map_is, request);
   }
   // How hardware has it on Ethernet1; it may answer a moment later.
   bool comesTo(remote::PolicyMapStatus wanted) {
      return eventually([&] {
         const auto response =
              ok(*policies_, &PolicyStub::hw_status, ofSteer<remote::PolicyMapHwStatusRequest>());
         return response.statuses().intf_statuses_size() == 1 &&
                response.statuses().intf_statuses(0).key().intf_id().name() == "Ethernet1" &&
                response.statuses().intf_statuses(0).status() == wanted;
      });
   }
   std::vector<std::string> inHardware() {
      remote::PolicyMapHwStatusesRequest request;
      request.set_feature(remote::POLICY_FEATURE_PBR);
      std::vector<std::string> names;
      for (const auto& response : StreamClient<remote::PolicyMapHwStatusesResponse>(
                                       *policies_, &PolicyStub::policy_map_hw_statuses, request)
                                       .rest()) {
         names.push_back(response.key().name());
      }
      return names;
   }

   TempDir directory_{"orv-policies-"};
   Daemon daemon_{programPath("orvsdkrpcd"), directory_.path()};
   std::unique_ptr<PolicyStub> policies_;
   std::unique_ptr<ClassStub> classes_;
   std::unique_ptr<Watch> first_;
   std::unique_ptr<Watch> second_;
};

TEST_F(MirrorPolicies, anAppliedPolicyMapFollowsItsClassMapIntoHardware) {
   const std::string missing = "steer failed: rule 10: class map 'web' does not exist";
   setSteer();
   expectTold({"steer 2", missing});
   applySteer();
   expectTold({missing});
   EXPECT_TRUE(comesTo(remote::POLICY_MAP_STATUS_FAILURE));
   setWeb();
   expectTold({"steer 1"});
   EXPECT_TRUE(comesTo(remote::POLICY_MAP_STATUS_SUCCESS));
   EXPECT_THAT(inHardware(), testing::ElementsAre("steer"));
   remote::ClassMapDelRequest gone;
   *gone.mutable_key() = webKey();
   ok(*classes_, &ClassStub::class_map_del, gone);
   expectTold({missing});
   EXPECT_TRUE(comesTo(remote::POLICY_MAP_STATUS_FAILURE));
   ok(*policies_, &PolicyStub::policy_map_del, ofSteer<remote::PolicyMapDelRequest>());
   EXPECT_FALSE(ok(*policies_, &PolicyStub::exists, ofSteer<remote::PolicyMapExistsRequest>()).exists());
   EXPECT_THAT(inHardware(), testing::IsEmpty());
}

TEST_F(MirrorPolicies, aTrafficPolicyHasASettingAndNoOutcome) {
   for (const char* name : {"gold", "steer"}) {
      remote::TrafficPolicyIsRequest request;
      request.mutable_traffic_policy()->set_key(name);
      ok(*policies_, &PolicyStub::traffic_policy_is, request);
      expectTold({std::string(name) + " 3 none"});
   }
   // A policy map of that name is another object, also to the watchers.
   setWeb();
   setSteer();
   expectTold({"steer 2", "steer 1"});
   remote::TrafficPolicyDelRequest gone;
   gone.set_name("steer");
   ok(*policies_, &PolicyStub::traffic_policy_del, gone);
   EXPECT_TRUE(ok(*policies_, &PolicyStub::exists, ofSteer<remote::PolicyMapExistsRequest>()).exists());
   std::vector<std::string> left;
   for (const auto& response :
        StreamClient<remote::TrafficPoliciesResponse>(*policies_, &PolicyStub::traffic_policies,
                                                      remote::TrafficPoliciesRequest())
             .rest()) {
      left.push_back(response.key().name());
   }
   EXPECT_THAT(left, testing::ElementsAre("gold"));
}

}  // namespace
}  // namespace orvtest
