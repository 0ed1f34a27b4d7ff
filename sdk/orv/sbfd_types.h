// Records of seamless-BFD echo sessions (RFC 7880, RFC 7881).
//
// Thread-safety: plain values.
#pragma once

#include <compare>
#include <string>
#include <utility>
#include <vector>

#include "orv/intf_id.h"
#include "orv/ip_addr.h"
#include "orv/mpls_label.h"

namespace orv {

// State of a session (RFC 5880 section 4.1); 0 is an unknown session.
enum class bfd_session_status_t : std::uint8_t {
   unknown = 0,
   down = 1,
   init = 2,
   up = 3,
   admin_down = 4,
};
[[nodiscard]] std::string_view enum_text(bfd_session_status_t v) noexcept;

// Identity of an echo session: the path that its probes take. A default key names no
// session.
class sbfd_echo_session_key_t {
public:
   using sdk_value = sbfd_echo_session_key_t;

   sbfd_echo_session_key_t() = default;
   sbfd_echo_session_key_t(const ip_addr_t& nexthop, intf_id_t nexthop_intf,
                           std::vector<mpls_label_t> label_stack, std::uint8_t dscp, std::uint8_t mpls_exp)
        : nexthop_(nexthop),
          nexthop_intf_(std::move(nexthop_intf)),
          label_stack_(std::move(label_stack)),
          dscp_(dscp),
          mpls_exp_(mpls_exp) {}

   // Next hop of the probes.
   [[nodiscard]] const ip_addr_t& nexthop() const noexcept { return nexthop_; }
   // Interface that the probes leave through.
   [[nodiscard]] const intf_id_t& nexthop_intf() const noexcept { return nexthop_intf_; }
   // Label stack of the probes, outermost first.
   [[nodiscard]] const std::vector<mpls_label_t>& label_stack() const noexcept { return label_stack_; }
   // DSCP of the probes, 0 to 255 as given; the switch uses 6 bits.
   [[nodiscard]] std::uint8_t dscp() const noexcept { return dscp_; }
   // Traffic class of the labels (RFC 5462), 0 to 7.
   [[nodiscard]] std::uint8_t mpls_exp() const noexcept { return mpls_exp_; }

   auto operator<=>(const sbfd_echo_session_key_t&) const = default;
   [[nodiscard]] std::size_t hash() const;
   [[nodiscard]] std::string to_string() const;

private:
   ip_addr_t nexthop_;
   intf_id_t nexthop_intf_;
   std::vector<mpls_label_t> label_stack_;
   std::uint8_t dscp_ = 0;
   std::uint8_t mpls_exp_ = 0;
};

// Rate of the probes.
class sbfd_interval_t {
public:
   using sdk_value = sbfd_interval_t;

   sbfd_interval_t() = default;
   sbfd_interval_t(std::uint16_t min_tx, std::uint8_t multiplier)
        : min_tx_(min_tx), multiplier_(multiplier) {}

   // Interval between probes in milliseconds.
   [[nodiscard]] std::uint16_t min_tx() const noexcept { return min_tx_; }
   void min_tx_is(std::uint16_t v) { min_tx_ = v; }
   // Number of consecutive lost probes that takes the session down.
   [[nodiscard]] std::uint8_t multiplier() const noexcept { return multiplier_; }
   void multiplier_is(std::uint8_t v) { multiplier_ = v; }

   bool operator==(const sbfd_interval_t&) const = default;
   [[nodiscard]] std::size_t hash() const;
   [[nodiscard]] std::string to_string() const;

private:
   std::uint16_t min_tx_ = 0;
   std::uint8_t multiplier_ = 0;
};

// Round-trip times of a session in microseconds: over its life, and over the last
// snapshot interval.
class sbfd_echo_session_rtt_stats_t {
public:
   using sdk_value = sbfd_echo_session_rtt_stats_t;

   sbfd_echo_session_rtt_stats_t() = default;

   [[nodiscard]] std::uint32_t last_rtt() const noexcept { return last_rtt_; }
   void last_rtt_is(std::uint32_t v) { last_rtt_ = v; }
   [[nodiscard]] std::uint32_t min_rtt() const noexcept { return min_rtt_; }
   void min_rtt_is(std::uint32_t v) { min_rtt_ = v; }
   [[nodiscard]] std::uint32_t avg_rtt() const noexcept { return avg_rtt_; }
   void avg_rtt_is(std::uint32_t v) { avg_rtt_ = v; }
   [[nodiscard]] std::uint32_t max_rtt() const noexcept { return max_rtt_; }
   void max_rtt_is(std::uint32_t v) { max_rtt_ = v; }
   [[nodiscard]] std::uint32_t snapshot_min_rtt() const noexcept { return snapshot_min_rtt_; }
   void snapshot_min_rtt_is(std::uint32_t v) { snapshot_min_rtt_ = v; }
   [[nodiscard]] std::uint32_t snapshot_avg_rtt() const noexcept { return snapshot_avg_rtt_; }
   void snapshot_avg_rtt_is(std::uint32_t v) { snapshot_avg_rtt_ = v; }
   [[nodiscard]] std::uint32_t snapshot_max_rtt() const noexcept { return snapshot_max_rtt_; }
   void snapshot_max_rtt_is(std::uint32_t v) { snapshot_max_rtt_ = v; }

   bool operator==(const sbfd_echo_session_rtt_stats_t&) const = default;
   [[nodiscard]] std::size_t hash() const;
   [[nodiscard]] std::string to_string() const;

private:
   std::uint32_t last_rtt_ = 0;
   std::uint32_t min_rtt_ = 0;
   std::uint32_t avg_rtt_ = 0;
   std::uint32_t max_rtt_ = 0;
   std::uint32_t snapshot_min_rtt_ = 0;
   std::uint32_t snapshot_avg_rtt_ = 0;
   std::uint32_t snapshot_max_rtt_ = 0;
};

}  // namespace orv
