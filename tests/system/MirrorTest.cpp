// The mirror services of a daemon: what one client or the operator changes reaches every other client.
#include <grpcpp/grpcpp.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "OrvSdkRpcProtos/acl.grpc.pb.h"
#include "OrvSdkRpcProtos/agent.grpc.pb.h"
#include "testing/base/TempDir.h"
#include "testing/process/Console.h"
#include "testing/process/Daemon.h"
#include "testing/server/StreamClient.h"

namespace orvtest {
namespace {

namespace remote = orv::remote;

class Mirror : public testing::Test {
protected:
   Mirror() : daemon_(programPath("orvsdkrpcd"), directory_.path()) { daemon_.start(); }

   // A client on a connection of its own.
   template <class Rpc>
   std::unique_ptr<typename Rpc::Stub> client() const {
      grpc::ChannelArguments arguments;
      arguments.SetInt(GRPC_ARG_USE_LOCAL_SUBCHANNEL_POOL, 1);
      return Rpc::NewStub(
           grpc::CreateCustomChannel(daemon_.address(), grpc::InsecureChannelCredentials(), arguments));
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

   TempDir directory_{"orv-mirror-"};
   Daemon daemon_;
};

// ---------------------------------------------------------------- access control lists

using AclStub = remote::AclMgrService::Stub;

class MirrorAcl : public Mirror {
protected:
   // A client that has subscribed and so misses no event. There are three, each on a connection of its own.
   struct Watcher {
      explicit Watcher(std::unique_ptr<AclStub> client)
           : stub(std::move(client)), stream(*stub, &AclStub::watch, asking()) {
         const auto ack = stream.next();
         EXPECT_TRUE(ack && ack->ack());
      }
      static remote::AclWatchRequest asking() {
         remote::AclWatchRequest request;
         request.set_ack(true);
         return request;
      }
      std::unique_ptr<AclStub> stub;
      orvtest::StreamClient<remote::AclWatchResponse> stream;
   };

   MirrorAcl() {
      for (int i = 0; i < 3; ++i)
         watchers_.push_back(std::make_unique<Watcher>(client<remote::AclMgrService>()));
   }

   template <class Rq>
   static Rq withKey(const std::string& name) {
      Rq request;
      request.mutable_key()->set_acl_name(name);
      request.mutable_key()->set_acl_type(remote::ACL_TYPE_IPV4);
      return request;
   }
   void permitTcpTo(const std::string& name, std::uint32_t port) {
      auto request = withKey<remote::AclRuleSetRequest>(name);
      request.set_seq(10);
      auto& rule = *request.mutable_ip_rule();
      rule.mutable_base()->set_action(remote::ACL_ACTION_PERMIT);
      rule.set_ip_protocol(6);
      rule.mutable_destination_port()->set_oper(remote::ACL_RANGE_OPERATOR_EQ);
      rule.mutable_destination_port()->add_ports(port);
      ok(*editor_, &AclStub::acl_rule_set, request);
   }
   void apply(const std::string& name, const std::string& intf, bool on = true) {
      auto request = withKey<remote::AclApplyRequest>(name);
      request.mutable_intf()->set_name(intf);
      request.set_direction(remote::ACL_DIRECTION_IN);
      request.set_apply(on);
      ok(*editor_, &AclStub::acl_apply, request);
   }
   void commit() { ok(*editor_, &AclStub::acl_commit, remote::AclCommitRequest()); }
   // Every watcher receives the sync event.
   void expectSync() {
      for (const auto& watcher : watchers_) {
         const auto event = watcher->stream.next();
         ASSERT_TRUE(event);
         EXPECT_EQ(event->acl_event_case(), remote::AclWatchResponse::kOnAclSync);
      }
   }

   std::unique_ptr<AclStub> editor_ = client<remote::AclMgrService>();
   std::unique_ptr<AclStub> reader_ = client<remote::AclMgrService>();
   std::vector<std::unique_ptr<Watcher>> watchers_;
};

TEST_F(MirrorAcl, aCommitReachesEveryWatcherAndReader) {
   permitTcpTo("web", 80);
   const auto exists = withKey<remote::AclExistsRequest>("web");
   const auto allExists = withKey<remote::AclAllExistsRequest>("web");
   EXPECT_TRUE(ok(*reader_, &AclStub::acl_exists, exists).exists());
   EXPECT_FALSE(ok(*reader_, &AclStub::acl_all_exists, allExists).exists());
   commit();
   expectSync();
   EXPECT_TRUE(ok(*reader_, &AclStub::acl_all_exists, allExists).exists());

   const auto rules = orvtest::StreamClient<remote::AclAllRuleIpsResponse>(
                           *reader_, &AclStub::acl_all_rule_ips, withKey<remote::AclAllRuleIpsRequest>("web"))
                           .rest();
   ASSERT_EQ(rules.size(), 1u);
   EXPECT_EQ(rules[0].entry().seq(), 10u);
   EXPECT_EQ(rules[0].entry().rule().ip_protocol(), 6u);
   EXPECT_EQ(rules[0].entry().rule().base().action(), remote::ACL_ACTION_PERMIT);
   ASSERT_EQ(rules[0].entry().rule().destination_port().ports_size(), 1);
   EXPECT_EQ(rules[0].entry().rule().destination_port().ports(0), 80u);
   const auto lists =
        orvtest::StreamClient<remote::AclsAllResponse>(*reader_, &AclStub::acls_all, remote::AclsAllRequest())
             .rest();
   ASSERT_EQ(lists.size(), 1u);
   EXPECT_EQ(lists[0].key().acl_name(), "web");
}

TEST_F(MirrorAcl, aCommitThatFailsAnswersOkAndTellsEveryWatcherLater) {
   permitTcpTo("web", 80);
   apply("web", "Ethernet1");
   commit();
   expectSync();
   ok(*editor_, &AclStub::acl_del, withKey<remote::AclDelRequest>("web"));
   permitTcpTo("zone", 53);
   commit();
   for (const auto& watcher : watchers_) {
      const auto event = watcher->stream.next();
      ASSERT_TRUE(event);
      ASSERT_EQ(event->acl_event_case(), remote::AclWatchResponse::kOnAclSyncFail);
      EXPECT_EQ(event->on_acl_sync_fail().source(), "web (ipv4)");
      EXPECT_EQ(event->on_acl_sync_fail().message(),
                "ACL web (ipv4) is deleted but applied to interface Ethernet1 in");
   }
   EXPECT_FALSE(ok(*reader_, &AclStub::acl_exists, withKey<remote::AclExistsRequest>("web")).exists());
   EXPECT_TRUE(ok(*reader_, &AclStub::acl_all_exists, withKey<remote::AclAllExistsRequest>("web")).exists());
   EXPECT_TRUE(ok(*reader_, &AclStub::acl_all_exists, withKey<remote::AclAllExistsRequest>("zone")).exists());

   // The next event is that of the next commit.
   apply("web", "Ethernet1", false);
   commit();
   expectSync();
   EXPECT_FALSE(ok(*reader_, &AclStub::acl_all_exists, withKey<remote::AclAllExistsRequest>("web")).exists());
}

TEST_F(MirrorAcl, theControlPlaneAnswersFromTheRules) {
   remote::StreamAllowedRequest request;
   request.set_src(std::string("\x0a\0\0\x01", 4));
   request.set_dst(std::string("\x0a\0\0\x02", 4));
   request.set_ip_protocol(6);
   request.set_src_port(40000);
   const auto allowed = [&](std::uint32_t port) {
      request.set_dst_port(port);
      return ok(*reader_, &AclStub::stream_allowed, request).allowed();
   };
   EXPECT_TRUE(allowed(80));
   EXPECT_TRUE(allowed(22));
   permitTcpTo("mgmt", 22);
   apply("mgmt", "Loopback0");
   commit();
   expectSync();
   EXPECT_FALSE(allowed(80));
   EXPECT_TRUE(allowed(22));
}

TEST_F(MirrorAcl, theControlPlaneRefusesWhatIsNoPacket) {
   const std::string v4("\x0a\0\0\x01", 4), v6(16, '\1');
   const auto code = [&](const std::string& src, const std::string& dst, std::uint32_t protocol,
                         std::uint32_t srcPort, std::uint32_t dstPort) {
      remote::StreamAllowedRequest request;
      request.set_src(src);
      request.set_dst(dst);
      request.set_ip_protocol(protocol);
      request.set_src_port(srcPort);
      request.set_dst_port(dstPort);
      grpc::ClientContext context;
      remote::StreamAllowedResponse response;
      return reader_->stream_allowed(&context, request, &response).error_code();
   };
   EXPECT_EQ(code(v4, v4, 255, 65535, 65535), grpc::StatusCode::OK);
   EXPECT_EQ(code(v6, v6, 6, 1, 1), grpc::StatusCode::OK);
   for (const auto& [src, dst] : {std::pair{std::string(), std::string()}, {v4, ""}, {"", v4}, {v4, v6}})
      EXPECT_EQ(code(src, dst, 6, 1, 1), grpc::StatusCode::INVALID_ARGUMENT)
           << src.size() << " " << dst.size();
   EXPECT_EQ(code(v4, v4, 256, 1, 1), grpc::StatusCode::OUT_OF_RANGE);
   EXPECT_EQ(code(v4, v4, 6, 65536, 1), grpc::StatusCode::OUT_OF_RANGE);
   EXPECT_EQ(code(v4, v4, 6, 1, 65536), grpc::StatusCode::OUT_OF_RANGE);

   remote::DgramAllowedRequest datagram;
   datagram.set_src(v4);
   datagram.set_dst(v4);
   datagram.mutable_intf()->set_name("Ethernet99");
   grpc::ClientContext context;
   remote::DgramAllowedResponse response;
   EXPECT_EQ(reader_->dgram_allowed(&context, datagram, &response).error_code(),
             grpc::StatusCode::INVALID_ARGUMENT);
}

TEST_F(MirrorAcl, whatTheSwitchRefusesReachesTheClientInItsWords) {
   grpc::ClientContext context;
   remote::AclDelResponse response;
   const grpc::Status status = editor_->acl_del(&context, remote::AclDelRequest(), &response);
   EXPECT_EQ(status.error_code(), grpc::StatusCode::INVALID_ARGUMENT);
   EXPECT_NE(status.error_message(), "");

   // The third item of a bulk fails: the first two stay.
   remote::BulkAclRuleSetRequest bulk;
   for (const char* name : {"one", "two", "", "four"}) {
      *bulk.add_requests() = withKey<remote::AclRuleSetRequest>(name);
      bulk.mutable_requests(bulk.requests_size() - 1)->mutable_ip_rule()->set_ip_protocol(6);
   }
   const auto reply = ok(*editor_, &AclStub::bulk_acl_rule_set, bulk);
   EXPECT_EQ(reply.count(), 2u);
   EXPECT_EQ(reply.status().code(), remote::RPC_RESPONSE_STATUS_CODE_INVALID_ARGUMENT);
   const auto lists =
        orvtest::StreamClient<remote::AclsResponse>(*reader_, &AclStub::acls, remote::AclsRequest()).rest();
   ASSERT_EQ(lists.size(), 2u);
   EXPECT_EQ(lists[0].key().acl_name(), "one");
   EXPECT_EQ(lists[1].key().acl_name(), "two");
}

// ---------------------------------------------------------------- the agent

using AgentStub = remote::AgentService::Stub;

class MirrorAgent : public Mirror {
protected:
   using Watch = orvtest::StreamClient<remote::WatchAgentResponse>;

   template <class Rq>
   static Rq named(const std::string& name) {
      Rq request;
      request.set_name(name);
      return request;
   }

   std::unique_ptr<AgentStub> one_ = client<remote::AgentService>();
   std::unique_ptr<AgentStub> two_ = client<remote::AgentService>();
};

TEST_F(MirrorAgent, anOptionOfTheConsoleReachesEveryWatcher) {
   remote::WatchAgentRequest request;
   request.set_ack(true);
   Watch first(*one_, &AgentStub::watch, request);
   Watch second(*two_, &AgentStub::watch, request);
   for (Watch* watch : {&first, &second}) {
      const auto ack = watch->next();
      ASSERT_TRUE(ack && ack->ack());
   }
   Console console(daemon_.consolePath());
   console.run("set agent option colour red");
   console.run("unset agent option colour");
   for (Watch* watch : {&first, &second}) {
      const auto set = watch->next();
      ASSERT_TRUE(set);
      EXPECT_EQ(set->agent_option().name(), "colour");
      EXPECT_EQ(set->agent_option().value(), "red");
      const auto gone = watch->next();
      ASSERT_TRUE(gone);
      EXPECT_EQ(gone->agent_option().name(), "colour");
      EXPECT_EQ(gone->agent_option().value(), "");
   }
   EXPECT_FALSE(ok(*two_, &AgentStub::agent_option_exists, named<remote::AgentOptionExistsRequest>("colour"))
                     .exists());
   console.run("set agent option size 7");
   EXPECT_EQ(ok(*one_, &AgentStub::agent_option, named<remote::AgentOptionRequest>("size")).value(), "7");
   const auto names = orvtest::StreamClient<remote::AgentOptionsResponse>(*one_, &AgentStub::agent_options,
                                                                          remote::AgentOptionsRequest())
                           .rest();
   ASSERT_EQ(names.size(), 1u);
   EXPECT_EQ(names[0].name(), "size");
}

TEST_F(MirrorAgent, aStatusEntryIsThereForOthersAndAfterAKill) {
   auto set = named<remote::AgentStatusSetRequest>("epoch");
   set.set_value("8");
   ok(*one_, &AgentStub::status_set, set);
   const auto get = named<remote::AgentStatusRequest>("epoch");
   EXPECT_EQ(ok(*two_, &AgentStub::status, get).value(), "8");
   daemon_.kill();
   daemon_.start();
   const auto after = client<remote::AgentService>();
   EXPECT_EQ(ok(*after, &AgentStub::status, get).value(), "8");
   ok(*after, &AgentStub::status_del, named<remote::AgentStatusDelRequest>("epoch"));
   EXPECT_TRUE(orvtest::StreamClient<remote::AgentStatusesResponse>(*after, &AgentStub::statuses,
                                                                    remote::AgentStatusesRequest())
                    .rest()
                    .empty());
}

TEST_F(MirrorAgent, theAgentTellsOfItsLife) {
   EXPECT_TRUE(ok(*one_, &AgentStub::enabled, remote::AgentEnabledRequest()).enabled());
   const double first = ok(*one_, &AgentStub::agent_uptime, remote::AgentUptimeRequest()).uptime();
   const double second = ok(*one_, &AgentStub::agent_uptime, remote::AgentUptimeRequest()).uptime();
   EXPECT_GT(first, 0);
   EXPECT_GT(second, first);
   EXPECT_GT(ok(*one_, &AgentStub::agent_id, named<remote::AgentIdRequest>("OrvSdkRpc")).id(), 0u);
   EXPECT_EQ(ok(*one_, &AgentStub::agent_id, named<remote::AgentIdRequest>("nobody")).id(), 0u);
   remote::AgentPingRequest ping;
   ping.set_payload("p");
   const auto pong = ok(*one_, &AgentStub::ping, ping);
   EXPECT_EQ(pong.payload(), "p");
   EXPECT_GT(pong.received(), 0);
   EXPECT_GE(pong.responded(), pong.received());
}

TEST_F(MirrorAgent, openWatchesDoNotHoldUpTheEnd) {
   std::vector<std::unique_ptr<Watch>> watches;
   remote::WatchAgentRequest request;
   request.set_ack(true);
   for (int i = 0; i < 50; ++i) {
      watches.push_back(std::make_unique<Watch>(*one_, &AgentStub::watch, request));
      ASSERT_TRUE(watches.back()->next());
   }
   EXPECT_EQ(daemon_.terminate(), (Ending{.exitCode = 0})) << daemon_.child().log();
   for (const auto& watch : watches)
      EXPECT_FALSE(watch->next());
}

}  // namespace
}  // namespace orvtest
