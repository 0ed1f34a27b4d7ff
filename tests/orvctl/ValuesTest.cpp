#include "orvctl/Values.h"

#include <gtest/gtest.h>

#include <limits>

#include "orvctl/ExitCode.h"

namespace orvctl {
namespace {

// The text of the refusal, or nothing when there was none.
template <typename Work>
std::string refusal(Work work) {
   try {
      work();
   } catch (const UsageError& error) {
      return error.what();
   }
   return "";
}

TEST(Values, numbersWithinTheirRange) {
   EXPECT_EQ(parseNumber("--tag", "0", 0, 10), 0U);
   EXPECT_EQ(parseNumber("--tag", "10", 0, 10), 10U);
   for (const char* text : {"", "11", "-1", "+1", "1x", " 1", "0x1", "99999999999999999999"}) {
      EXPECT_EQ(refusal([&] { parseNumber("--tag", text, 0, 10); }),
                std::string("--tag is '") + text + "', expected a number from 0 to 10");
   }
}

TEST(Values, secondsAboveZero) {
   EXPECT_DOUBLE_EQ(parseSeconds("--timeout", "0.25"), 0.25);
   for (const char* text : {"", "0", "-1", "nan", "inf", "1e3", "86401", "1s"}) {
      EXPECT_EQ(refusal([&] { parseSeconds("--timeout", text); }),
                std::string("--timeout is '") + text + "', expected seconds above 0, at most 86400");
   }
}

TEST(Values, decimalsForAPerson) {
   EXPECT_EQ(decimalText(8000000.000000073), "8000000");
   EXPECT_EQ(decimalText(999.9999999999994), "1000");
   EXPECT_EQ(decimalText(1.5), "1.5");
   EXPECT_EQ(decimalText(0.12345), "0.123");
   EXPECT_EQ(decimalText(1763719828.1239), "1763719828.124");
   EXPECT_EQ(decimalText(4e17), "400000000000000000");
   EXPECT_EQ(decimalText(-2.25), "-2.25");
   EXPECT_EQ(decimalText(0), "0");
   EXPECT_EQ(decimalText(-0.0001), "0");
   EXPECT_EQ(decimalText(std::numeric_limits<double>::infinity()), "inf");
}

TEST(Values, addressesOfBothFamilies) {
   EXPECT_EQ(parseAddressBytes("a", "10.0.0.1"), std::string("\x0a\0\0\x01", 4));
   EXPECT_EQ(parseAddressBytes("a", "::1"), std::string(15, '\0') + '\x01');
   EXPECT_EQ(parseAddressBytes("a", ""), "");
   EXPECT_EQ(addressText(parseAddress("a", "2001:db8::7")), "2001:db8::7");
   EXPECT_EQ(addressText(parseAddress("a", "192.0.2.1")), "192.0.2.1");
   for (const char* text : {"10.0.0", "10.0.0.256", "010.0.0.1.1", "::g", "10.0.0.1 "}) {
      EXPECT_EQ(refusal([&] { parseAddress("address", text); }),
                std::string("address is '") + text + "', expected an IPv4 or IPv6 address");
   }
}

TEST(Values, anAddressOfImpossibleLengthStillPrints) {
   OrvSdkRpc::pb::ip_address_msg address;
   address.set_address("abc");
   EXPECT_EQ(addressText(address), "invalid(3 bytes)");
}

TEST(Values, prefixes) {
   for (const char* text :
        {"0.0.0.0/0", "10.0.0.0/8", "192.0.2.128/25", "192.0.2.1/32", "::/0", "2001:db8::/32", "::1/128"}) {
      EXPECT_EQ(prefixText(parsePrefix("PREFIX", text)), text);
   }
}

TEST(Values, prefixesThatAreNone) {
   for (const char* text :
        {"", "10.0.0.0", "/8", "10.0.0.0/", "10.0.0.0/33", "::/129", "10.0.0.0/-1", "10.0.0/8", "x/8"}) {
      EXPECT_EQ(
           refusal([&] { parsePrefix("PREFIX", text); }),
           std::string("PREFIX is '") + text + "', expected a prefix such as 10.0.0.0/8 or 2001:db8::/32");
   }
   EXPECT_EQ(refusal([] { parsePrefix("PREFIX", "10.0.0.1/8"); }),
             "PREFIX is '10.0.0.1/8', expected a prefix whose bits beyond length 8 are zero");
   EXPECT_NE(refusal([] { parsePrefix("PREFIX", "192.0.2.1/31"); }), "");
   EXPECT_NE(refusal([] { parsePrefix("PREFIX", "2001:db8::1/127"); }), "");
}

TEST(Values, aNexthopWithEverything) {
   const auto nexthop =
        parseNexthop("--nexthop", "intf=Ethernet1,address=10.0.0.1,labels=100/200,op=push,weight=2");
   EXPECT_EQ(nexthop.intf(), "Ethernet1");
   EXPECT_EQ(addressText(nexthop.address()), "10.0.0.1");
   ASSERT_EQ(nexthop.mpls_labels_size(), 2);
   EXPECT_EQ(nexthop.mpls_labels(0), 100U);
   EXPECT_EQ(nexthop.mpls_labels(1), 200U);
   EXPECT_EQ(nexthop.mpls_operation(), OrvSdkRpc::pb::MPLS_OPERATION_PUSH);
   EXPECT_EQ(nexthop.weight(), 2U);
}

TEST(Values, aNexthopFillsOneSlotUnlessToldOtherwise) {
   const auto nexthop = parseNexthop("--nexthop", "address=10.0.0.1");
   EXPECT_EQ(nexthop.weight(), 1U);
   EXPECT_EQ(nexthop.mpls_operation(), OrvSdkRpc::pb::MPLS_OPERATION_NONE);
   EXPECT_EQ(nexthop.mpls_labels_size(), 0);
   EXPECT_EQ(parseNexthop("--nexthop", "intf=Ethernet1,weight=0").weight(), 0U);
}

TEST(Values, nexthopsThatAreNone) {
   for (const char* text : {"", "foo", "foo=1", "intf=Ethernet1,"}) {
      EXPECT_EQ(
           refusal([&] { parseNexthop("--nexthop", text); }),
           std::string("--nexthop is '") + text +
                "', expected comma-separated intf=NAME, address=IP, labels=L/L…, op=OPERATION, weight=N");
   }
   EXPECT_EQ(refusal([] { parseNexthop("--nexthop", "op=eat"); }),
             "--nexthop op is 'eat', expected none, push, pop, swap or forward");
   EXPECT_EQ(refusal([] { parseNexthop("--nexthop", "labels=100/1048576"); }),
             "--nexthop labels is '1048576', expected a number from 0 to 1048575");
   EXPECT_EQ(refusal([] { parseNexthop("--nexthop", "weight=-1"); }),
             "--nexthop weight is '-1', expected a number from 0 to 65535");
   EXPECT_EQ(refusal([] { parseNexthop("--nexthop", "address=nowhere"); }),
             "--nexthop address is 'nowhere', expected an IPv4 or IPv6 address");
}

TEST(Values, wireAddressesAreToldByTheirLength) {
   EXPECT_EQ(wireAddressText(""), "");
   EXPECT_EQ(wireAddressText(std::string("\x0a\0\0\x01", 4)), "10.0.0.1");
   EXPECT_EQ(wireAddressText(std::string("\x02\0\0\0\xab\xcd", 6)), "02:00:00:00:ab:cd");
   EXPECT_EQ(wireAddressText(std::string(15, '\0') + '\x01'), "::1");
   EXPECT_EQ(wireAddressText("abc"), std::nullopt);
   for (const char* text : {"", "10.0.0.1", "02:00:00:00:ab:cd", "::1"})
      EXPECT_EQ(wireAddressText(wireAddressBytes(text).value()), text);
   for (const char* text : {"10.0.0", "02:00:00:00:ab", "02:00:00:00:ab:cd:", "YWJj", "nowhere"})
      EXPECT_EQ(wireAddressBytes(text), std::nullopt) << text;
}

TEST(Values, keysAndValues) {
   EXPECT_EQ(parseKeyValue("note", "a=b"), std::pair(std::string("a"), std::string("b")));
   EXPECT_EQ(parseKeyValue("note", "a="), std::pair(std::string("a"), std::string()));
   EXPECT_EQ(parseKeyValue("note", "a=b=c"), std::pair(std::string("a"), std::string("b=c")));
   EXPECT_EQ(refusal([] { parseKeyValue("note", "a"); }), "note is 'a', expected KEY=VALUE");
   EXPECT_EQ(refusal([] { parseKeyValue("note", "=b"); }), "note is '=b', expected KEY=VALUE");
}

}  // namespace
}  // namespace orvctl
