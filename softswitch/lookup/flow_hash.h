// The hash that spreads packets over several ways out.
//
// Thread-safety: one thread per object.
#pragma once

#include <fmt/format.h>

#include <cstdint>
#include <span>
#include <string_view>

namespace softswitch {

// FNV-1a, whose value is the same in every build and process, and a final mix: its low bits depend too
// closely on the low bits of the input bytes.
class FlowHash {
public:
   void add(std::span<const std::uint8_t> bytes) {
      for (const auto byte : bytes)
         value_ = (value_ ^ byte) * 0x100000001b3ULL;
   }
   void add(std::string_view text) {
      for (const char c : text)
         value_ = (value_ ^ static_cast<unsigned char>(c)) * 0x100000001b3ULL;
   }
   void add(std::uint32_t number) { add(fmt::format("/{}/", number)); }
   std::uint64_t value() const {
      const auto mixed = (value_ ^ value_ >> 32) * 0x9e3779b97f4a7c15ULL;
      return mixed ^ mixed >> 29;
   }

private:
   std::uint64_t value_ = 0xcbf29ce484222325ULL;
};

}  // namespace softswitch
