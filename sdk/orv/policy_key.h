// Identity of class maps and policy maps.
//
// Thread-safety: plain values.
#pragma once

#include <compare>
#include <string>
#include <utility>

#include "orv/value.h"

namespace orv {

// Feature that a class map or policy map belongs to.
enum class policy_feature_t : std::uint8_t {
   none = 0,
   pbr = 1,  // policy-based routing
   qos = 2,
   tap_aggregation = 3,
   control_plane = 4,
};
[[nodiscard]] std::string_view enum_text(policy_feature_t v) noexcept;

// A name within a feature.
class policy_map_key_t {
public:
   using sdk_value = policy_map_key_t;

   policy_map_key_t() = default;
   policy_map_key_t(std::string name, policy_feature_t feature) : name_(std::move(name)), feature_(feature) {}

   [[nodiscard]] const std::string& name() const noexcept { return name_; }
   void name_is(std::string v) { name_ = std::move(v); }
   [[nodiscard]] policy_feature_t feature() const noexcept { return feature_; }
   void feature_is(policy_feature_t v) { feature_ = v; }

   auto operator<=>(const policy_map_key_t&) const = default;
   [[nodiscard]] std::size_t hash() const;
   [[nodiscard]] std::string to_string() const;

private:
   std::string name_;
   policy_feature_t feature_ = policy_feature_t::none;
};

}  // namespace orv
