#include "orv/ip_prefix.h"

#include <gtest/gtest.h>

#include "Regular.h"
#include "orv/error.h"

namespace {

using orv::ip_addr_mask_t;
using orv::ip_addr_t;
using orv::ip_prefix_t;
using sdk_test::errorText;
using sdk_test::expectText;

ip_addr_t addr(const char* text) {
   return ip_addr_t(text);
}
std::string refusal(const ip_addr_t& a, std::uint32_t length) {
   return errorText<orv::invalid_argument_error>([&] { ip_prefix_t(a, length); });
}

TEST(IpPrefixTest, theDefaultIsTheNullPrefix) {
   const ip_prefix_t null;
   EXPECT_EQ(null.af(), 0);
   EXPECT_EQ(null.prefix_length(), 0);
   EXPECT_EQ(null, ip_prefix_t(ip_addr_t(), 0));
   EXPECT_EQ(null, ip_prefix_t(""));
   expectText(null, "");
}

TEST(IpPrefixTest, takesEveryLengthOfItsFamilyAndNoneAbove) {
   for (std::uint32_t length = 0; length <= 32; ++length)
      EXPECT_EQ(ip_prefix_t(addr("0.0.0.0"), length).prefix_length(), length);
   for (std::uint32_t length = 0; length <= 128; ++length)
      EXPECT_EQ(ip_prefix_t(addr("::"), length).prefix_length(), length);
   EXPECT_EQ(refusal(addr("10.0.0.0"), 33),
             "invalid prefix '10.0.0.0/33': prefix length is out of range, expected 0 to 32");
   EXPECT_EQ(refusal(addr("2001:db8::"), 129),
             "invalid prefix '2001:db8::/129': prefix length is out of range, expected 0 to 128");
   EXPECT_EQ(refusal(addr("10.0.0.0"), 256 + 8),
             "invalid prefix '10.0.0.0/264': prefix length is out of range, expected 0 to 32");
   EXPECT_EQ(refusal(ip_addr_t(), 1), "invalid prefix '/1': prefix length is out of range, expected 0 to 0");
   EXPECT_EQ(refusal(ip_addr_t(9, nullptr), 0),
             "invalid prefix: address family 9 is unknown, expected IPv4 or IPv6");
}

// For each length the last bit of the prefix is accepted and the first bit behind it is refused.
TEST(IpPrefixTest, refusesTheFirstBitBehindTheLength) {
   for (const std::uint8_t family : {orv::af_ipv4, orv::af_ipv6}) {
      const unsigned width = family == orv::af_ipv4 ? 32 : 128;
      for (unsigned bit = 0; bit < width; ++bit) {
         std::uint8_t bytes[16] = {};
         bytes[bit / 8] = static_cast<std::uint8_t>(0x80U >> (bit % 8));
         const ip_addr_t one(family, bytes);
         EXPECT_NO_THROW(ip_prefix_t(one, bit + 1)) << bit;
         EXPECT_THROW(ip_prefix_t(one, bit), orv::invalid_argument_error) << bit;
         EXPECT_THROW(ip_prefix_t(one, 0), orv::invalid_argument_error) << bit;
      }
   }
   EXPECT_EQ(refusal(addr("10.0.0.1"), 24),
             "invalid prefix '10.0.0.1/24': bits are set behind the prefix length, expected none");
}

TEST(IpPrefixTest, parsesAndPrints) {
   expectText(ip_prefix_t("10.0.0.0/8"), "10.0.0.0/8");
   expectText(ip_prefix_t("10.0.0.1"), "10.0.0.1/32");
   expectText(ip_prefix_t("2001:DB8::/32"), "2001:db8::/32");
   expectText(ip_prefix_t("::1"), "::1/128");
   EXPECT_EQ(ip_prefix_t("0.0.0.0/0").network(), addr("0.0.0.0"));
   for (const char* text : {"10.0.0.0/", "10.0.0.0/x", "10.0.0.0/8 ", "10.0.0.0/-1", "10.0.0.0/+8", "/8",
                            "10.0.0.0/8/8", "10.0.0.0/4294967304"}) {
      EXPECT_EQ(errorText<orv::invalid_argument_error>([&] { ip_prefix_t{std::string_view(text)}; }),
                "invalid prefix '" + std::string(text) + "': expected ADDRESS/LENGTH");
   }
   EXPECT_THROW(ip_prefix_t("10.0.0.0/33"), orv::invalid_argument_error);
   EXPECT_THROW(ip_prefix_t("10.0.0.1/8"), orv::invalid_argument_error);
}

TEST(IpPrefixTest, ordersByAddressThenLength) {
   sdk_test::expectRising<ip_prefix_t>({ip_prefix_t(), ip_prefix_t("0.0.0.0/0"), ip_prefix_t("10.0.0.0/8"),
                                        ip_prefix_t("10.0.0.0/9"), ip_prefix_t("10.0.0.0/32"),
                                        ip_prefix_t("10.0.1.0/24"), ip_prefix_t("::/0"),
                                        ip_prefix_t("::/128"), ip_prefix_t("1::/16")});
   EXPECT_NE(ip_prefix_t("10.0.0.0/8").hash(), ip_prefix_t("10.0.0.0/9").hash());
}

TEST(IpPrefixTest, contains) {
   EXPECT_TRUE(ip_prefix_t("0.0.0.0/0").contains(addr("255.1.2.3")));
   EXPECT_TRUE(ip_prefix_t("10.1.0.0/17").contains(addr("10.1.127.255")));
   EXPECT_FALSE(ip_prefix_t("10.1.0.0/17").contains(addr("10.1.128.0")));
   EXPECT_TRUE(ip_prefix_t("10.1.2.3/32").contains(addr("10.1.2.3")));
   EXPECT_FALSE(ip_prefix_t("10.1.2.3/32").contains(addr("10.1.2.2")));
   EXPECT_FALSE(ip_prefix_t("::/0").contains(addr("10.1.2.3")));
   EXPECT_TRUE(ip_prefix_t("2001:db8::/33").contains(addr("2001:db8:7fff::1")));
   EXPECT_FALSE(ip_prefix_t("2001:db8::/33").contains(addr("2001:db8:8000::1")));
}

TEST(IpAddrMaskTest, takesAnyLengthAndAnyBits) {
   const ip_addr_mask_t m(addr("10.0.0.1"), 44);
   EXPECT_EQ(m.af(), 4);
   EXPECT_EQ(m.mask_length(), 44);
   EXPECT_EQ(std::memcmp(m.addr(), m.address().addr(), 16), 0);
   expectText(m, "10.0.0.1/44");
   expectText(ip_addr_mask_t(), "");
   sdk_test::expectRising<ip_addr_mask_t>({ip_addr_mask_t(), ip_addr_mask_t(addr("10.0.0.1"), 8),
                                           ip_addr_mask_t(addr("10.0.0.1"), 9),
                                           ip_addr_mask_t(addr("10.0.0.2"), 0)});
   EXPECT_NE(m.hash(), ip_addr_mask_t(addr("10.0.0.1"), 43).hash());
}

}  // namespace
