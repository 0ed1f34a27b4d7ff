// Counters and rates of interfaces.
//
// Thread-safety: plain values.
#pragma once

#include "orv/value.h"

namespace orv {

// Traffic of an interface since its counters were cleared.
class intf_counters_t {
public:
   using sdk_value = intf_counters_t;

   intf_counters_t() = default;

   // Packets sent, by kind of destination.
   [[nodiscard]] std::uint64_t out_ucast_pkts() const noexcept { return out_ucast_pkts_; }
   void out_ucast_pkts_is(std::uint64_t v) { out_ucast_pkts_ = v; }
   [[nodiscard]] std::uint64_t out_multicast_pkts() const noexcept { return out_multicast_pkts_; }
   void out_multicast_pkts_is(std::uint64_t v) { out_multicast_pkts_ = v; }
   [[nodiscard]] std::uint64_t out_broadcast_pkts() const noexcept { return out_broadcast_pkts_; }
   void out_broadcast_pkts_is(std::uint64_t v) { out_broadcast_pkts_ = v; }
   // Packets received, by kind of destination.
   [[nodiscard]] std::uint64_t in_ucast_pkts() const noexcept { return in_ucast_pkts_; }
   void in_ucast_pkts_is(std::uint64_t v) { in_ucast_pkts_ = v; }
   [[nodiscard]] std::uint64_t in_multicast_pkts() const noexcept { return in_multicast_pkts_; }
   void in_multicast_pkts_is(std::uint64_t v) { in_multicast_pkts_ = v; }
   [[nodiscard]] std::uint64_t in_broadcast_pkts() const noexcept { return in_broadcast_pkts_; }
   void in_broadcast_pkts_is(std::uint64_t v) { in_broadcast_pkts_ = v; }
   // Bytes.
   [[nodiscard]] std::uint64_t out_octets() const noexcept { return out_octets_; }
   void out_octets_is(std::uint64_t v) { out_octets_ = v; }
   [[nodiscard]] std::uint64_t in_octets() const noexcept { return in_octets_; }
   void in_octets_is(std::uint64_t v) { in_octets_ = v; }
   // Packets dropped instead of sent.
   [[nodiscard]] std::uint64_t out_discards() const noexcept { return out_discards_; }
   void out_discards_is(std::uint64_t v) { out_discards_ = v; }
   // Packets not sent because of an error.
   [[nodiscard]] std::uint64_t out_errors() const noexcept { return out_errors_; }
   void out_errors_is(std::uint64_t v) { out_errors_ = v; }
   // Packets dropped on arrival.
   [[nodiscard]] std::uint64_t in_discards() const noexcept { return in_discards_; }
   void in_discards_is(std::uint64_t v) { in_discards_ = v; }
   // Packets received with an error.
   [[nodiscard]] std::uint64_t in_errors() const noexcept { return in_errors_; }
   void in_errors_is(std::uint64_t v) { in_errors_ = v; }
   // Seconds since 1970-01-01 UTC.
   [[nodiscard]] double sample_time() const noexcept { return sample_time_; }
   void sample_time_is(double v) { sample_time_ = v; }

   bool operator==(const intf_counters_t&) const = default;
   [[nodiscard]] std::size_t hash() const;
   [[nodiscard]] std::string to_string() const;

private:
   std::uint64_t out_ucast_pkts_ = 0;
   std::uint64_t out_multicast_pkts_ = 0;
   std::uint64_t out_broadcast_pkts_ = 0;
   std::uint64_t in_ucast_pkts_ = 0;
   std::uint64_t in_multicast_pkts_ = 0;
   std::uint64_t in_broadcast_pkts_ = 0;
   std::uint64_t out_octets_ = 0;
   std::uint64_t in_octets_ = 0;
   std::uint64_t out_discards_ = 0;
   std::uint64_t out_errors_ = 0;
   std::uint64_t in_discards_ = 0;
   std::uint64_t in_errors_ = 0;
   double sample_time_ = 0;
};

// Current traffic rates of an interface.
class intf_traffic_rates_t {
public:
   using sdk_value = intf_traffic_rates_t;

   intf_traffic_rates_t() = default;
   intf_traffic_rates_t(double out_pkts_rate, double in_pkts_rate, double out_bits_rate, double in_bits_rate,
                        double sample_time)
        : out_pkts_rate_(out_pkts_rate),
          in_pkts_rate_(in_pkts_rate),
          out_bits_rate_(out_bits_rate),
          in_bits_rate_(in_bits_rate),
          sample_time_(sample_time) {}

   // Packets per second.
   [[nodiscard]] double out_pkts_rate() const noexcept { return out_pkts_rate_; }
   void out_pkts_rate_is(double v) { out_pkts_rate_ = v; }
   [[nodiscard]] double in_pkts_rate() const noexcept { return in_pkts_rate_; }
   void in_pkts_rate_is(double v) { in_pkts_rate_ = v; }
   // Bits per second.
   [[nodiscard]] double out_bits_rate() const noexcept { return out_bits_rate_; }
   void out_bits_rate_is(double v) { out_bits_rate_ = v; }
   [[nodiscard]] double in_bits_rate() const noexcept { return in_bits_rate_; }
   void in_bits_rate_is(double v) { in_bits_rate_ = v; }
   // Seconds since 1970-01-01 UTC.
   [[nodiscard]] double sample_time() const noexcept { return sample_time_; }
   void sample_time_is(double v) { sample_time_ = v; }

   bool operator==(const intf_traffic_rates_t&) const = default;
   [[nodiscard]] std::size_t hash() const;
   [[nodiscard]] std::string to_string() const;

private:
   double out_pkts_rate_ = 0;
   double in_pkts_rate_ = 0;
   double out_bits_rate_ = 0;
   double in_bits_rate_ = 0;
   double sample_time_ = 0;
};

}  // namespace orv
