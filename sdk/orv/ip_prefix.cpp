#include "orv/ip_prefix.h"

#include <charconv>

#include "orv/error.h"

namespace orv {
namespace {

// Mask of the bits of byte `index` beyond prefix length `length`.
std::uint8_t host_bits(std::size_t index, std::uint32_t length) {
   const std::uint32_t first = static_cast<std::uint32_t>(index) * 8;
   if (length >= first + 8) return 0;
   if (length <= first) return 0xff;
   return static_cast<std::uint8_t>(0xffU >> (length - first));
}

}  // namespace

ip_prefix_t::ip_prefix_t(const ip_addr_t& network, std::uint32_t prefix_length)
     : network_(network), prefix_length_(static_cast<std::uint8_t>(prefix_length)) {
   if (network.af() != af_none && network.width() == 0) {
      throw invalid_argument_error(
           fmt::format("invalid prefix: address family {} is unknown, expected IPv4 or IPv6", network.af()));
   }
   if (prefix_length > network.width()) {
      throw invalid_argument_error(
           fmt::format("invalid prefix '{}/{}': prefix length is out of range, expected 0 to {}",
                       network.to_string(), prefix_length, network.width()));
   }
   const std::span<const std::uint8_t> bytes = network.bytes();
   for (std::size_t i = prefix_length / 8; i < bytes.size(); ++i) {
      if ((bytes[i] & host_bits(i, prefix_length)) != 0) {
         throw invalid_argument_error(
              fmt::format("invalid prefix '{}/{}': bits are set behind the prefix length, expected none",
                          network.to_string(), prefix_length));
      }
   }
}

ip_prefix_t::ip_prefix_t(std::string_view text) {
   if (text.empty()) return;
   const std::size_t slash = text.find('/');
   const ip_addr_t addr(text.substr(0, slash));
   std::uint32_t length = addr.width();
   if (slash != std::string_view::npos) {
      const std::string_view digits = text.substr(slash + 1);
      const auto [end, failed] = std::from_chars(digits.data(), digits.data() + digits.size(), length);
      if (!addr || failed != std::errc{} || end != digits.data() + digits.size()) {
         throw invalid_argument_error(
              fmt::format("invalid prefix '{}': expected ADDRESS/LENGTH", detail::quotable(text)));
      }
   }
   *this = ip_prefix_t(addr, length);
}

bool ip_prefix_t::contains(const ip_addr_t& addr) const noexcept {
   if (addr.af() != af()) return false;
   const std::span<const std::uint8_t> mine = network_.bytes();
   const std::span<const std::uint8_t> other = addr.bytes();
   for (std::size_t i = 0; i < mine.size(); ++i) {
      const auto mask = static_cast<std::uint8_t>(~host_bits(i, prefix_length_));
      if (((mine[i] ^ other[i]) & mask) != 0) return false;
   }
   return true;
}

std::string ip_prefix_t::to_string() const {
   if (!network_) return {};
   return fmt::format("{}/{}", network_.to_string(), prefix_length_);
}

std::string ip_addr_mask_t::to_string() const {
   if (!address_) return {};
   return fmt::format("{}/{}", address_.to_string(), mask_length_);
}

}  // namespace orv
