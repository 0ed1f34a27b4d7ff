// MPLS labels and FEC identifiers.
//
// Thread-safety: plain values.
#pragma once

#include <compare>

#include "orv/value.h"

namespace orv {

// A 20-bit label (RFC 3032), or the null label, whose number is one above the
// largest.
class mpls_label_t {
public:
   using sdk_value = mpls_label_t;
   static constexpr std::uint32_t max = 1048575;
   static constexpr std::uint32_t null_label = 1048576;

   // The null label.
   constexpr mpls_label_t() = default;
   // THROWS: invalid_range_error, naming the number, if it is above null_label.
   constexpr explicit mpls_label_t(std::uint32_t label) : label_(label) {
      if (label > null_label) refuse(label);
   }

   [[nodiscard]] constexpr std::uint32_t label() const noexcept { return label_; }
   // True for the null label.
   constexpr bool operator!() const noexcept { return label_ == null_label; }

   auto operator<=>(const mpls_label_t&) const = default;
   [[nodiscard]] std::size_t hash() const noexcept { return detail::mix(label_); }
   // The decimal number; "null" for the null label.
   [[nodiscard]] std::string to_string() const;

private:
   [[noreturn]] static void refuse(std::uint32_t label);

   std::uint32_t label_ = null_label;
};

// The forwarding equivalence class that an MPLS route uses; 0 stands for none.
class mpls_fec_id_t {
public:
   using sdk_value = mpls_fec_id_t;

   constexpr mpls_fec_id_t() = default;
   constexpr explicit mpls_fec_id_t(std::uint64_t id) : id_(id) {}

   [[nodiscard]] constexpr std::uint64_t id() const noexcept { return id_; }
   constexpr bool operator!() const noexcept { return id_ == 0; }

   auto operator<=>(const mpls_fec_id_t&) const = default;
   [[nodiscard]] std::size_t hash() const noexcept { return detail::mix(id_); }
   [[nodiscard]] std::string to_string() const { return std::to_string(id_); }

private:
   std::uint64_t id_ = 0;
};

}  // namespace orv
