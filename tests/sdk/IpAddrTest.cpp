#include "orv/ip_addr.h"

#include <gtest/gtest.h>

#include "Regular.h"
#include "orv/error.h"

namespace {

using orv::ip_addr_t;
using sdk_test::errorText;
using sdk_test::expectText;

TEST(IpAddrTest, theDefaultIsTheNullAddress) {
   const ip_addr_t null;
   EXPECT_TRUE(!null);
   EXPECT_EQ(null.af(), 0);
   EXPECT_EQ(null.width(), 0);
   EXPECT_TRUE(null.bytes().empty());
   EXPECT_EQ(null, ip_addr_t(""));
   expectText(null, "");
   for (int i = 0; i < 16; ++i)
      EXPECT_EQ(null.addr()[i], 0);
}

TEST(IpAddrTest, bytesOfEitherFamily) {
   const std::uint8_t bytes[16] = {192, 0, 2, 1, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};
   const ip_addr_t four(4, bytes);
   EXPECT_FALSE(!four);
   EXPECT_EQ(four.af(), 4);
   EXPECT_EQ(four.width(), 32);
   EXPECT_EQ(four.bytes().size(), 4U);
   EXPECT_EQ(std::memcmp(four.addr(), bytes, 4), 0);
   EXPECT_EQ(four.addr()[4], 0) << "bytes behind the address are zero";
   EXPECT_EQ(four, ip_addr_t("192.0.2.1"));

   const ip_addr_t six(6, bytes);
   EXPECT_EQ(six.af(), 6);
   EXPECT_EQ(six.width(), 128);
   EXPECT_EQ(std::memcmp(six.bytes().data(), bytes, 16), 0);
   EXPECT_NE(four, six);
}

TEST(IpAddrTest, anUnknownFamilyIsKeptAsANumber) {
   const ip_addr_t strange(9, nullptr);
   EXPECT_EQ(strange.af(), 9);
   EXPECT_EQ(strange.width(), 0);
   EXPECT_TRUE(strange.bytes().empty());
   EXPECT_NE(strange, ip_addr_t());
   expectText(strange, "(address family 9)");
}

// RFC 5952 sections 4 and 5.
TEST(IpAddrTest, printsTheRecommendedForm) {
   const std::pair<const char*, const char*> cases[] = {
        {"0.0.0.0", "0.0.0.0"},
        {"255.255.255.255", "255.255.255.255"},
        {"2001:0db8::0001", "2001:db8::1"},
        {"2001:DB8::AbCd", "2001:db8::abcd"},
        {"2001:db8:0:0:0:0:2:1", "2001:db8::2:1"},
        {"2001:db8:0:1:1:1:1:1", "2001:db8:0:1:1:1:1:1"},
        {"2001:0:0:1:0:0:0:1", "2001:0:0:1::1"},
        {"2001:db8:0:0:1:0:0:1", "2001:db8::1:0:0:1"},
        {"0:0:0:0:0:0:0:0", "::"},
        {"0:0:0:0:0:0:0:1", "::1"},
        {"1:0:0:0:0:0:0:0", "1::"},
        {"0:0:1:0:0:0:0:0", "0:0:1::"},
        {"1:2:3:4:5:6:0:0", "1:2:3:4:5:6::"},
        {"0:2:3:4:5:6:7:8", "0:2:3:4:5:6:7:8"},
        {"1:2:3:4:5:6:7:0", "1:2:3:4:5:6:7:0"},
        {"::ffff:192.0.2.1", "::ffff:192.0.2.1"},
        {"::ffff:c000:201", "::ffff:192.0.2.1"},
        {"::192.0.2.1", "::c000:201"},
        {"64:ff9b::192.0.2.33", "64:ff9b::c000:221"},
   };
   for (const auto& [in, out] : cases) {
      SCOPED_TRACE(in);
      expectText(ip_addr_t(in), out);
      EXPECT_EQ(ip_addr_t(out), ip_addr_t(in));
   }
}

TEST(IpAddrTest, refusesWhatIsNoAddressAndNamesIt) {
   for (const char* text :
        {"1.2.3", "1.2.3.4.5", "256.0.0.1", "1.2.3.4 ", " 1.2.3.4", "01.2.3.4", "::1%eth0", "1::2::3",
         "12345::", "host", "1.2.3.4/8", "[::1]", ":", "1:2:3:4:5:6:7", "::ffff:1.2.3"}) {
      EXPECT_EQ(errorText<orv::invalid_argument_error>([&] { ip_addr_t{std::string_view(text)}; }),
                "invalid IP address '" + std::string(text) + "': expected an IPv4 or IPv6 address");
   }
   EXPECT_THROW(ip_addr_t(std::string_view("1.2.3.4\0", 8)), orv::invalid_argument_error);
   EXPECT_THROW(ip_addr_t(std::string(500, '1')), orv::invalid_argument_error);
}

TEST(IpAddrTest, ordersByFamilyThenAddress) {
   sdk_test::expectRising<ip_addr_t>({ip_addr_t(), ip_addr_t("0.0.0.0"), ip_addr_t("1.0.0.0"),
                                      ip_addr_t("1.0.0.255"), ip_addr_t("9.255.255.255"),
                                      ip_addr_t("10.0.0.0"), ip_addr_t("200.0.0.1"), ip_addr_t("::"),
                                      ip_addr_t("::1"), ip_addr_t("1::"), ip_addr_t("fe80::")});
}

TEST(IpAddrTest, hashesDifferWhereAddressesDo) {
   std::unordered_set<std::size_t> hashes;
   for (int i = 0; i < 256; ++i) {
      for (int j = 0; j < 16; ++j) {
         std::uint8_t bytes[16] = {};
         bytes[j] = static_cast<std::uint8_t>(i);
         hashes.insert(ip_addr_t(6, bytes).hash());
         if (j < 4) hashes.insert(ip_addr_t(4, bytes).hash());
      }
   }
   EXPECT_EQ(hashes.size(), 255U * 20 + 2);
}

}  // namespace
