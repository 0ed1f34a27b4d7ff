#include "orvctl/JsonText.h"

#include <google/protobuf/util/message_differencer.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "OrvSdkRpcProtos/orvsdk.pb.h"
#include "OrvSdkRpcProtos/types.pb.h"
#include "orvctl/ExitCode.h"
#include "orvctl/Values.h"

namespace orvctl {
namespace {

namespace pb = OrvSdkRpc::pb;

template <typename Message>
Message read(std::string_view json) {
   Message message;
   messageFromJson("JSON", json, message);
   return message;
}

template <typename Message>
std::string refusalOf(std::string_view json) {
   try {
      read<Message>(json);
   } catch (const UsageError& error) {
      return error.what();
   }
   return "";
}

TEST(JsonText, aPrefixIsTextOrTheCanonicalObject) {
   const auto text = read<pb::ip_route_msg>(R"({"prefix":"10.0.0.0/8","nexthop_group_name":"g"})");
   const auto canonical = read<pb::ip_route_msg>(
        R"({"prefix":{"network":{"address":"CgAAAA=="},"prefix_length":8},"nexthopGroupName":"g"})");
   const auto mixed = read<pb::ip_route_msg>(
        R"({"prefix":{"network":"10.0.0.0","prefixLength":8},"nexthop_group_name":"g"})");
   EXPECT_EQ(prefixText(text.prefix()), "10.0.0.0/8");
   EXPECT_TRUE(google::protobuf::util::MessageDifferencer::Equals(text, canonical));
   EXPECT_TRUE(google::protobuf::util::MessageDifferencer::Equals(text, mixed));
}

TEST(JsonText, addressesWithinListsAreTextToo) {
   const auto group = read<pb::nexthop_group_msg>(
        R"({"name":"g","nexthops":[{"address":"10.0.0.1","mpls_operation":"MPLS_OPERATION_PUSH","mpls_labels":[7]},
                                    {"address":"::1"}]})");
   ASSERT_EQ(group.nexthops_size(), 2);
   EXPECT_EQ(addressText(group.nexthops(0).address()), "10.0.0.1");
   EXPECT_EQ(group.nexthops(0).mpls_operation(), pb::MPLS_OPERATION_PUSH);
   EXPECT_EQ(addressText(group.nexthops(1).address()), "::1");
}

TEST(JsonText, whatIsPrintedReadsBackAlike) {
   const auto group = read<pb::nexthop_group_msg>(
        R"({"name":"g","counters_unshared":true,
            "nexthops":[{"intf":"Ethernet1","address":"2001:db8::1","weight":3,
                         "sbfd_session":{"nexthop":"10.0.0.1","label_stack":[1,2],"dscp":3}}]})");
   const std::string text = messageToJson(group);
   EXPECT_NE(text.find(R"("address":"2001:db8::1")"), std::string::npos) << text;
   EXPECT_EQ(text.find('\n'), std::string::npos);
   EXPECT_TRUE(google::protobuf::util::MessageDifferencer::Equals(read<pb::nexthop_group_msg>(text), group))
        << text;

   const auto route =
        read<pb::ip_route_msg>(R"({"prefix":"2001:db8::/32","tag":7,"nexthop_group_name":"g"})");
   const std::string routeText = messageToJson(route);
   EXPECT_NE(routeText.find(R"("prefix":"2001:db8::/32")"), std::string::npos) << routeText;
   EXPECT_TRUE(google::protobuf::util::MessageDifferencer::Equals(read<pb::ip_route_msg>(routeText), route));
}

TEST(JsonText, aStatusShowsItsDefaults) {
   EXPECT_EQ(messageToJson(pb::rpc_status_msg()), R"({"status":"RPC_STATUS_OK","debug_string":""})");
}

TEST(JsonText, refusalsNameTheValueAndWhatWasExpected) {
   EXPECT_EQ(refusalOf<pb::ip_route_msg>("{"), "JSON is '{', expected JSON of ip_route_msg: error at byte 2");
   EXPECT_EQ(refusalOf<pb::ip_route_msg>("[]"), "JSON is '[]', expected a JSON object of ip_route_msg");
   EXPECT_EQ(refusalOf<pb::ip_route_msg>(R"({"prefix":"10.0.0.1/8"})"),
             "prefix is '10.0.0.1/8', expected a prefix whose bits beyond length 8 are zero");
   EXPECT_NE(refusalOf<pb::ip_route_msg>(R"({"prefx":"10.0.0.0/8"})").find("prefx"), std::string::npos);
   EXPECT_NE(refusalOf<pb::ip_route_msg>(R"({"tag":-1})").find("tag"), std::string::npos);
   EXPECT_NE(refusalOf<pb::ip_route_msg>(R"({"tag":4294967296})").find("tag"), std::string::npos);
   EXPECT_NE(refusalOf<pb::nexthop_group_msg>(R"({"nexthops":[{"mpls_operation":"EAT"}]})").find("EAT"),
             std::string::npos);
}

TEST(JsonText, aTreeIsRefusedByItsPlace) {
   const auto problem = [](const nlohmann::ordered_json& tree) -> std::string {
      pb::ip_route_msg route;
      try {
         messageFromTree("routes line 7", tree, route);
      } catch (const UsageError& error) {
         return error.what();
      }
      return route.prefix().prefix_length() == 8 ? "" : "no prefix";
   };
   EXPECT_EQ(problem({{"prefix", "10.0.0.0/8"}, {"tag", "7"}}), "");
   EXPECT_EQ(problem(7), "routes line 7: expected the fields of ip_route_msg");
   EXPECT_EQ(
        problem({{"prefix", "10.0.0.1/8"}}),
        "routes line 7: expected ip_route_msg: prefix is '10.0.0.1/8', expected a prefix whose bits beyond "
        "length 8 are zero");
   EXPECT_EQ(problem({{"nexthop_group_name", "\xff"}}),
             "routes line 7: expected ip_route_msg: a text is not UTF-8");
   EXPECT_EQ(problem({{"prefx", "10.0.0.0/8"}}).find("routes line 7: expected ip_route_msg: "), 0U);
}

TEST(JsonText, addressesOfTheMirrorServicesAreText) {
   namespace rpc = orv::remote;
   const auto rule = read<rpc::AclRuleEth>(R"({"source_addr":"02:00:00:00:00:01","destination_addr":""})");
   EXPECT_EQ(rule.source_addr(), std::string("\x02\0\0\0\0\x01", 6));
   const auto group = read<rpc::NexthopGroup>(
        R"({"nexthops":{"3":{"nexthop":"2001:db8::1"}},"destination_ips":{"0":"10.0.0.1"},"source_ip":"CgAAAg=="})");
   EXPECT_EQ(group.nexthops().at(3).nexthop().size(), 16U);
   EXPECT_EQ(group.destination_ips().at(0), std::string("\x0a\0\0\x01", 4));
   EXPECT_EQ(group.source_ip(), std::string("\x0a\0\0\x02", 4));
   const std::string text = messageToJson(group);
   EXPECT_NE(text.find(R"("nexthops":{"3":{"nexthop":"2001:db8::1")"), std::string::npos) << text;
   EXPECT_NE(text.find(R"("destination_ips":{"0":"10.0.0.1"})"), std::string::npos) << text;
   EXPECT_NE(text.find(R"("source_ip":"10.0.0.2")"), std::string::npos) << text;
}

TEST(JsonText, bytesThatAreNoAddressStayAsTheyAre) {
   orv::remote::IpAddrMask mask;
   mask.set_addr("abc");
   EXPECT_EQ(messageToJson(mask), R"({"addr":"YWJj","mask_length":0})");
   EXPECT_EQ(read<orv::remote::IpAddrMask>(messageToJson(mask)).addr(), "abc");
}

}  // namespace
}  // namespace orvctl
