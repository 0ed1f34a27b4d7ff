// Records of link aggregation groups.
//
// Thread-safety: plain values.
#pragma once

#include <string>
#include <utility>

#include "orv/intf_id.h"

namespace orv {

// What a LAG does while its peer does not speak LACP (IEEE 802.1AX).
enum class eth_lag_intf_fallback_type_t : std::uint8_t {
   undefined = 0,      // as the switch is configured
   none = 1,           // stays down
   static_member = 2,  // one member carries the traffic
   individual = 3,     // each member is an interface of its own
};
[[nodiscard]] std::string_view enum_text(eth_lag_intf_fallback_type_t v) noexcept;

// How a member takes part in LACP.
enum class eth_lag_intf_member_lacp_mode_t : std::uint8_t {
   undefined = 0,
   on = 1,       // no LACP: the member is always in the group
   passive = 2,  // replies to the peer
   active = 3,   // initiates
};
[[nodiscard]] std::string_view enum_text(eth_lag_intf_member_lacp_mode_t v) noexcept;

// How often a member asks its peer to send.
enum class eth_lag_intf_member_lacp_timeout_t : std::uint8_t {
   undefined = 0,
   short_timeout = 1,  // every second
   long_timeout = 2,   // every 30 seconds
};
[[nodiscard]] std::string_view enum_text(eth_lag_intf_member_lacp_timeout_t v) noexcept;

// A link aggregation group.
class eth_lag_intf_t {
public:
   using sdk_value = eth_lag_intf_t;

   eth_lag_intf_t() = default;
   explicit eth_lag_intf_t(intf_id_t intf) : intf_(std::move(intf)) {}

   // The group's own interface.
   [[nodiscard]] const intf_id_t& intf() const noexcept { return intf_; }
   void intf_is(intf_id_t v) { intf_ = std::move(v); }
   // Sum of the active members' speeds, in bits per second.
   [[nodiscard]] std::uint64_t speed() const noexcept { return speed_; }
   void speed_is(std::uint64_t v) { speed_ = v; }
   // Minimum number of active members for the group to be up.
   [[nodiscard]] std::uint32_t min_links() const noexcept { return min_links_; }
   void min_links_is(std::uint32_t v) { min_links_ = v; }
   [[nodiscard]] eth_lag_intf_fallback_type_t fallback_type() const noexcept { return fallback_type_; }
   void fallback_type_is(eth_lag_intf_fallback_type_t v) { fallback_type_ = v; }
   // Seconds without LACP after which the group falls back.
   [[nodiscard]] std::uint32_t fallback_timeout() const noexcept { return fallback_timeout_; }
   void fallback_timeout_is(std::uint32_t v) { fallback_timeout_ = v; }
   // The switch's own value for fallback_timeout, in seconds.
   [[nodiscard]] std::uint32_t fallback_timeout_default() const noexcept { return fallback_timeout_default_; }
   void fallback_timeout_default_is(std::uint32_t v) { fallback_timeout_default_ = v; }
   // Minimum speed for the group to be up, in bits per second.
   [[nodiscard]] std::uint64_t min_speed() const noexcept { return min_speed_; }
   void min_speed_is(std::uint64_t v) { min_speed_ = v; }

   bool operator==(const eth_lag_intf_t&) const = default;
   [[nodiscard]] std::size_t hash() const;
   [[nodiscard]] std::string to_string() const;

private:
   intf_id_t intf_;
   std::uint64_t speed_ = 0;
   std::uint32_t min_links_ = 0;
   eth_lag_intf_fallback_type_t fallback_type_ = eth_lag_intf_fallback_type_t::undefined;
   std::uint32_t fallback_timeout_ = 0;
   std::uint32_t fallback_timeout_default_ = 0;
   std::uint64_t min_speed_ = 0;
};

// Membership of an interface in a group.
class eth_lag_intf_membership_t {
public:
   using sdk_value = eth_lag_intf_membership_t;

   eth_lag_intf_membership_t() = default;
   explicit eth_lag_intf_membership_t(intf_id_t eth_lag_intf_id)
        : eth_lag_intf_id_(std::move(eth_lag_intf_id)) {}

   // The group's own interface; null if the interface is not a member.
   [[nodiscard]] const intf_id_t& eth_lag_intf_id() const noexcept { return eth_lag_intf_id_; }
   void eth_lag_intf_id_is(intf_id_t v) { eth_lag_intf_id_ = std::move(v); }
   // The member carries traffic.
   [[nodiscard]] bool active() const noexcept { return active_; }
   void active_is(bool v) { active_ = v; }
   // Why it is not active; empty if it is.
   [[nodiscard]] const std::string& reason() const noexcept { return reason_; }
   void reason_is(std::string v) { reason_ = std::move(v); }
   // When the membership began, in seconds since 1970-01-01 UTC.
   [[nodiscard]] double member_time() const noexcept { return member_time_; }
   void member_time_is(double v) { member_time_ = v; }
   [[nodiscard]] eth_lag_intf_member_lacp_mode_t mode() const noexcept { return mode_; }
   void mode_is(eth_lag_intf_member_lacp_mode_t v) { mode_ = v; }

   bool operator==(const eth_lag_intf_membership_t&) const = default;
   [[nodiscard]] std::size_t hash() const;
   [[nodiscard]] std::string to_string() const;

private:
   intf_id_t eth_lag_intf_id_;
   bool active_ = false;
   std::string reason_;
   double member_time_ = 0;
   eth_lag_intf_member_lacp_mode_t mode_ = eth_lag_intf_member_lacp_mode_t::undefined;
};

}  // namespace orv
