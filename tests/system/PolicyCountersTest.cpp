// Counters of traffic policies on a real switch, as a client of the services sees them: a rule that is set,
// what an operator counts for it, and its end.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "OrvSdkRpc/mirror/PolicyMapCountersService.h"
#include "OrvSdkRpc/mirror/PolicyMapService.h"
#include "orv/error.h"
#include "orv/lock.h"
#include "platform/zelt/Clock.h"
#include "softswitch/console/commands.h"
#include "testing/base/Eventually.h"
#include "testing/base/TempDir.h"
#include "testing/server/RunningServer.h"
#include "testing/server/StreamClient.h"
#include "testing/softswitch/RunningSwitch.h"

namespace orvtest {
namespace {

namespace remote = orv::remote;

class PolicyCountersSystem : public testing::Test {
protected:
   using Policies = remote::PolicyMapMgrService::Stub;
   using Counters = remote::PolicyMapCountersService::Stub;
   using Client = StreamClient<remote::PolicyMapCountersWatchResponse>;

   PolicyCountersSystem() {
      std::vector<std::unique_ptr<OrvSdkRpc::GrpcService>> services;
      {
         const orv::sdk_scoped_lock lock;
         services.push_back(std::make_unique<OrvSdkRpc::PolicyMapService>(switch_->get_policy_map_mgr()));
         services.push_back(std::make_unique<OrvSdkRpc::PolicyMapCountersService>(
              switch_->get_policy_map_mgr(), switch_->get_mount_mgr()));
      }
      running_.emplace(std::move(services));
      policies_ = running_->stub<remote::PolicyMapMgrService>();
      counters_ = running_->stub<remote::PolicyMapCountersService>();
   }
   ~PolicyCountersSystem() override {
      running_->stop();
      const orv::sdk_scoped_lock lock;
      running_->destroy();
   }

   static softswitch::Options options(const TempDir& directory) {
      softswitch::Options made;
      made.stateDirectory = directory.path();
      return made;
   }
   template <class Rq, class Rp>
   void ask(grpc::Status (Policies::*rpc)(grpc::ClientContext*, const Rq&, Rp*), const Rq& request, Rp&&) {
      grpc::ClientContext context;
      Rp response;
      const auto status = ((*policies_).*rpc)(&context, request, &response);
      EXPECT_TRUE(status.ok()) << status.error_message();
   }
   // A policy of rules, each with its action.
   void set(const std::string& name,
            const std::map<std::uint32_t, std::pair<std::string, remote::TrafficPolicyAction>>& rules) {
      remote::TrafficPolicyIsRequest request;
      request.mutable_traffic_policy()->set_key(name);
      for (const auto& [sequence, of] : rules) {
         auto& rule = (*request.mutable_traffic_policy()->mutable_rules())[sequence];
         rule.set_traffic_policy_rule_type(remote::TRAFFIC_POLICY_RULE_TYPE_IPV4);
         rule.mutable_raw_rule()->set_filter_type(remote::TRAFFIC_POLICY_RULE_TYPE_IPV4);
         rule.set_match_rule_name(of.first);
         *rule.add_actions() = of.second;
      }
      ask(&Policies::traffic_policy_is, request, remote::TrafficPolicyIsResponse());
   }
   void apply(const std::string& name, bool apply = true) {
      remote::TrafficPolicyApplyRequest request;
      request.set_name(name);
      request.mutable_intf_id()->set_name("Ethernet1");
      request.set_apply(apply);
      ask(&Policies::traffic_policy_apply, request, remote::TrafficPolicyApplyResponse());
   }
   static remote::TrafficPolicyAction drop() {
      remote::TrafficPolicyAction action;
      action.set_action_type(remote::TRAFFIC_POLICY_ACTION_TYPE_DROP);
      return action;
   }
   static remote::TrafficPolicyAction through(const std::string& group) {
      remote::TrafficPolicyAction action;
      action.set_action_type(remote::TRAFFIC_POLICY_ACTION_TYPE_NEXTHOP_GROUP);
      action.add_nexthop_groups(group);
      return action;
   }
   std::string console(std::string_view line) {
      softswitch::console::StringOutput out;
      softswitch::console::Commands(*switch_).run(line, out);
      return out.text();
   }
   // Counts once hardware has the rule.
   void count(const std::string& line) {
      EXPECT_TRUE(eventually([&] {
         try {
            console("set traffic-policy-traffic " + line);
         } catch (const orv::error&) {
            return false;
         }
         return true;
      }));
   }
   std::unique_ptr<Client> watch() {
      return std::make_unique<Client>(*counters_, &Counters::watch_policy_map_counters,
                                      remote::PolicyMapCountersWatchRequest());
   }
   // Reads until `done` holds for the picture that a client keeps.
   template <class Done>
   void follow(Client& client, Done done) {
      while (!done()) {
         const auto response = client.next();
         ASSERT_TRUE(response);
         if (response->data_size() == 0) snapshotEnded_ = true;
         for (const auto& entry : response->data()) {
            if (entry.has_key_name() && entry.operation() == 0) {
               names_[entry.key()] = fmt::format("{}/{}/{}", entry.key_name().policy_map_key().name(),
                                                 entry.key_name().class_name(), entry.key_name().rule_name());
            }
            ASSERT_TRUE(names_.contains(entry.key()) || entry.operation() == 1) << entry.ShortDebugString();
            const std::string name = names_[entry.key()];
            if (entry.operation() == 1) {
               picture_.erase(name);
            } else {
               picture_[name] = entry;
            }
         }
      }
   }
   [[nodiscard]] std::uint64_t packets(const std::string& name) const {
      const auto it = picture_.find(name);
      return it == picture_.end() ? 0 : it->second.counters().packets();
   }

   const TempDir directory_;
   RunningSwitch switch_{options(directory_)};
   std::optional<RunningServer> running_;
   std::unique_ptr<Policies> policies_;
   std::unique_ptr<Counters> counters_;
   bool snapshotEnded_ = false;
   std::map<std::uint64_t, std::string> names_;
   std::map<std::string, remote::PolicyMapCounters> picture_;
};

TEST_F(PolicyCountersSystem, whatMeetsARuleReachesTheWatcher) {
   set("edge", {{10, {"web", drop()}}, {20, {"mail", through("core")}}});
   apply("edge");
   count("edge rule web packets 5 bytes 500");
   const auto client = watch();
   follow(*client,
          [&] { return snapshotEnded_ && packets("edge/web/10") == 5 && picture_.contains("edge/mail/20"); });
   EXPECT_TRUE(picture_["edge/web/10"].policy_action().drop());
   EXPECT_NEAR(picture_["edge/web/10"].counters().time(), Zelt::Clock::seconds(Zelt::Clock::wallNanos()),
               600);
   EXPECT_EQ(picture_["edge/mail/20"].policy_action().out().nexthop_group_name(), "core");

   count("edge rule mail packets 7 bytes 700");
   count("edge rule mail packets 7 bytes 700");
   follow(*client, [&] { return packets("edge/mail/20") == 14; });
   EXPECT_EQ(picture_["edge/mail/20"].counters().bytes(), 1400U);

   // Other actions are told without traffic.
   set("edge", {{10, {"web", through("core")}}, {20, {"mail", through("core")}}});
   follow(*client, [&] { return picture_["edge/web/10"].policy_action().has_out(); });
   EXPECT_EQ(packets("edge/web/10"), 5U);

   set("edge", {{20, {"mail", through("core")}}, {30, {"web", drop()}}});
   follow(*client, [&] { return picture_.contains("edge/web/30") && !picture_.contains("edge/web/10"); });
   EXPECT_EQ(packets("edge/web/30"), 0U);
   apply("edge", false);
   follow(*client, [&] { return picture_.empty(); });
}

TEST_F(PolicyCountersSystem, aRuleThatComesBackBeginsFromZero) {
   set("edge", {{10, {"web", drop()}}});
   apply("edge");
   count("edge rule web packets 5 bytes 500");
   const auto client = watch();
   follow(*client, [&] { return packets("edge/web/10") == 5; });
   const auto before = picture_["edge/web/10"].key();
   apply("edge", false);
   follow(*client, [&] { return picture_.empty(); });
   apply("edge");
   follow(*client, [&] { return picture_.contains("edge/web/10"); });
   EXPECT_EQ(packets("edge/web/10"), 0U);
   EXPECT_NE(picture_["edge/web/10"].key(), before);
}

TEST_F(PolicyCountersSystem, whoeverComesLateBeginsWithTheSamePicture) {
   set("edge", {{10, {"web", drop()}}, {20, {"mail", drop()}}});
   apply("edge");
   count("edge rule web packets 5 bytes 500");
   const auto early = watch();
   follow(*early, [&] { return snapshotEnded_ && packets("edge/web/10") == 5 && picture_.size() == 2; });
   const auto known = std::exchange(names_, {});
   picture_.clear();
   snapshotEnded_ = false;
   const auto late = watch();
   follow(*late, [&] { return snapshotEnded_; });
   EXPECT_EQ(names_, known);
   EXPECT_EQ(packets("edge/web/10"), 5U);
   EXPECT_EQ(picture_.size(), 2U);
}

}  // namespace
}  // namespace orvtest
