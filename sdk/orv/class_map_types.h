// Records of class maps.
//
// Thread-safety: plain values.
#pragma once

#include <compare>
#include <map>
#include <string>
#include <utility>

#include "orv/acl_types.h"
#include "orv/policy_key.h"

namespace orv {

// A rule of a class map: packets that the list matches belong to the class.
class class_map_rule_t {
public:
   using sdk_value = class_map_rule_t;

   class_map_rule_t() = default;
   explicit class_map_rule_t(acl_key_t acl_key) : acl_key_(std::move(acl_key)) {}

   [[nodiscard]] const acl_key_t& acl_key() const noexcept { return acl_key_; }
   void acl_key_is(acl_key_t v) { acl_key_ = std::move(v); }

   auto operator<=>(const class_map_rule_t&) const = default;
   [[nodiscard]] std::size_t hash() const;
   [[nodiscard]] std::string to_string() const;

private:
   acl_key_t acl_key_;
};

// A class of packets.
class class_map_t {
public:
   using sdk_value = class_map_t;

   class_map_t() = default;
   explicit class_map_t(policy_map_key_t key) : key_(std::move(key)) {}

   [[nodiscard]] const policy_map_key_t& key() const noexcept { return key_; }
   void key_is(policy_map_key_t v) { key_ = std::move(v); }
   // By sequence number.
   [[nodiscard]] const std::map<std::uint32_t, class_map_rule_t>& rules() const noexcept { return rules_; }
   void rules_is(std::map<std::uint32_t, class_map_rule_t> v) { rules_ = std::move(v); }
   void rule_set(std::uint32_t sequence, class_map_rule_t rule) {
      rules_.insert_or_assign(sequence, std::move(rule));
   }
   // A no-op if the sequence number does not exist.
   void rule_del(std::uint32_t sequence) { rules_.erase(sequence); }

   bool operator==(const class_map_t&) const = default;
   [[nodiscard]] std::size_t hash() const;
   [[nodiscard]] std::string to_string() const;

private:
   policy_map_key_t key_;
   std::map<std::uint32_t, class_map_rule_t> rules_;
};

}  // namespace orv
