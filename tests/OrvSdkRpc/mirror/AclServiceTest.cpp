#include "OrvSdkRpc/mirror/AclService.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "orv/error.h"
#include "orv/lock.h"
#include "testing/base/Eventually.h"
#include "testing/mock/MockAclMgr.h"
#include "testing/sdk/Iterators.h"
#include "testing/server/MainLoop.h"
#include "testing/server/MirrorFixture.h"

namespace OrvSdkRpc {
namespace {

namespace remote = orv::remote;
using orvtest::iterOver;
using testing::An;
using testing::InSequence;
using testing::Return;
using testing::Throw;
using Words = orv::invalid_argument_error;

const orv::acl_key_t webKey("web", orv::acl_type_t::ipv4);
const orv::acl_key_t noKey;
constexpr char refused[] = "no such thing";

remote::AclKey wireKey(const std::string& name = "web", remote::AclType type = remote::ACL_TYPE_IPV4) {
   remote::AclKey wire;
   wire.set_acl_name(name);
   wire.set_acl_type(type);
   return wire;
}
template <class Rq>
Rq withKey(const std::string& name = "web") {
   Rq request;
   *request.mutable_key() = wireKey(name);
   return request;
}
remote::AclRuleSetRequest ipRule(const std::string& name, std::uint32_t seq, std::uint32_t protocol) {
   auto request = withKey<remote::AclRuleSetRequest>(name);
   request.set_seq(seq);
   request.mutable_ip_rule()->set_ip_protocol(protocol);
   return request;
}
MATCHER_P(withProtocol, protocol, "") {
   return arg.ip_protocol() == protocol;
}
MATCHER_P(withVlan, vlan, "") {
   return arg.vlan() == vlan;
}

// How often the SDK's lock was released. Read it with the lock held.
class LockReleases {
public:
   LockReleases() {
      const Zelt::ActivityLockAnchor lock;
      Zelt::activityLock().setReleaseHook([](void* n) { ++*static_cast<std::size_t*>(n); }, &count_);
   }
   ~LockReleases() {
      const Zelt::ActivityLockAnchor lock;
      Zelt::activityLock().setReleaseHook(nullptr, nullptr);
   }
   LockReleases(const LockReleases&) = delete;
   LockReleases& operator=(const LockReleases&) = delete;

   std::size_t count() const { return count_; }

private:
   std::size_t count_ = 0;
};

class AclServiceTest : public MainLoop,
                       public orvtest::MirrorFixture<AclService, remote::AclMgrService, orvtest::MockAclMgr> {
protected:
   using WatchClient = orvtest::StreamClient<remote::AclWatchResponse>;

   WatchClient watch(bool ack) {
      remote::AclWatchRequest request;
      request.set_ack(ack);
      return {*stub_, &Stub::watch, request};
   }
   // Serves a bulk of three items; the second one fails.
   template <class Rq, class Rp>
   void expectBulkStopsAtTheSecond(grpc::Status (Stub::*rpc)(grpc::ClientContext*, const Rq&, Rp*),
                                   const Rq& bulk) {
      ASSERT_EQ(bulk.requests_size(), 3);
      const Rp response = ok(rpc, bulk);
      EXPECT_EQ(response.count(), 1U);
      EXPECT_EQ(response.status().code(), remote::RPC_RESPONSE_STATUS_CODE_INVALID_ARGUMENT);
      EXPECT_EQ(response.status().message(), refused);
   }
};

TEST_F(AclServiceTest, existsAsksForTheKeyUnderTheLock) {
   EXPECT_CALL(mgr_, acl_exists(webKey)).WillOnce([](const orv::acl_key_t&) {
      EXPECT_TRUE(locked());
      return true;
   });
   EXPECT_CALL(mgr_, acl_all_exists(webKey))
        .WillOnce([](const orv::acl_key_t&) {
           EXPECT_TRUE(locked());
           return true;
        })
        .WillOnce(Return(false));
   EXPECT_TRUE(ok(&Stub::acl_exists, withKey<remote::AclExistsRequest>()).exists());
   EXPECT_TRUE(ok(&Stub::acl_all_exists, withKey<remote::AclAllExistsRequest>()).exists());
   EXPECT_FALSE(ok(&Stub::acl_all_exists, withKey<remote::AclAllExistsRequest>()).exists());
}

TEST_F(AclServiceTest, aRequestWithoutAKeyWorksOnTheDefaultKey) {
   EXPECT_CALL(mgr_, acl_exists(noKey)).WillOnce(Throw(Words(refused)));
   fails(&Stub::acl_exists, remote::AclExistsRequest(), grpc::StatusCode::INVALID_ARGUMENT, refused);
   EXPECT_CALL(mgr_, acl_rule_ip_iter(noKey)).WillOnce(Throw(Words(refused)));
   listFails(&Stub::acl_rule_ips, remote::AclRuleIpsRequest(), grpc::StatusCode::INVALID_ARGUMENT, refused);
   EXPECT_CALL(mgr_, acl_rule_del(noKey, 0)).WillOnce(Return());
   ok(&Stub::acl_rule_del, remote::AclRuleDelRequest());
}

TEST_F(AclServiceTest, aBadKeyNeverReachesTheSwitch) {
   remote::AclDelRequest request;
   *request.mutable_key() = wireKey("web", static_cast<remote::AclType>(9));
   fails(&Stub::acl_del, request, grpc::StatusCode::INVALID_ARGUMENT, "Unknown value for Acl type: 9");
}

TEST_F(AclServiceTest, listsComeInTheSwitchesOrder) {
   EXPECT_CALL(mgr_, acl_iter())
        .WillOnce(Return(iterOver<orv::acl_iter_t>({webKey, {"ssh", orv::acl_type_t::eth}})));
   const auto own = list(&Stub::acls, remote::AclsRequest());
   ASSERT_EQ(own.size(), 2U);
   EXPECT_EQ(own[0].key().acl_name(), "web");
   EXPECT_EQ(own[0].key().acl_type(), remote::ACL_TYPE_IPV4);
   EXPECT_EQ(own[1].key().acl_name(), "ssh");
   EXPECT_EQ(own[1].key().acl_type(), remote::ACL_TYPE_ETH);

   EXPECT_CALL(mgr_, acl_all_iter()).WillOnce(Return(iterOver<orv::acl_iter_t>({webKey})));
   const auto all = list(&Stub::acls_all, remote::AclsAllRequest());
   ASSERT_EQ(all.size(), 1U);
   EXPECT_EQ(all[0].key().acl_name(), "web");

   EXPECT_CALL(mgr_, acl_iter()).WillOnce(Return(orv::acl_iter_t()));
   EXPECT_TRUE(list(&Stub::acls, remote::AclsRequest()).empty());
}

TEST_F(AclServiceTest, ipRulesComeWithTheirSequenceNumbers) {
   orv::acl_rule_ip_t tcp;
   tcp.ip_protocol_is(6);
   orv::acl_rule_ip_t udp;
   udp.ip_protocol_is(17);
   EXPECT_CALL(mgr_, acl_rule_ip_iter(webKey))
        .WillOnce(Return(iterOver<orv::acl_rule_ip_iter_t>({{10, tcp}, {20, udp}})));
   const auto own = list(&Stub::acl_rule_ips, withKey<remote::AclRuleIpsRequest>());
   ASSERT_EQ(own.size(), 2U);
   EXPECT_EQ(own[0].entry().seq(), 10U);
   EXPECT_EQ(own[0].entry().rule().ip_protocol(), 6U);
   EXPECT_EQ(own[1].entry().seq(), 20U);
   EXPECT_EQ(own[1].entry().rule().ip_protocol(), 17U);

   EXPECT_CALL(mgr_, acl_all_rule_ip_iter(webKey))
        .WillOnce(Return(iterOver<orv::acl_rule_ip_iter_t>({{30, udp}})));
   const auto all = list(&Stub::acl_all_rule_ips, withKey<remote::AclAllRuleIpsRequest>());
   ASSERT_EQ(all.size(), 1U);
   EXPECT_EQ(all[0].entry().seq(), 30U);
   EXPECT_EQ(all[0].entry().rule().ip_protocol(), 17U);
}

TEST_F(AclServiceTest, ethRulesComeWithTheirSequenceNumbers) {
   orv::acl_rule_eth_t rule;
   rule.vlan_is(100);
   EXPECT_CALL(mgr_, acl_rule_eth_iter(webKey))
        .WillOnce(Return(iterOver<orv::acl_rule_eth_iter_t>({{10, rule}})));
   EXPECT_CALL(mgr_, acl_all_rule_eth_iter(webKey))
        .WillOnce(Return(iterOver<orv::acl_rule_eth_iter_t>({{20, rule}})));
   const auto own = list(&Stub::acl_rule_eths, withKey<remote::AclRuleEthsRequest>());
   const auto all = list(&Stub::acl_all_rule_eths, withKey<remote::AclAllRuleEthsRequest>());
   ASSERT_EQ(own.size(), 1U);
   EXPECT_EQ(own[0].entry().seq(), 10U);
   EXPECT_EQ(own[0].entry().rule().vlan(), 100U);
   ASSERT_EQ(all.size(), 1U);
   EXPECT_EQ(all[0].entry().seq(), 20U);
   EXPECT_EQ(all[0].entry().rule().vlan(), 100U);
}

TEST_F(AclServiceTest, aRuleIsSetByItsKind) {
   EXPECT_CALL(mgr_, acl_rule_set(webKey, 10, testing::Matcher<const orv::acl_rule_ip_t&>(withProtocol(6))));
   ok(&Stub::acl_rule_set, ipRule("web", 10, 6));

   EXPECT_CALL(mgr_, acl_rule_set(webKey, 20, testing::Matcher<const orv::acl_rule_eth_t&>(withVlan(100))));
   auto request = withKey<remote::AclRuleSetRequest>();
   request.set_seq(20);
   request.mutable_eth_rule()->set_vlan(100);
   ok(&Stub::acl_rule_set, request);
}

TEST_F(AclServiceTest, aSetWithoutARuleAnswersOkAndChangesNothing) {
   // The mock is strict: no operation is called.
   ok(&Stub::acl_rule_set, withKey<remote::AclRuleSetRequest>());
   // The key is not even checked.
   remote::AclRuleSetRequest request;
   *request.mutable_key() = wireKey("web", static_cast<remote::AclType>(9));
   ok(&Stub::acl_rule_set, request);
}

TEST_F(AclServiceTest, ofABadRuleAndABadKeyTheRuleIsReported) {
   auto request = ipRule("web", 10, 256);
   request.mutable_key()->set_acl_type(static_cast<remote::AclType>(9));
   fails(&Stub::acl_rule_set, request, grpc::StatusCode::INVALID_ARGUMENT, "IP protocol 256 is out of range");
}

TEST_F(AclServiceTest, aRuleWithABadPortIsNotSet) {
   // The mock is strict.
   auto request = ipRule("web", 10, 6);
   auto& ports = *request.mutable_ip_rule()->mutable_source_port();
   ports.add_ports(80);
   ports.add_ports(70000);
   fails(&Stub::acl_rule_set, request, grpc::StatusCode::INVALID_ARGUMENT, "port 70000 is out of range");
}

TEST_F(AclServiceTest, theSwitchesErrorsBecomeTheStatusOfTheCall) {
   EXPECT_CALL(mgr_, acl_rule_set(webKey, 10, An<const orv::acl_rule_ip_t&>()))
        .WillOnce(Throw(orv::invalid_range_error("too many")))
        .WillOnce(Throw(orv::unsupported_error("not this rule")))
        .WillOnce(Throw(orv::error("table full")));
   const auto request = ipRule("web", 10, 6);
   fails(&Stub::acl_rule_set, request, grpc::StatusCode::OUT_OF_RANGE, "too many");
   fails(&Stub::acl_rule_set, request, grpc::StatusCode::UNIMPLEMENTED, "not this rule");
   fails(&Stub::acl_rule_set, request, grpc::StatusCode::INTERNAL, "table full");
}

TEST_F(AclServiceTest, editsReachTheSwitchAsTheyAre) {
   EXPECT_CALL(mgr_, acl_rule_del(webKey, 10));
   auto ruleDel = withKey<remote::AclRuleDelRequest>();
   ruleDel.set_seq(10);
   ok(&Stub::acl_rule_del, ruleDel);

   EXPECT_CALL(mgr_, acl_del(webKey));
   ok(&Stub::acl_del, withKey<remote::AclDelRequest>());

   const orv::intf_id_t intf("Ethernet1");
   EXPECT_CALL(mgr_, acl_apply(webKey, intf, orv::acl_direction_t::out, true));
   auto apply = withKey<remote::AclApplyRequest>();
   apply.mutable_intf()->set_name("Ethernet1");
   apply.set_direction(remote::ACL_DIRECTION_OUT);
   apply.set_apply(true);
   ok(&Stub::acl_apply, apply);

   EXPECT_CALL(mgr_, acl_counters_enabled_set(webKey, true));
   auto counters = withKey<remote::AclCountersEnabledSetRequest>();
   counters.set_enabled(true);
   ok(&Stub::acl_counters_enabled_set, counters);

   EXPECT_CALL(mgr_, acl_fragments_enabled_set(webKey, true));
   auto fragments = withKey<remote::AclFragmentsEnabledSetRequest>();
   fragments.set_enabled(true);
   ok(&Stub::acl_fragments_enabled_set, fragments);

   EXPECT_CALL(mgr_, acl_commit());
   ok(&Stub::acl_commit, remote::AclCommitRequest());
}

TEST_F(AclServiceTest, aBulkOfRulesIsSetInOrderUnderOneLockUpToTheFirstFailure) {
   const LockReleases releases;
   std::size_t before = 0;
   const InSequence order;
   EXPECT_CALL(mgr_, acl_rule_set(webKey, 1, testing::Matcher<const orv::acl_rule_ip_t&>(withProtocol(6))))
        .WillOnce([&](const orv::acl_key_t&, unsigned, const orv::acl_rule_ip_t&) {
           EXPECT_TRUE(locked());
           before = releases.count();
        });
   EXPECT_CALL(mgr_, acl_rule_set(webKey, 2, An<const orv::acl_rule_ip_t&>()))
        .WillOnce([&](const orv::acl_key_t&, unsigned, const orv::acl_rule_ip_t&) {
           EXPECT_TRUE(locked());
           EXPECT_EQ(releases.count(), before) << "the lock was free between two items";
           throw Words(refused);
        });
   remote::BulkAclRuleSetRequest bulk;
   for (std::uint32_t seq = 1; seq <= 3; ++seq)
      *bulk.add_requests() = ipRule("web", seq, 6);
   expectBulkStopsAtTheSecond(&Stub::bulk_acl_rule_set, bulk);

   // An item that cannot be converted counts as failed, an item without a rule as successful.
   bulk.Clear();
   *bulk.add_requests() = withKey<remote::AclRuleSetRequest>();
   *bulk.add_requests() = ipRule("web", 1, 256);
   const auto response = ok(&Stub::bulk_acl_rule_set, bulk);
   EXPECT_EQ(response.count(), 1U);
   EXPECT_EQ(response.status().code(), remote::RPC_RESPONSE_STATUS_CODE_INVALID_ARGUMENT);
}

TEST_F(AclServiceTest, everyOtherBulkDoesWhatItsUnaryFormDoes) {
   const InSequence order;
   const orv::acl_key_t one("one", orv::acl_type_t::ipv4);
   const orv::acl_key_t two("two", orv::acl_type_t::ipv4);
   const auto fill = [](auto& bulk) {
      for (const char* name : {"one", "two", "three"})
         *bulk.add_requests()->mutable_key() = wireKey(name);
   };

   EXPECT_CALL(mgr_, acl_rule_del(one, 0));
   EXPECT_CALL(mgr_, acl_rule_del(two, 0)).WillOnce(Throw(Words(refused)));
   remote::BulkAclRuleDelRequest ruleDels;
   fill(ruleDels);
   expectBulkStopsAtTheSecond(&Stub::bulk_acl_rule_del, ruleDels);

   EXPECT_CALL(mgr_, acl_del(one));
   EXPECT_CALL(mgr_, acl_del(two)).WillOnce(Throw(Words(refused)));
   remote::BulkAclDelRequest dels;
   fill(dels);
   expectBulkStopsAtTheSecond(&Stub::bulk_acl_del, dels);

   EXPECT_CALL(mgr_, acl_apply(one, orv::intf_id_t(), orv::acl_direction_t::none, false));
   EXPECT_CALL(mgr_, acl_apply(two, orv::intf_id_t(), orv::acl_direction_t::none, false))
        .WillOnce(Throw(Words(refused)));
   remote::BulkAclApplyRequest applies;
   fill(applies);
   expectBulkStopsAtTheSecond(&Stub::bulk_acl_apply, applies);

   EXPECT_CALL(mgr_, acl_counters_enabled_set(one, false));
   EXPECT_CALL(mgr_, acl_counters_enabled_set(two, false)).WillOnce(Throw(Words(refused)));
   remote::BulkAclCountersEnabledSetRequest counters;
   fill(counters);
   expectBulkStopsAtTheSecond(&Stub::bulk_acl_counters_enabled_set, counters);

   EXPECT_CALL(mgr_, acl_fragments_enabled_set(one, false));
   EXPECT_CALL(mgr_, acl_fragments_enabled_set(two, false)).WillOnce(Throw(Words(refused)));
   remote::BulkAclFragmentsEnabledSetRequest fragments;
   fill(fragments);
   expectBulkStopsAtTheSecond(&Stub::bulk_acl_fragments_enabled_set, fragments);
}

constexpr char src4[] = {10, 0, 0, 1};
constexpr char dst4[] = {10, 0, 0, 2};

template <class Rq>
Rq withAddresses(std::string src = {src4, sizeof(src4)}, std::string dst = {dst4, sizeof(dst4)}) {
   Rq request;
   request.set_src(std::move(src));
   request.set_dst(std::move(dst));
   return request;
}

TEST_F(AclServiceTest, streamAllowedPassesItsNumbersInOrder) {
   EXPECT_CALL(mgr_, stream_allowed(orv::ip_addr_t("10.0.0.1"), orv::ip_addr_t("10.0.0.2"), 1, 2, 3))
        .WillOnce(Return(true))
        .WillOnce(Return(false));
   auto request = withAddresses<remote::StreamAllowedRequest>();
   request.set_ip_protocol(1);
   request.set_src_port(2);
   request.set_dst_port(3);
   EXPECT_TRUE(ok(&Stub::stream_allowed, request).allowed());
   EXPECT_FALSE(ok(&Stub::stream_allowed, request).allowed());
}

TEST_F(AclServiceTest, dgramAllowedPassesItsNumbersInOrder) {
   EXPECT_CALL(mgr_, dgram_allowed(orv::ip_addr_t("10.0.0.1"), orv::ip_addr_t("10.0.0.2"),
                                   orv::intf_id_t("Ethernet1"), 1, 2, 3, 4))
        .WillOnce(Return(true));
   auto request = withAddresses<remote::DgramAllowedRequest>();
   request.mutable_intf()->set_name("Ethernet1");
   request.set_ip_length(1);
   request.set_ip_protocol(2);
   request.set_src_port(3);
   request.set_dst_port(4);
   EXPECT_TRUE(ok(&Stub::dgram_allowed, request).allowed());
}

TEST_F(AclServiceTest, theDestinationIsConvertedBeforeTheSourceAndTheInterfaceBeforeBoth) {
   constexpr auto code = grpc::StatusCode::INVALID_ARGUMENT;
   const std::string badDestination = "bytes length 3 does not match IPv4(4) or IPv6(16)";
   fails(&Stub::stream_allowed, withAddresses<remote::StreamAllowedRequest>("12", "123"), code,
         badDestination);
   fails(&Stub::stream_allowed, withAddresses<remote::StreamAllowedRequest>("12", ""), code,
         "bytes length 2 does not match IPv4(4) or IPv6(16)");
   auto request = withAddresses<remote::DgramAllowedRequest>("12", "123");
   fails(&Stub::dgram_allowed, request, code, badDestination);
   request.mutable_intf()->set_name("not an interface");
   remote::DgramAllowedResponse response;
   const grpc::Status status = call(&Stub::dgram_allowed, request, response);
   EXPECT_EQ(status.error_code(), code);
   EXPECT_NE(status.error_message().find("not an interface"), std::string::npos) << status.error_message();
}

TEST_F(AclServiceTest, theSwitchIsWatchedWhileSomebodyListens) {
   EXPECT_FALSE(sdkWatched());
   {
      WatchClient first = watch(true);
      ASSERT_TRUE(first.next());
      EXPECT_TRUE(sdkWatched());
      {
         WatchClient second = watch(true);
         ASSERT_TRUE(second.next());
      }
      EXPECT_TRUE(orvtest::eventually([&] { return watchers() == 1; }));
      EXPECT_TRUE(sdkWatched());
   }
   EXPECT_TRUE(orvtest::eventually([&] { return !sdkWatched(); }));
   EXPECT_EQ(watchers(), 0U);
   // No stream receives this event.
   callBack([](orv::acl_handler& handler) { handler.on_acl_sync(); });
}

TEST_F(AclServiceTest, everyWatcherHearsHowACommitEnded) {
   WatchClient first = watch(true);
   WatchClient second = watch(true);
   for (WatchClient* client : {&first, &second}) {
      const auto response = client->next();
      ASSERT_TRUE(response);
      EXPECT_EQ(response->acl_event_case(), remote::AclWatchResponse::kAck);
      EXPECT_TRUE(response->ack());
   }
   EXPECT_CALL(mgr_, acl_commit()).Times(2);
   ok(&Stub::acl_commit, remote::AclCommitRequest());
   callBack([](orv::acl_handler& handler) { handler.on_acl_sync(); });
   // A commit that was answered with OK fails later.
   ok(&Stub::acl_commit, remote::AclCommitRequest());
   callBack([](orv::acl_handler& handler) { handler.on_acl_sync_fail("web (ipv4)", "no room"); });
   for (WatchClient* client : {&first, &second}) {
      const auto sync = client->next();
      ASSERT_TRUE(sync);
      EXPECT_EQ(sync->acl_event_case(), remote::AclWatchResponse::kOnAclSync);
      const auto fail = client->next();
      ASSERT_TRUE(fail);
      ASSERT_EQ(fail->acl_event_case(), remote::AclWatchResponse::kOnAclSyncFail);
      EXPECT_EQ(fail->on_acl_sync_fail().source(), "web (ipv4)");
      EXPECT_EQ(fail->on_acl_sync_fail().message(), "no room");
   }
}

TEST_F(AclServiceTest, aWatchThatDoesNotAskForAnAcknowledgementGetsEventsAlone) {
   WatchClient client = watch(false);
   ASSERT_TRUE(orvtest::eventually([&] { return watchers() == 1; }));
   callBack([](orv::acl_handler& handler) { handler.on_acl_sync(); });
   const auto response = client.next();
   ASSERT_TRUE(response);
   EXPECT_EQ(response->acl_event_case(), remote::AclWatchResponse::kOnAclSync);
}

TEST_F(AclServiceTest, eachRpcHasOneHandlerThatWaits) {
   expectOneHandlerPerRpc();
}

}  // namespace
}  // namespace OrvSdkRpc
