#include "orv/eth_addr.h"

#include <gtest/gtest.h>

#include "Regular.h"
#include "orv/error.h"

namespace {

using orv::eth_addr_t;

TEST(EthAddrTest, TheDefaultIsTheNullAddress) {
   EXPECT_TRUE(!eth_addr_t());
   EXPECT_FALSE(!eth_addr_t("00:00:00:00:00:01"));
   sdk_test::expectText(eth_addr_t(), "00:00:00:00:00:00");
}

TEST(EthAddrTest, BytesAndTextAgree) {
   const std::uint8_t bytes[6] = {0x00, 0x1c, 0x73, 0xAB, 0xcd, 0xff};
   const eth_addr_t a(bytes);
   EXPECT_EQ(std::memcmp(a.bytes(), bytes, 6), 0);
   sdk_test::expectText(a, "00:1c:73:ab:cd:ff");
   EXPECT_EQ(a, eth_addr_t("00:1C:73:aB:cd:FF"));
}

TEST(EthAddrTest, RefusesOtherTextsAndNamesThem) {
   for (const char* text :
        {"", "00:1c:73:ab:cd", "00:1c:73:ab:cd:ff:00", "00-1c-73-ab-cd-ff", "001c.73ab.cdff",
         "0:1c:73:ab:cd:ff0", "00:1c:73:ab:cd:fg", "00:1c:73:ab:cd:ff ", "+0:1c:73:ab:cd:ff",
         "-1:1c:73:ab:cd:ff", "0x:1c:73:ab:cd:ff", "00:1c:73:ab:cd:f:"}) {
      EXPECT_EQ(sdk_test::errorText<orv::invalid_argument_error>([&] { eth_addr_t{std::string_view(text)}; }),
                "invalid Ethernet address '" + std::string(text) +
                     "': expected six pairs of hexadecimal digits with ':' between");
   }
}

TEST(EthAddrTest, OrdersAndHashes) {
   sdk_test::expectRising<eth_addr_t>({eth_addr_t(), eth_addr_t("00:00:00:00:00:01"),
                                       eth_addr_t("00:00:00:00:01:00"), eth_addr_t("7f:00:00:00:00:00"),
                                       eth_addr_t("80:00:00:00:00:00")});
   EXPECT_NE(eth_addr_t("00:00:00:00:00:01").hash(), eth_addr_t("00:00:00:00:01:00").hash());
}

}  // namespace
