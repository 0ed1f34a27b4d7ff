// What all value types of the SDK have in common.
//
// A value type is a regular type: copyable, comparable, hashable, printable. It has accessors `x()` and
// setters `x_is(v)`, `size_t hash() const` and `std::string to_string() const`, and marks itself by the
// member alias `sdk_value`; this header then provides std::hash, operator<< and fmt formatting. An
// enumeration marks itself by a function `enum_text` in its namespace and gets operator<< and fmt formatting.
//
// Thread-safety: plain values. No value type takes or requires the SDK's lock, and none calls a manager.
#pragma once

#include <fmt/format.h>

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <ostream>
#include <string>
#include <string_view>
#include <type_traits>

namespace orv {

template <typename T>
concept sdk_value_type = requires(const T& v) {
   typename T::sdk_value;
   { v.hash() } -> std::same_as<std::size_t>;
   { v.to_string() } -> std::same_as<std::string>;
};

// An enumeration with a name for each of its members; `enum_text` returns an empty text for a number without
// a name.
template <typename T>
concept sdk_enum_type = std::is_enum_v<T> && requires(T v) {
   { enum_text(v) } -> std::same_as<std::string_view>;
};

// The member's name, or the number of a value without a name.
template <sdk_enum_type E>
[[nodiscard]] std::string to_string(E v) {
   const std::string_view text = enum_text(v);
   if (!text.empty()) return std::string(text);
   return std::to_string(+static_cast<std::underlying_type_t<E>>(v));
}

template <sdk_value_type T>
std::ostream& operator<<(std::ostream& out, const T& v) {
   return out << v.to_string();
}

template <sdk_enum_type E>
std::ostream& operator<<(std::ostream& out, E v) {
   return out << to_string(v);
}

namespace detail {

constexpr std::uint64_t mix(std::uint64_t h) {
   h ^= h >> 32;
   h *= 0x9e3779b97f4a7c15ULL;
   h ^= h >> 29;
   h *= 0xbf58476d1ce4e5b9ULL;
   return h ^ (h >> 32);
}

template <typename T>
std::size_t hash_one(const T& v) {
   if constexpr (std::is_enum_v<T> || std::is_integral_v<T>) {
      return static_cast<std::size_t>(v);
   } else if constexpr (std::is_floating_point_v<T>) {
      return std::hash<T>{}(v);
   } else if constexpr (requires { v.hash(); }) {
      return v.hash();
   } else if constexpr (std::is_convertible_v<const T&, std::string_view>) {
      return std::hash<std::string_view>{}(v);
   } else if constexpr (requires {
                           v.first;
                           v.second;
                        }) {
      return mix(hash_one(v.first) + 0x9e3779b97f4a7c15ULL) ^ hash_one(v.second);
   } else if constexpr (requires { typename T::hasher; }) {
      // Equal unordered sets may iterate in different orders.
      std::uint64_t h = v.size();
      for (const auto& item : v)
         h += mix(hash_one(item) + 0x9e3779b97f4a7c15ULL);
      return mix(h);
   } else {
      std::size_t h = 0;
      for (const auto& item : v)
         h = mix(h + 0x9e3779b97f4a7c15ULL) ^ hash_one(item);
      return mix(h);
   }
}

// One hash of several members, in order.
template <typename... Ts>
std::size_t hash_of(const Ts&... members) {
   std::uint64_t h = 0;
   ((h = mix(h + 0x9e3779b97f4a7c15ULL + hash_one(members))), ...);
   return static_cast<std::size_t>(h);
}

// Makes external text fit for a message: escapes everything but printable ASCII as \xNN, and truncates the
// text after 128 bytes with "...".
[[nodiscard]] std::string quotable(std::string_view text);

}  // namespace detail
}  // namespace orv

template <orv::sdk_value_type T>
struct std::hash<T> {
   std::size_t operator()(const T& v) const { return v.hash(); }
};

template <orv::sdk_value_type T>
struct fmt::formatter<T, char> : fmt::formatter<std::string_view> {
   template <typename Context>
   auto format(const T& v, Context& ctx) const {
      return fmt::formatter<std::string_view>::format(v.to_string(), ctx);
   }
};

template <orv::sdk_enum_type E>
struct fmt::formatter<E, char> : fmt::formatter<std::string_view> {
   template <typename Context>
   auto format(E v, Context& ctx) const {
      return fmt::formatter<std::string_view>::format(orv::to_string(v), ctx);
   }
};
