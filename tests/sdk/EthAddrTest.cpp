#include "orv/eth_addr.h"

#include <gtest/gtest.h>

#include "Regular.h"
#include "orv/error.h"

namespace {

using orv::eth_addr_t;

TEST(EthAddrTest, theDefaultIsTheNullAddress) {
   EXPECT_TRUE(!eth_addr_t());
   EXPECT_FALSE(!eth_addr_t("00:00:00:00:00:01"));
   sdk_test::expectText(eth_addr_t(), "00:00:00:00:00:00");
}

TEST(EthAddrTest, bytesAndTextAgree) {
   const std::uint8_t bytes[6] = {0x00, 0x00, 0x5e, 0xAB, 0xcd, 0xff};
   const eth_addr_t a(bytes);
   EXPECT_EQ(std::memcmp(a.bytes(), bytes, 6), 0);
   sdk_test::expectText(a, "00:00:5e:ab:cd:ff");
   EXPECT_EQ(a, eth_addr_t("00:00:5E:aB:cd:FF"));
}

TEST(EthAddrTest, refusesOtherTextsAndNamesThem) {
   for (const char* text :
        {"", "00:00:5e:ab:cd", "00:00:5e:ab:cd:ff:00", "00-00-5e-ab-cd-ff", "0000.5eab.cdff",
         "0:00:5e:ab:cd:ff0", "00:00:5e:ab:cd:fg", "00:00:5e:ab:cd:ff ", "+0:00:5e:ab:cd:ff",
         "-1:00:5e:ab:cd:ff", "0x:00:5e:ab:cd:ff", "00:00:5e:ab:cd:f:"}) {
      EXPECT_EQ(sdk_test::errorText<orv::invalid_argument_error>([&] { eth_addr_t{std::string_view(text)}; }),
                "invalid Ethernet address '" + std::string(text) +
                     "': expected six pairs of hexadecimal digits with ':' between");
   }
}

TEST(EthAddrTest, ordersAndHashes) {
   sdk_test::expectRising<eth_addr_t>({eth_addr_t(), eth_addr_t("00:00:00:00:00:01"),
                                       eth_addr_t("00:00:00:00:01:00"), eth_addr_t("7f:00:00:00:00:00"),
                                       eth_addr_t("80:00:00:00:00:00")});
   EXPECT_NE(eth_addr_t("00:00:00:00:00:01").hash(), eth_addr_t("00:00:00:00:01:00").hash());
}

}  // namespace
