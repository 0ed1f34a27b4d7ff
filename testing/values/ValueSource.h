// Where generated values come from: a seeded sequence, the same on every machine, or the bytes of a fuzzer
// followed by zeros.
//
// Thread-safety: one thread at a time.
#pragma once

#include <array>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <string>
#include <string_view>

namespace orvtest {

class ValueSource {
public:
   // Draws valid values only.
   explicit ValueSource(std::uint64_t seed) : state_(seed) {}
   // Draws wild values too: numbers outside an enumeration, unknown address families.
   explicit ValueSource(std::span<const std::uint8_t> bytes) : bytes_(bytes), fromBytes_(true) {}

   [[nodiscard]] bool wild() const noexcept { return fromBytes_; }

   // Any number of the type; a seeded source draws both ends of the range more often.
   template <std::unsigned_integral T>
   T number() {
      if (fromBytes_) {
         std::uint64_t value = 0;
         for (std::size_t i = 0; i < sizeof(T); ++i)
            value |= std::uint64_t{byte()} << (8 * i);
         return static_cast<T>(value);
      }
      const std::uint64_t drawn = next();
      switch (drawn >> 61) {
         case 0:
            return 0;
         case 1:
            return std::numeric_limits<T>::max();
         default:
            return static_cast<T>(drawn);
      }
   }

   // 0 to limit - 1; the limit is 1 to 65536.
   std::uint32_t below(std::uint32_t limit) {
      if (!fromBytes_) return static_cast<std::uint32_t>((next() >> 32) % limit);
      return (limit <= 256 ? byte() : number<std::uint16_t>()) % limit;
   }
   bool flag() { return below(2) == 1; }

   // A member 0 to `last`, or any number where the source is wild.
   template <typename Enum>
   Enum member(std::uint8_t last) {
      return static_cast<Enum>(wild() ? byte() : static_cast<std::uint8_t>(below(last + 1U)));
   }

   template <std::size_t size>
   std::array<std::uint8_t, size> bytes() {
      std::array<std::uint8_t, size> out{};
      for (std::uint8_t& b : out)
         b = byte();
      return out;
   }

   // 0 to `longest` letters and digits; valid as a protobuf string and as a name.
   std::string text(std::uint32_t longest = 24) {
      static constexpr std::string_view letters =
           "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789";
      std::string out(below(longest + 1), ' ');
      for (char& c : out)
         c = letters[below(letters.size())];
      return out;
   }

private:
   // splitmix64
   std::uint64_t next() {
      std::uint64_t z = (state_ += 0x9e3779b97f4a7c15ULL);
      z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9ULL;
      z = (z ^ (z >> 27)) * 0x94d049bb133111ebULL;
      return z ^ (z >> 31);
   }
   std::uint8_t byte() {
      if (!fromBytes_) return static_cast<std::uint8_t>(next() >> 56);
      if (bytes_.empty()) return 0;
      const std::uint8_t first = bytes_.front();
      bytes_ = bytes_.subspan(1);
      return first;
   }

   std::uint64_t state_ = 0;
   std::span<const std::uint8_t> bytes_;
   bool fromBytes_ = false;
};

}  // namespace orvtest
