#include "OrvSdkRpc/types/Addresses.h"

#include <fmt/format.h>

#include "orv/error.h"

namespace OrvSdkRpc::types {

orv::ip_addr_t ip_addr(const std::string& bytes) {
   switch (bytes.size()) {
      case 0:
         return {};
      case 4:
         return {orv::af_ipv4, bytes.data()};
      case 16:
         return {orv::af_ipv6, bytes.data()};
      default:
         throw orv::invalid_argument_error(
              fmt::format("bytes length {} does not match IPv4(4) or IPv6(16)", bytes.size()));
   }
}

std::string ip_addr_bytes(const orv::ip_addr_t& addr) {
   const auto* const bytes = reinterpret_cast<const char*>(addr.addr());
   switch (addr.af()) {
      case orv::af_none:
         return {};
      case orv::af_ipv4:
         return {bytes, 4};
      case orv::af_ipv6:
         return {bytes, 16};
      default:
         throw orv::invalid_argument_error(fmt::format("Unknown address family: {}", addr.af()));
   }
}

std::size_t afToSize(const orv::ip_addr_t& addr) {
   switch (addr.af()) {
      case orv::af_none:
         return 0;
      case orv::af_ipv4:
         return 4;
      case orv::af_ipv6:
         return 16;
      default:
         throw orv::unsupported_error("Unknown address family on conversion from SDK");
   }
}

orv::eth_addr_t eth_addr(const std::string& bytes) {
   if (bytes.empty()) return {};
   if (bytes.size() != orv::eth_addr_t::size) {
      throw orv::invalid_argument_error(fmt::format("bytes length {} do not match MAC(6)", bytes.size()));
   }
   return orv::eth_addr_t(reinterpret_cast<const std::uint8_t*>(bytes.data()));
}

std::string eth_addr_bytes(const orv::eth_addr_t& addr, bool inverted) {
   std::string bytes(reinterpret_cast<const char*>(addr.bytes()), orv::eth_addr_t::size);
   if (inverted) {
      for (char& byte : bytes)
         byte = static_cast<char>(~byte);
   }
   return bytes;
}

}  // namespace OrvSdkRpc::types
