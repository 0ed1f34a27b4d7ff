#include "orvctl/Values.h"

#include <arpa/inet.h>
#include <fmt/format.h>

#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>

#include "orvctl/ExitCode.h"

namespace orvctl {
namespace pb = OrvSdkRpc::pb;
namespace {

[[noreturn]] void refuseValue(std::string_view what, std::string_view text, std::string_view expected) {
   throw UsageError(fmt::format("{} is '{}', expected {}", what, text, expected));
}

pb::mpls_operation_enum parseOperation(std::string_view what, std::string_view text) {
   if (text == "none") return pb::MPLS_OPERATION_NONE;
   if (text == "push") return pb::MPLS_OPERATION_PUSH;
   if (text == "pop") return pb::MPLS_OPERATION_POP;
   if (text == "swap") return pb::MPLS_OPERATION_SWAP;
   if (text == "forward") return pb::MPLS_OPERATION_FORWARD;
   refuseValue(what, text, "none, push, pop, swap or forward");
}

bool hostBitsAreZero(std::string_view bytes, unsigned length) {
   for (size_t i = 0; i < bytes.size(); ++i) {
      const unsigned kept = length > i * 8 ? std::min<unsigned>(8, length - static_cast<unsigned>(i) * 8) : 0;
      const auto hostMask = static_cast<unsigned char>(0xffU >> kept);
      if (static_cast<unsigned char>(bytes[i]) & hostMask) return false;
   }
   return true;
}

// Calls `each` with every part of `text` between the separators.
template <typename Each>
void split(std::string_view text, char separator, Each each) {
   for (size_t from = 0;;) {
      const size_t end = text.find(separator, from);
      each(text.substr(from, end == std::string_view::npos ? end : end - from));
      if (end == std::string_view::npos) return;
      from = end + 1;
   }
}

}  // namespace

uint64_t parseNumber(std::string_view what, std::string_view text, uint64_t low, uint64_t high) {
   uint64_t number = 0;
   auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
   if (text.empty() || error != std::errc() || end != text.data() + text.size() || number < low ||
       number > high) {
      refuseValue(what, text, fmt::format("a number from {} to {}", low, high));
   }
   return number;
}

double parseSeconds(std::string_view what, std::string_view text) {
   constexpr double kDay = 86400;
   double seconds = 0;
   auto [end, error] =
        std::from_chars(text.data(), text.data() + text.size(), seconds, std::chars_format::fixed);
   if (text.empty() || error != std::errc() || end != text.data() + text.size() || !(seconds > 0) ||
       seconds > kDay) {
      refuseValue(what, text, "seconds above 0, at most 86400");
   }
   return seconds;
}

std::string parseAddressBytes(std::string_view what, std::string_view text) {
   if (text.empty()) return {};
   const std::string terminated(text);
   std::array<char, sizeof(in6_addr)> bytes{};
   if (inet_pton(AF_INET, terminated.c_str(), bytes.data()) == 1) return {bytes.data(), sizeof(in_addr)};
   if (inet_pton(AF_INET6, terminated.c_str(), bytes.data()) == 1) return {bytes.data(), sizeof(in6_addr)};
   refuseValue(what, text, "an IPv4 or IPv6 address");
}

pb::ip_address_msg parseAddress(std::string_view what, std::string_view text) {
   pb::ip_address_msg address;
   address.set_address(parseAddressBytes(what, text));
   return address;
}

pb::ip_prefix_msg parsePrefix(std::string_view what, std::string_view text) {
   const size_t slash = text.find('/');
   if (slash == std::string_view::npos || slash == 0)
      refuseValue(what, text, "a prefix such as 10.0.0.0/8 or 2001:db8::/32");
   std::string bytes;
   uint64_t length = 0;
   try {
      bytes = parseAddressBytes(what, text.substr(0, slash));
      length = parseNumber(what, text.substr(slash + 1), 0, bytes.size() * 8);
   } catch (const UsageError&) {
      refuseValue(what, text, "a prefix such as 10.0.0.0/8 or 2001:db8::/32");
   }
   if (!hostBitsAreZero(bytes, static_cast<unsigned>(length))) {
      refuseValue(what, text, fmt::format("a prefix whose bits beyond length {} are zero", length));
   }
   pb::ip_prefix_msg prefix;
   prefix.mutable_network()->set_address(std::move(bytes));
   prefix.set_prefix_length(static_cast<uint32_t>(length));
   return prefix;
}

std::string addressText(const pb::ip_address_msg& address) {
   const std::string& bytes = address.address();
   if (bytes.empty()) return "";
   std::array<char, INET6_ADDRSTRLEN> text{};
   if (bytes.size() == sizeof(in_addr)) return inet_ntop(AF_INET, bytes.data(), text.data(), text.size());
   if (bytes.size() == sizeof(in6_addr)) return inet_ntop(AF_INET6, bytes.data(), text.data(), text.size());
   return fmt::format("invalid({} bytes)", bytes.size());
}

std::string prefixText(const pb::ip_prefix_msg& prefix) {
   return fmt::format("{}/{}", addressText(prefix.network()), prefix.prefix_length());
}

std::optional<std::string> wireAddressText(std::string_view bytes) {
   constexpr size_t kMacBytes = 6;
   if (bytes.empty()) return "";
   if (bytes.size() == kMacBytes) {
      std::string text;
      for (const char byte : bytes)
         text += fmt::format("{}{:02x}", text.empty() ? "" : ":", static_cast<unsigned char>(byte));
      return text;
   }
   std::array<char, INET6_ADDRSTRLEN> text{};
   if (bytes.size() == sizeof(in_addr)) return inet_ntop(AF_INET, bytes.data(), text.data(), text.size());
   if (bytes.size() == sizeof(in6_addr)) return inet_ntop(AF_INET6, bytes.data(), text.data(), text.size());
   return std::nullopt;
}

std::optional<std::string> wireAddressBytes(std::string_view text) {
   if (text.empty()) return "";
   std::array<unsigned char, 6> mac{};
   int end = -1;
   const std::string terminated(text);
   // NOLINTNEXTLINE(cert-err34-c): every field is at most two hexadecimal digits.
   if (std::sscanf(terminated.c_str(), "%2hhx:%2hhx:%2hhx:%2hhx:%2hhx:%2hhx%n", &mac[0], &mac[1], &mac[2],
                   &mac[3], &mac[4], &mac[5], &end) == 6 &&
       end == static_cast<int>(text.size())) {
      return std::string(mac.begin(), mac.end());
   }
   try {
      return parseAddressBytes("", text);
   } catch (const UsageError&) {
      return std::nullopt;
   }
}

pb::nexthop_msg parseNexthop(std::string_view what, std::string_view text) {
   constexpr std::string_view kKeys =
        "comma-separated intf=NAME, address=IP, labels=L/L…, op=OPERATION, weight=N";
   pb::nexthop_msg nexthop;
   nexthop.set_weight(1);
   if (text.empty()) refuseValue(what, text, kKeys);
   split(text, ',', [&](std::string_view part) {
      const size_t equals = part.find('=');
      if (equals == std::string_view::npos) refuseValue(what, text, kKeys);
      const std::string_view key = part.substr(0, equals);
      const std::string_view value = part.substr(equals + 1);
      const std::string field = fmt::format("{} {}", what, key);
      if (key == "intf") {
         nexthop.set_intf(std::string(value));
      } else if (key == "address") {
         *nexthop.mutable_address() = parseAddress(field, value);
      } else if (key == "labels") {
         nexthop.clear_mpls_labels();
         split(value, '/', [&](std::string_view label) {
            nexthop.add_mpls_labels(static_cast<uint32_t>(parseNumber(field, label, 0, 0xfffff)));
         });
      } else if (key == "op") {
         nexthop.set_mpls_operation(parseOperation(field, value));
      } else if (key == "weight") {
         nexthop.set_weight(static_cast<uint32_t>(parseNumber(field, value, 0, 0xffff)));
      } else {
         refuseValue(what, text, kKeys);
      }
   });
   return nexthop;
}

std::string decimalText(double value) {
   std::string text = fmt::format("{:.3f}", value);
   if (text.find('.') != std::string::npos) {
      text.erase(text.find_last_not_of('0') + 1);
      if (text.back() == '.') text.pop_back();
   }
   return text == "-0" ? "0" : text;
}

std::pair<std::string, std::string> parseKeyValue(std::string_view what, std::string_view text) {
   const size_t equals = text.find('=');
   if (equals == std::string_view::npos || equals == 0) refuseValue(what, text, "KEY=VALUE");
   return {std::string(text.substr(0, equals)), std::string(text.substr(equals + 1))};
}

}  // namespace orvctl
