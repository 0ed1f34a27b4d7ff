#include "softswitch/tables/value_codec.h"

#include <array>
#include <iterator>
#include <string_view>
#include <vector>

namespace softswitch {
namespace {

std::string_view view(const std::uint8_t* bytes, std::size_t count) {
   return {reinterpret_cast<const char*>(bytes), count};
}

const std::uint8_t* bytesOf(std::string_view v) {
   return reinterpret_cast<const std::uint8_t*>(v.data());
}

[[noreturn]] void damaged(const char* what) {
   throw store::StoreError(store::Trouble::damaged, what);
}

}  // namespace

void write(store::Writer& out, const orv::ip_addr_t& v) {
   out.u8(v.af());
   out.raw(view(v.bytes().data(), v.bytes().size()));
}

orv::ip_addr_t readIpAddr(store::Reader& in) {
   const auto family = in.u8();
   switch (family) {
      case orv::af_none:
         return {};
      case orv::af_ipv4:
         return {family, bytesOf(in.raw(4))};
      case orv::af_ipv6:
         return {family, bytesOf(in.raw(16))};
      default:
         damaged("a row has an address of an unknown family");
   }
}

void write(store::Writer& out, const orv::ip_prefix_t& v) {
   write(out, v.network());
   out.u8(v.prefix_length());
}

orv::ip_prefix_t readIpPrefix(store::Reader& in) {
   const auto network = readIpAddr(in);
   const auto length = in.u8();
   return decoded([&] { return orv::ip_prefix_t(network, length); });
}

void write(store::Writer& out, const orv::ip_addr_mask_t& v) {
   write(out, v.address());
   out.u8(v.mask_length());
}

orv::ip_addr_mask_t readIpAddrMask(store::Reader& in) {
   const auto address = readIpAddr(in);
   return {address, in.u8()};
}

void write(store::Writer& out, const orv::eth_addr_t& v) {
   out.raw(view(v.bytes(), orv::eth_addr_t::size));
}

orv::eth_addr_t readEthAddr(store::Reader& in) {
   return orv::eth_addr_t(bytesOf(in.raw(orv::eth_addr_t::size)));
}

void write(store::Writer& out, const orv::intf_id_t& v) {
   out.text(v.name());
}

orv::intf_id_t readIntfId(store::Reader& in) {
   const auto name = in.text();
   return decoded([&] { return orv::intf_id_t(name); });
}

void write(store::Writer& out, orv::mpls_label_t v) {
   out.u32(v.label());
}

orv::mpls_label_t readMplsLabel(store::Reader& in) {
   const auto label = in.u32();
   return decoded([&] { return orv::mpls_label_t(label); });
}

void write(store::Writer& out, const orv::mpls_route_key_t& v) {
   out.u8(static_cast<std::uint8_t>(v.labels().size()));
   for (const auto label : v.labels())
      write(out, label);
   out.u8(v.metric());
}

orv::mpls_route_key_t readMplsRouteKey(store::Reader& in) {
   std::array<orv::mpls_label_t, orv::mpls_route_key_t::labels_max> labels;
   const auto count = in.u8();
   if (count > labels.size()) damaged("a row has too many labels");
   for (std::size_t i = 0; i < count; ++i)
      labels[i] = readMplsLabel(in);
   const auto metric = in.u8();
   return orv::mpls_route_key_t(std::span(labels.data(), count), metric);
}

void write(store::Writer& out, const orv::mpls_label_stack_t& v) {
   out.varint(v.size());
   for (const auto label : v)
      write(out, label);
}

orv::mpls_label_stack_t readLabelStack(store::Reader& in) {
   orv::mpls_label_stack_t labels;
   for (auto count = in.varint(); count != 0; --count)
      labels.push_back(readMplsLabel(in));
   return labels;
}

void write(store::Writer& out, const orv::sbfd_echo_session_key_t& v) {
   write(out, v.nexthop());
   write(out, v.nexthop_intf());
   out.varint(v.label_stack().size());
   for (const auto label : v.label_stack())
      write(out, label);
   out.u8(v.dscp());
   out.u8(v.mpls_exp());
}

orv::sbfd_echo_session_key_t readSbfdKey(store::Reader& in) {
   const auto nexthop = readIpAddr(in);
   auto intf = readIntfId(in);
   std::vector<orv::mpls_label_t> labels;
   for (auto count = in.varint(); count != 0; --count)
      labels.push_back(readMplsLabel(in));
   const auto dscp = in.u8();
   const auto exp = in.u8();
   return {nexthop, std::move(intf), std::move(labels), dscp, exp};
}

}  // namespace softswitch
