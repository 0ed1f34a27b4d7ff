#include "Workload.h"

#include <gtest/gtest.h>

#include <set>

#include "OrvSdkRpcProtos/ip_route.pb.h"
#include "OrvSdkRpcProtos/mpls_route.pb.h"
#include "OrvSdkRpcProtos/orvsdk.pb.h"

namespace bench {
namespace {

namespace pb = OrvSdkRpc::pb;
namespace rpc = orv::remote;

template <class Message>
Message parse(const grpc::ByteBuffer& buffer) {
   std::vector<grpc::Slice> slices;
   EXPECT_TRUE(buffer.Dump(&slices).ok());
   std::string bytes;
   for (const auto& slice : slices)
      bytes.append(reinterpret_cast<const char*>(slice.begin()), slice.size());
   Message message;
   EXPECT_TRUE(message.ParseFromString(bytes));
   return message;
}

TEST(Workload, prefixesDoNotRepeat) {
   for (const auto order : {Order::sequential, Order::random}) {
      std::set<std::uint32_t> seen;
      for (std::uint64_t i = 0; i < 100'000; ++i)
         seen.insert(routeAddress(i, order));
      EXPECT_EQ(seen.size(), 100'000u);
   }
}

TEST(Workload, unaryRoutesCountUpAndTakeTurnsBetweenTheGroups) {
   const auto workload = unaryRoutes(255, 3, Order::sequential);
   EXPECT_EQ(workload->method(), "/OrvSdkRpc.pb.orvsdk_service/ip_route");
   EXPECT_EQ(workload->itemsPerRequest(), 1u);
   const auto first = parse<pb::ip_route_msg>(workload->next());
   const auto second = parse<pb::ip_route_msg>(workload->next());
   EXPECT_EQ(first.prefix().network().address(), std::string("\x10\x00\x00\xff", 4));
   EXPECT_EQ(first.prefix().prefix_length(), 32u);
   EXPECT_EQ(first.nexthop_group_name(), groupName(255 % 3));
   EXPECT_EQ(second.prefix().network().address(), std::string("\x10\x00\x01\x00", 4));
   EXPECT_EQ(second.nexthop_group_name(), groupName(256 % 3));
}

TEST(Workload, bulkRoutesNameEachRouteOnceAndStartOver) {
   const auto workload = bulkRoutes(0, 300, 100, 7, Order::random);
   std::set<std::string> seen;
   grpc::ByteBuffer first;
   for (int bulk = 0; bulk < 3; ++bulk) {
      const auto message = parse<pb::ip_route_bulk_msg>(workload->next());
      EXPECT_EQ(message.bulk_size(), 100);
      for (const auto& route : message.bulk())
         seen.insert(route.prefix().network().address());
   }
   EXPECT_EQ(seen.size(), 300u);
   const auto again = parse<pb::ip_route_bulk_msg>(workload->next());
   EXPECT_TRUE(seen.contains(again.bulk(0).prefix().network().address()));
}

TEST(Workload, bulkGroupsChangeFromPassToPass) {
   const auto workload = bulkGroups(20, 10, 4);
   const auto first = parse<pb::nexthop_group_bulk_msg>(workload->next());
   workload->next();
   const auto again = parse<pb::nexthop_group_bulk_msg>(workload->next());
   ASSERT_EQ(first.bulk_size(), 10);
   ASSERT_EQ(again.bulk_size(), 10);
   EXPECT_EQ(first.bulk(3).nexthops_size(), 4);
   EXPECT_EQ(first.bulk(3).name(), again.bulk(3).name());
   EXPECT_NE(first.bulk(3).nexthops(0).mpls_labels(0), again.bulk(3).nexthops(0).mpls_labels(0));
   EXPECT_LE(again.bulk(3).nexthops(0).mpls_labels(0), 1048575u);
}

TEST(Workload, bulkLabelsNameEachLabelOnceAndTakeTurnsBetweenTheGroups) {
   const auto workload = bulkLabels(300, 100, 7);
   EXPECT_EQ(workload->method(), "/OrvSdkRpc.pb.orvsdk_service/mpls_route_bulk");
   std::set<std::uint32_t> seen;
   for (std::uint64_t bulk = 0; bulk < 3; ++bulk) {
      const auto message = parse<pb::mpls_route_bulk_msg>(workload->next());
      ASSERT_EQ(message.bulk_size(), 100);
      for (const auto& label : message.bulk()) {
         EXPECT_GE(label.label(), 16u);
         seen.insert(label.label());
      }
      EXPECT_EQ(message.bulk(0).nexthop_group_msg().name(), groupName(100 * bulk % 7));
   }
   EXPECT_EQ(seen.size(), 300u);
   // More labels than exist.
   EXPECT_THROW(bulkLabels(std::uint64_t{1} << 20, 1 << 10, 1), std::invalid_argument);
}

TEST(Workload, bulksOfTheMirrorSetEachRouteWithOneViaOverAGroup) {
   const auto workload = bulkMirrorRoutes(300, 100, 7);
   EXPECT_EQ(workload->method(), "/orv.remote.IpRouteMgrService/bulk_ip_route_set");
   EXPECT_EQ(workload->itemsPerRequest(), 100u);
   std::set<std::string> seen;
   for (std::uint64_t bulk = 0; bulk < 3; ++bulk) {
      const auto message = parse<rpc::BulkIpRouteSetRequest>(workload->next());
      ASSERT_EQ(message.requests_size(), 100);
      for (const auto& request : message.requests()) {
         const auto& key = request.ip_route().key();
         seen.insert(key.prefix().network());
         ASSERT_EQ(request.vias_size(), 1);
         EXPECT_EQ(request.vias(0).route_key().SerializeAsString(), key.SerializeAsString());
      }
      EXPECT_EQ(message.requests(0).vias(0).nexthop_group(), groupName(100 * bulk % 7));
   }
   EXPECT_EQ(seen.size(), 300u);
   rpc::BulkIpRouteSetResponse reply;
   ASSERT_TRUE(reply.ParseFromString(workload->expectedReply()));
   EXPECT_TRUE(reply.has_status());
   EXPECT_EQ(reply.count(), 100u);
   EXPECT_THROW(bulkMirrorRoutes(150, 100, 1), std::invalid_argument);
}

TEST(Workload, bulksOfTheMirrorSetEachLabelOnceWithAVersion) {
   const auto workload = bulkMirrorLabels(300, 100, 7);
   EXPECT_EQ(workload->method(), "/orv.remote.MplsRouteMgrService/bulk_mpls_route_set");
   std::set<std::uint32_t> seen;
   for (int bulk = 0; bulk < 3; ++bulk) {
      const auto message = parse<rpc::BulkMplsRouteSetRequest>(workload->next());
      ASSERT_EQ(message.requests_size(), 100);
      for (const auto& request : message.requests()) {
         const auto& key = request.route().key();
         ASSERT_EQ(key.labels_size(), 1);
         EXPECT_GE(key.labels(0).label(), 16u);
         seen.insert(key.labels(0).label());
         EXPECT_NE(request.route().version_id(), 0u);
         ASSERT_EQ(request.vias_size(), 1);
         EXPECT_EQ(request.vias(0).route_key().SerializeAsString(), key.SerializeAsString());
      }
   }
   EXPECT_EQ(seen.size(), 300u);
   EXPECT_THROW(bulkMirrorLabels(std::uint64_t{1} << 20, 1 << 10, 1), std::invalid_argument);
}

TEST(Workload, bulkAndSingleRedirectsAreTheSame) {
   const auto bulk = parse<pb::cbf_nexthop_group_redirect_bulk_msg>(bulkRedirects(10, 10)->next());
   ASSERT_EQ(bulk.bulk_size(), 10);
   const auto singles = singleRedirects(10);
   EXPECT_EQ(singles->itemsPerRequest(), 1u);
   std::set<std::string> matches;
   for (const auto& redirect : bulk.bulk()) {
      EXPECT_EQ(redirect.match_ipv4_dscp_size(), 3);
      EXPECT_EQ(redirect.match_ipv6_dscp_size(), 3);
      EXPECT_NE(redirect.match_nexthop_group_name(), redirect.redirect_nexthop_group_name());
      matches.insert(redirect.match_nexthop_group_name());
      EXPECT_EQ(parse<pb::cbf_nexthop_group_redirect_msg>(singles->next()).SerializeAsString(),
                redirect.SerializeAsString());
   }
   EXPECT_EQ(matches.size(), 10u);
}

TEST(Workload, theExpectedReplyAcceptsEveryItem) {
   pb::rpc_status_bulk_msg reply;
   ASSERT_TRUE(reply.ParseFromString(bulkRoutes(0, 100, 50, 1, Order::sequential)->expectedReply()));
   ASSERT_EQ(reply.statuses_size(), 50);
   for (const auto& status : reply.statuses())
      EXPECT_EQ(status.status(), pb::RPC_STATUS_OK);
}

TEST(Workload, aPartialBulkIsRefused) {
   EXPECT_THROW(bulkRoutes(0, 150, 100, 1, Order::sequential), std::invalid_argument);
   EXPECT_THROW(bulkGroups(0, 100, 4), std::invalid_argument);
}

}  // namespace
}  // namespace bench
