#pragma once

// Identifiers of the forwarding information base (FIB).
// Thread-safety: plain values.

#include <fmt/format.h>

#include <compare>
#include <cstdint>
#include <functional>

namespace Rillo::Fib {

// An adjacency type says what a forwarding equivalence class (FEC) leads to. It is in the upper bits of the
// FEC's id, from this bit on.
constexpr unsigned adjTypePos() {
   return 56;
}
// One above the largest adjacency type.
constexpr std::uint8_t adjTypeMax() {
   return 27;
}
inline constexpr std::uint8_t adjTypeNexthopGroup = 3;

// Id of a FEC: the adjacency type in the upper 8 bits, a number within the type below. 0 means no FEC.
class FecId {
public:
   constexpr FecId() = default;
   constexpr explicit FecId(std::uint64_t value) : value_(value) {}

   [[nodiscard]] constexpr std::uint64_t value() const noexcept { return value_; }
   // A table may hold an id whose type is not below adjTypeMax().
   [[nodiscard]] constexpr std::uint8_t adjType() const noexcept {
      return static_cast<std::uint8_t>(value_ >> adjTypePos());
   }

   auto operator<=>(const FecId&) const = default;

private:
   std::uint64_t value_ = 0;
};

}  // namespace Rillo::Fib

namespace Routing::Fib {

// Version of a route, and of what its FEC leads to. Their owners assign them; 0 means none.
using RouteVersionId = std::uint32_t;
using FecVersionId = std::uint32_t;

}  // namespace Routing::Fib

template <>
struct std::hash<Rillo::Fib::FecId> {
   std::size_t operator()(const Rillo::Fib::FecId& fec) const noexcept {
      return std::hash<std::uint64_t>()(fec.value());
   }
};

template <>
struct fmt::formatter<Rillo::Fib::FecId> : fmt::formatter<std::uint64_t> {
   template <typename Context>
   auto format(const Rillo::Fib::FecId& fec, Context& context) const {
      return fmt::formatter<std::uint64_t>::format(fec.value(), context);
   }
};
