// Records of MPLS routes.
//
// Thread-safety: plain values.
#pragma once

#include <array>
#include <compare>
#include <initializer_list>
#include <span>
#include <string>
#include <utility>

#include "orv/intf_id.h"
#include "orv/ip_addr.h"
#include "orv/mpls_label.h"

namespace orv {

// Operation on the label stack of a packet.
enum class mpls_action_t : std::uint8_t {
   none = 0,
   push = 1,
   pop = 2,
   swap = 3,
   forward = 4,  // the stack stays as it is
};
[[nodiscard]] std::string_view enum_text(mpls_action_t v) noexcept;

// Payload under a popped label stack.
enum class mpls_payload_type_t : std::uint8_t {
   undefined = 0,
   ipv4 = 1,
   ipv6 = 2,
   mpls = 3,
   autodecide = 4,  // by the first nibble of the payload
};
[[nodiscard]] std::string_view enum_text(mpls_payload_type_t v) noexcept;

// How the TTL is copied between label and payload (RFC 3443).
enum class mpls_ttl_mode_t : std::uint8_t {
   undefined = 0,
   uniform = 1,
   pipe = 2,
};
[[nodiscard]] std::string_view enum_text(mpls_ttl_mode_t v) noexcept;

// Identity of an MPLS route: the labels that it matches and a metric, which ranks several sources of one
// stack. The smallest metric wins. Trivially copyable.
class mpls_route_key_t {
public:
   using sdk_value = mpls_route_key_t;
   // Maximum number of labels in a look-up.
   static constexpr std::size_t labels_max = 14;

   // No label, metric 0: names no route.
   mpls_route_key_t() = default;
   explicit mpls_route_key_t(mpls_label_t label, std::uint8_t metric = 0)
        : mpls_route_key_t(std::span<const mpls_label_t>(&label, 1), metric) {}
   // Outermost label first.
   // THROWS: invalid_range_error for more than labels_max labels.
   mpls_route_key_t(std::span<const mpls_label_t> labels, std::uint8_t metric);

   [[nodiscard]] std::span<const mpls_label_t> labels() const noexcept { return {labels_.data(), size_}; }
   // The outermost label; a null label if the stack is empty.
   [[nodiscard]] mpls_label_t top_label() const noexcept { return labels_[0]; }
   [[nodiscard]] std::uint8_t metric() const noexcept { return metric_; }
   void metric_is(std::uint8_t v) { metric_ = v; }

   // Ordered by labels, a shorter stack before its extensions, then by metric.
   std::strong_ordering operator<=>(const mpls_route_key_t& other) const noexcept;
   bool operator==(const mpls_route_key_t&) const = default;
   [[nodiscard]] std::size_t hash() const noexcept;
   // "100" or "100,200 metric 5"
   [[nodiscard]] std::string to_string() const;

private:
   // Slots from size_ on hold the null label.
   std::array<mpls_label_t, labels_max> labels_{};
   std::uint8_t size_ = 0;
   std::uint8_t metric_ = 0;
};

static_assert(std::is_trivially_copyable_v<mpls_route_key_t>, "route keys are copied on hot paths");

// An MPLS route without its vias.
class mpls_route_t {
public:
   using sdk_value = mpls_route_t;

   mpls_route_t() = default;
   explicit mpls_route_t(const mpls_route_key_t& key) : key_(key) {}
   mpls_route_t(const mpls_route_key_t& key, std::uint16_t version_id) : key_(key), version_id_(version_id) {}

   [[nodiscard]] const mpls_route_key_t& key() const noexcept { return key_; }
   void key_is(const mpls_route_key_t& v) { key_ = v; }
   // Version that the owner assigns to the route; 0 for none.
   [[nodiscard]] std::uint16_t version_id() const noexcept { return version_id_; }
   void version_id_is(std::uint16_t v) { version_id_ = v; }

   bool operator==(const mpls_route_t&) const = default;
   [[nodiscard]] std::size_t hash() const;
   [[nodiscard]] std::string to_string() const;

private:
   mpls_route_key_t key_;
   std::uint16_t version_id_ = 0;
};

// One path of an MPLS route: a hop or a nexthop group. A via with nothing but a route key is bare.
class mpls_route_via_t {
public:
   using sdk_value = mpls_route_via_t;

   mpls_route_via_t() = default;
   explicit mpls_route_via_t(const mpls_route_key_t& route_key) : route_key_(route_key) {}
   mpls_route_via_t(const mpls_route_key_t& route_key, mpls_action_t label_action)
        : route_key_(route_key), label_action_(label_action) {}

   // The route that the via belongs to.
   [[nodiscard]] const mpls_route_key_t& route_key() const noexcept { return route_key_; }
   void route_key_is(const mpls_route_key_t& v) { route_key_ = v; }
   // Next hop; null for none.
   [[nodiscard]] const ip_addr_t& hop() const noexcept { return hop_; }
   void hop_is(const ip_addr_t& v) { hop_ = v; }
   // Egress interface; null to resolve the hop.
   [[nodiscard]] const intf_id_t& intf() const noexcept { return intf_; }
   void intf_is(intf_id_t v) { intf_ = std::move(v); }
   // The new label of a push or swap; null otherwise.
   [[nodiscard]] mpls_label_t pushswap_label() const noexcept { return pushswap_label_; }
   void pushswap_label_is(mpls_label_t v) { pushswap_label_ = v; }
   [[nodiscard]] mpls_action_t label_action() const noexcept { return label_action_; }
   void label_action_is(mpls_action_t v) { label_action_ = v; }
   [[nodiscard]] mpls_ttl_mode_t ttl_mode() const noexcept { return ttl_mode_; }
   void ttl_mode_is(mpls_ttl_mode_t v) { ttl_mode_ = v; }
   [[nodiscard]] mpls_payload_type_t payload_type() const noexcept { return payload_type_; }
   void payload_type_is(mpls_payload_type_t v) { payload_type_ = v; }
   [[nodiscard]] bool skip_egress_acl() const noexcept { return skip_egress_acl_; }
   void skip_egress_acl_is(bool v) { skip_egress_acl_ = v; }
   // Name of a nexthop group, in place of hop and interface.
   [[nodiscard]] const std::string& nexthop_group() const noexcept { return nexthop_group_; }
   void nexthop_group_is(std::string v) { nexthop_group_ = std::move(v); }

   bool operator==(const mpls_route_via_t&) const = default;
   [[nodiscard]] std::size_t hash() const;
   [[nodiscard]] std::string to_string() const;

private:
   mpls_route_key_t route_key_;
   ip_addr_t hop_;
   intf_id_t intf_;
   mpls_label_t pushswap_label_;
   mpls_action_t label_action_ = mpls_action_t::none;
   mpls_ttl_mode_t ttl_mode_ = mpls_ttl_mode_t::undefined;
   mpls_payload_type_t payload_type_ = mpls_payload_type_t::undefined;
   bool skip_egress_acl_ = false;
   std::string nexthop_group_;
};

// A route as programmed in hardware.
class mpls_route_status_t {
public:
   using sdk_value = mpls_route_status_t;

   mpls_route_status_t() = default;
   explicit mpls_route_status_t(const mpls_route_key_t& key) : key_(key) {}

   [[nodiscard]] const mpls_route_key_t& key() const noexcept { return key_; }
   void key_is(const mpls_route_key_t& v) { key_ = v; }
   // FEC that the route uses.
   [[nodiscard]] mpls_fec_id_t fec_id() const noexcept { return fec_id_; }
   void fec_id_is(mpls_fec_id_t v) { fec_id_ = v; }
   // Version of the route in hardware; 0 for none.
   [[nodiscard]] std::uint16_t hw_version_id() const noexcept { return hw_version_id_; }
   void hw_version_id_is(std::uint16_t v) { hw_version_id_ = v; }

   bool operator==(const mpls_route_status_t&) const = default;
   [[nodiscard]] std::size_t hash() const;
   [[nodiscard]] std::string to_string() const;

private:
   mpls_route_key_t key_;
   mpls_fec_id_t fec_id_;
   std::uint16_t hw_version_id_ = 0;
};

}  // namespace orv
