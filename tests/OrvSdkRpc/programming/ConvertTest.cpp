#include "OrvSdkRpc/programming/Convert.h"

#include <gtest/gtest.h>

#include "orv/error.h"
#include "testing/server/Programmed.h"

namespace OrvSdkRpc {
namespace {

template <class Error, class Call>
std::string wordsOf(Call&& call) {
   try {
      call();
   } catch (const Error& e) {
      return e.what();
   }
   ADD_FAILURE() << "nothing of that type was thrown";
   return {};
}

TEST(Convert, anAddressHasFourSixteenOrNoBytes) {
   pb::ip_address_msg message;
   EXPECT_EQ(ipAddressToIpAddr(message), orv::ip_addr_t());
   message.set_address(orvtest::ipv4({192, 0, 2, 255}));
   EXPECT_EQ(ipAddressToIpAddr(message), orv::ip_addr_t("192.0.2.255"));
   message.set_address(orvtest::ipv4({0x20, 1, 0xd, 0xb8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1}));
   EXPECT_EQ(ipAddressToIpAddr(message), orv::ip_addr_t("2001:db8::1"));
   message.set_address("12345");
   EXPECT_EQ(wordsOf<orv::invalid_argument_error>([&] { ipAddressToIpAddr(message); }),
             "bytes length 5 does not match IPv4(4) or IPv6(16)");
}

TEST(Convert, aPrefixIsWhatTheSdkAccepts) {
   pb::ip_prefix_msg message;
   EXPECT_EQ(ipPrefixToPrefix(message), orv::ip_prefix_t());
   message.mutable_network()->set_address(orvtest::ipv4({10, 0, 0, 0}));
   message.set_prefix_length(8);
   EXPECT_EQ(ipPrefixToPrefix(message), orv::ip_prefix_t("10.0.0.0/8"));
   message.set_prefix_length(33);
   EXPECT_NE(wordsOf<orv::invalid_argument_error>([&] { ipPrefixToPrefix(message); }), "");
   message.mutable_network()->set_address(orvtest::ipv4({10, 0, 0, 1}));
   message.set_prefix_length(8);
   EXPECT_NE(wordsOf<orv::invalid_argument_error>([&] { ipPrefixToPrefix(message); }), "");
   message.set_prefix_length(4294967295U);
   EXPECT_THROW(ipPrefixToPrefix(message), orv::error);
}

pb::sbfd_echo_session_key_msg sessionKeyMessage() {
   pb::sbfd_echo_session_key_msg message;
   message.mutable_nexthop()->set_address(orvtest::ipv4({192, 0, 2, 1}));
   message.set_nexthop_intf("Ethernet1");
   message.add_label_stack(100);
   message.add_label_stack(200);
   message.set_dscp(255);
   message.set_mpls_exp(7);
   return message;
}

TEST(Convert, aSessionKeyGoesBothWays) {
   const orv::sbfd_echo_session_key_t key = convertMsg(sessionKeyMessage());
   EXPECT_EQ(key.nexthop(), orv::ip_addr_t("192.0.2.1"));
   EXPECT_EQ(key.nexthop_intf(), orv::intf_id_t("Ethernet1"));
   EXPECT_EQ(key.label_stack(), (std::vector{orv::mpls_label_t(100), orv::mpls_label_t(200)}));
   EXPECT_EQ(key.dscp(), 255);
   EXPECT_EQ(key.mpls_exp(), 7);
   pb::sbfd_echo_session_key_msg back;
   back.add_label_stack(9);
   convertKey(key, back);
   EXPECT_EQ(back.SerializeAsString(), sessionKeyMessage().SerializeAsString());
   EXPECT_EQ(convertMsg(back), key);
}

TEST(Convert, anAbsentSessionIsTheDefaultKey) {
   EXPECT_EQ(convertMsg(pb::sbfd_echo_session_key_msg()), orv::sbfd_echo_session_key_t());
}

TEST(Convert, aSessionsNumbersAreNotNarrowedSilently) {
   auto message = sessionKeyMessage();
   message.set_dscp(256);
   EXPECT_NE(wordsOf<orv::invalid_range_error>([&] { convertMsg(message); }).find("dscp 256"),
             std::string::npos);
   message = sessionKeyMessage();
   message.set_mpls_exp(8);
   EXPECT_NE(wordsOf<orv::invalid_range_error>([&] { convertMsg(message); }).find("mpls_exp 8"),
             std::string::npos);
   message = sessionKeyMessage();
   message.add_label_stack(4294967295U);
   EXPECT_THROW(convertMsg(message), orv::error);
}

TEST(Convert, operationsReachTheSdksNumbers) {
   EXPECT_EQ(static_cast<int>(mplsOpToMplsAction(pb::MPLS_OPERATION_NONE)), 0);
   EXPECT_EQ(static_cast<int>(mplsOpToMplsAction(pb::MPLS_OPERATION_PUSH)), 1);
   EXPECT_EQ(static_cast<int>(mplsOpToMplsAction(pb::MPLS_OPERATION_POP)), 2);
   EXPECT_EQ(static_cast<int>(mplsOpToMplsAction(pb::MPLS_OPERATION_SWAP)), 3);
   EXPECT_EQ(static_cast<int>(mplsOpToMplsAction(pb::MPLS_OPERATION_FORWARD)), 4);
   EXPECT_EQ(wordsOf<orv::invalid_argument_error>(
                  [] { mplsOpToMplsAction(static_cast<pb::mpls_operation_enum>(5)); }),
             "mpls_operation 5 is unknown, expected 0 to 4");
}

}  // namespace
}  // namespace OrvSdkRpc
