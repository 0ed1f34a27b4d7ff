#include "OrvSdkRpc/types/Addresses.h"

#include "Conversions.h"

namespace {

using namespace types_test;
using namespace OrvSdkRpc::types;
using namespace std::string_literals;

const std::string kSixteen = "\x20\x01\x0d\xb8\0\0\0\0\0\0\0\0\0\0\0\x01"s;

TEST(AddressesTest, ipAddressesAreJudgedByTheirLengthAlone) {
   EXPECT_EQ(ip_addr(""), orv::ip_addr_t());
   EXPECT_EQ(ip_addr("").af(), 0);
   EXPECT_EQ(ip_addr("\x0a\0\0\x01"s), orv::ip_addr_t("10.0.0.1"));
   EXPECT_EQ(ip_addr("\0\0\0\0"s).af(), 4);
   EXPECT_EQ(ip_addr(kSixteen), orv::ip_addr_t("2001:db8::1"));
   EXPECT_EQ(ip_addr(std::string(16, '\0')).af(), 6);
   // Sixteen bytes of an IPv4 address in IPv6 form stay IPv6.
   EXPECT_EQ(ip_addr("\0\0\0\0\0\0\0\0\0\0\xff\xff\x0a\0\0\x01"s).af(), 6);
}

TEST(AddressesTest, everyOtherLengthIsRefusedAndShown) {
   for (std::size_t length = 0; length <= 40; ++length) {
      if (length == 0 || length == 4 || length == 16) continue;
      SCOPED_TRACE(length);
      EXPECT_EQ(refusalOf([&] { ip_addr(std::string(length, 'a')); }),
                invalidArgument(fmt::format("bytes length {} does not match IPv4(4) or IPv6(16)", length)));
   }
   EXPECT_EQ(refusalOf([] { ip_addr("10.0.0.1"); }),
             invalidArgument("bytes length 8 does not match IPv4(4) or IPv6(16)"));
}

TEST(AddressesTest, ipAddressesGoOutAsTheBytesOfTheirFamily) {
   EXPECT_EQ(ip_addr_bytes(orv::ip_addr_t()), "");
   EXPECT_EQ(ip_addr_bytes(orv::ip_addr_t("10.0.0.1")), "\x0a\0\0\x01"s);
   EXPECT_EQ(ip_addr_bytes(orv::ip_addr_t("0.0.0.0")), "\0\0\0\0"s);
   EXPECT_EQ(ip_addr_bytes(orv::ip_addr_t("2001:db8::1")), kSixteen);
   EXPECT_EQ(ip_addr(ip_addr_bytes(orv::ip_addr_t())), orv::ip_addr_t());
}

// The two messages distinguish how a field is written.
TEST(AddressesTest, anUnknownFamilyHasTwoWordings) {
   for (int af = 0; af <= 255; ++af) {
      SCOPED_TRACE(af);
      const orv::ip_addr_t addr(static_cast<std::uint8_t>(af), kSixteen.data());
      if (af == 0 || af == 4 || af == 6) {
         EXPECT_EQ(ip_addr_bytes(addr).size(), af == 0 ? 0U : af == 4 ? 4U : 16U);
         EXPECT_EQ(afToSize(addr), ip_addr_bytes(addr).size());
      } else {
         EXPECT_EQ(refusalOf([&] { ip_addr_bytes(addr); }),
                   invalidArgument(fmt::format("Unknown address family: {}", af)));
         EXPECT_EQ(refusalOf([&] { afToSize(addr); }),
                   unsupported("Unknown address family on conversion from SDK"));
      }
   }
}

TEST(AddressesTest, macAddressesHaveSixBytesOrNone) {
   EXPECT_EQ(eth_addr(""), orv::eth_addr_t());
   EXPECT_EQ(eth_addr("\0\0\x5e\x0a\x0b\x0c"s), orv::eth_addr_t("00:00:5e:0a:0b:0c"));
   for (std::size_t length = 1; length <= 20; ++length) {
      if (length == 6) continue;
      SCOPED_TRACE(length);
      EXPECT_EQ(refusalOf([&] { eth_addr(std::string(length, 'a')); }),
                invalidArgument(fmt::format("bytes length {} do not match MAC(6)", length)));
   }
}

TEST(AddressesTest, macAddressesGoOutAsSixBytesAlways) {
   EXPECT_EQ(eth_addr_bytes(orv::eth_addr_t("00:00:5e:0a:0b:0c"), false), "\0\0\x5e\x0a\x0b\x0c"s);
   EXPECT_EQ(eth_addr_bytes(orv::eth_addr_t("ff:ff:ff:00:00:0f"), true), "\0\0\0\xff\xff\xf0"s);
   // The null address arrives as no bytes and is sent as six.
   EXPECT_EQ(eth_addr_bytes(eth_addr(""), false), std::string(6, '\0'));
   EXPECT_EQ(eth_addr_bytes(eth_addr(""), true), std::string(6, '\xff'));
}

TEST(AddressesTest, roundTrips) {
   for (std::uint64_t seed = 1; seed <= roundTripSeeds; ++seed) {
      orvtest::ValueSource source(seed);
      const auto addr = orvtest::generate<orv::ip_addr_t>(source);
      EXPECT_EQ(ip_addr(ip_addr_bytes(addr)), addr);
      const auto mac = orvtest::generate<orv::eth_addr_t>(source);
      EXPECT_EQ(eth_addr(eth_addr_bytes(mac, false)), mac);
      EXPECT_EQ(eth_addr_bytes(eth_addr(eth_addr_bytes(mac, true)), true), eth_addr_bytes(mac, false));
   }
}

}  // namespace
