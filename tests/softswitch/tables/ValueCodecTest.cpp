#include "softswitch/tables/value_codec.h"

#include <gtest/gtest.h>

#include <array>

namespace softswitch {
namespace {

template <class T, class Read>
void comesBack(const T& value, Read read) {
   std::string bytes;
   store::Writer out(bytes);
   write(out, value);
   store::Reader in(bytes);
   EXPECT_EQ(read(in), value);
   EXPECT_TRUE(in.atEnd());
   for (std::size_t n = 0; n < bytes.size(); ++n) {
      store::Reader cut(std::string_view(bytes).substr(0, n));
      EXPECT_THROW(read(cut), store::StoreError) << n;
   }
}

TEST(ValueCodec, valuesComeBack) {
   comesBack(orv::ip_addr_t(), readIpAddr);
   comesBack(orv::ip_addr_t("192.0.2.1"), readIpAddr);
   comesBack(orv::ip_addr_t("2001:db8::1"), readIpAddr);
   comesBack(orv::ip_prefix_t("10.0.0.0/8"), readIpPrefix);
   comesBack(orv::ip_prefix_t("2001:db8::/32"), readIpPrefix);
   comesBack(orv::ip_prefix_t(), readIpPrefix);
   comesBack(orv::eth_addr_t("00:00:5e:0a:0b:0c"), readEthAddr);
   comesBack(orv::intf_id_t("Ethernet1"), readIntfId);
   comesBack(orv::intf_id_t(), readIntfId);
   comesBack(orv::mpls_label_t(100), readMplsLabel);
   comesBack(orv::mpls_label_t(), readMplsLabel);
   const std::array labels{orv::mpls_label_t(100), orv::mpls_label_t(), orv::mpls_label_t(3)};
   comesBack(orv::mpls_route_key_t(labels, 5), readMplsRouteKey);
   comesBack(orv::mpls_route_key_t(), readMplsRouteKey);
   comesBack(orv::mpls_label_stack_t{labels[0], labels[1], labels[2]}, readLabelStack);
   comesBack(orv::mpls_label_stack_t{labels[0], labels[1], labels[2], labels[0], labels[2]}, readLabelStack);
   comesBack(orv::mpls_label_stack_t(), readLabelStack);
   comesBack(orv::sbfd_echo_session_key_t(orv::ip_addr_t("192.0.2.1"), orv::intf_id_t("Ethernet1"),
                                          {labels.begin(), labels.end()}, 46, 7),
             readSbfdKey);
}

template <class Read>
void isDamage(std::string_view bytes, Read read) {
   store::Reader in(bytes);
   EXPECT_THROW(read(in), store::StoreError);
}

TEST(ValueCodec, whatNoWriterMakesIsDamage) {
   isDamage("\x05\1\1\1\1", readIpAddr);
   // Bits set beyond the prefix length, and a length above the address width.
   isDamage(std::string_view("\x04\x0a\0\0\1\x08", 6), readIpPrefix);
   isDamage(std::string_view("\x04\x0a\0\0\0\x21", 6), readIpPrefix);
   isDamage(std::string_view("\x02!!", 3), readIntfId);
   isDamage(std::string_view("\0\x10\0\1", 4), readMplsLabel);
   isDamage("\x0f", readMplsRouteKey);
   store::Reader in("\x05");
   EXPECT_THROW(readEnum(in, orv::mpls_action_t::forward), store::StoreError);
}

}  // namespace
}  // namespace softswitch
