// Counters of physical Ethernet interfaces.
//
// Thread-safety: plain values.
#pragma once

#include "orv/value.h"

namespace orv {

// Errors since the counters were cleared (RFC 3635).
class eth_phy_intf_counters_t {
public:
   using sdk_value = eth_phy_intf_counters_t;

   eth_phy_intf_counters_t() = default;

   // Frames sent after one collision.
   [[nodiscard]] std::uint64_t single_collision_frames() const noexcept { return single_collision_frames_; }
   void single_collision_frames_is(std::uint64_t v) { single_collision_frames_ = v; }
   // Frames sent after more than one collision.
   [[nodiscard]] std::uint64_t multiple_collision_frames() const noexcept {
      return multiple_collision_frames_;
   }
   void multiple_collision_frames_is(std::uint64_t v) { multiple_collision_frames_ = v; }
   // Frames with a bad check sequence.
   [[nodiscard]] std::uint64_t fcs_errors() const noexcept { return fcs_errors_; }
   void fcs_errors_is(std::uint64_t v) { fcs_errors_ = v; }
   // Frames with a bad check sequence that are not a whole number of bytes.
   [[nodiscard]] std::uint64_t alignment_errors() const noexcept { return alignment_errors_; }
   void alignment_errors_is(std::uint64_t v) { alignment_errors_ = v; }
   // Frames whose first attempt was delayed by a busy medium.
   [[nodiscard]] std::uint64_t deferred_transmissions() const noexcept { return deferred_transmissions_; }
   void deferred_transmissions_is(std::uint64_t v) { deferred_transmissions_ = v; }
   // Collisions later than one slot time into a frame.
   [[nodiscard]] std::uint64_t late_collisions() const noexcept { return late_collisions_; }
   void late_collisions_is(std::uint64_t v) { late_collisions_ = v; }
   // Frames abandoned after too many collisions.
   [[nodiscard]] std::uint64_t excessive_collisions() const noexcept { return excessive_collisions_; }
   void excessive_collisions_is(std::uint64_t v) { excessive_collisions_ = v; }
   // Frames not sent because of an error within the switch.
   [[nodiscard]] std::uint64_t internal_mac_transmit_errors() const noexcept {
      return internal_mac_transmit_errors_;
   }
   void internal_mac_transmit_errors_is(std::uint64_t v) { internal_mac_transmit_errors_ = v; }
   // Times that the carrier was lost or absent while sending.
   [[nodiscard]] std::uint64_t carrier_sense_errors() const noexcept { return carrier_sense_errors_; }
   void carrier_sense_errors_is(std::uint64_t v) { carrier_sense_errors_ = v; }
   // Frames lost on arrival because of an error within the switch.
   [[nodiscard]] std::uint64_t internal_mac_receive_errors() const noexcept {
      return internal_mac_receive_errors_;
   }
   void internal_mac_receive_errors_is(std::uint64_t v) { internal_mac_receive_errors_ = v; }
   // Frames shorter than 64 bytes, otherwise good.
   [[nodiscard]] std::uint64_t frame_too_shorts() const noexcept { return frame_too_shorts_; }
   void frame_too_shorts_is(std::uint64_t v) { frame_too_shorts_ = v; }
   // Frames longer than permitted.
   [[nodiscard]] std::uint64_t frame_too_longs() const noexcept { return frame_too_longs_; }
   void frame_too_longs_is(std::uint64_t v) { frame_too_longs_ = v; }
   // Signal quality test errors.
   [[nodiscard]] std::uint64_t sqe_test_errors() const noexcept { return sqe_test_errors_; }
   void sqe_test_errors_is(std::uint64_t v) { sqe_test_errors_ = v; }
   // Times that a symbol was invalid while the medium was in use.
   [[nodiscard]] std::uint64_t symbol_errors() const noexcept { return symbol_errors_; }
   void symbol_errors_is(std::uint64_t v) { symbol_errors_ = v; }
   // MAC control frames of unknown kind.
   [[nodiscard]] std::uint64_t in_unknown_opcodes() const noexcept { return in_unknown_opcodes_; }
   void in_unknown_opcodes_is(std::uint64_t v) { in_unknown_opcodes_ = v; }
   // PAUSE frames.
   [[nodiscard]] std::uint64_t out_pause_frames() const noexcept { return out_pause_frames_; }
   void out_pause_frames_is(std::uint64_t v) { out_pause_frames_ = v; }
   [[nodiscard]] std::uint64_t in_pause_frames() const noexcept { return in_pause_frames_; }
   void in_pause_frames_is(std::uint64_t v) { in_pause_frames_ = v; }
   // Frames shorter than 64 bytes with a bad check sequence.
   [[nodiscard]] std::uint64_t fragments() const noexcept { return fragments_; }
   void fragments_is(std::uint64_t v) { fragments_ = v; }
   // Frames longer than permitted with a bad check sequence.
   [[nodiscard]] std::uint64_t jabbers() const noexcept { return jabbers_; }
   void jabbers_is(std::uint64_t v) { jabbers_ = v; }

   bool operator==(const eth_phy_intf_counters_t&) const = default;
   [[nodiscard]] std::size_t hash() const;
   [[nodiscard]] std::string to_string() const;

private:
   std::uint64_t single_collision_frames_ = 0;
   std::uint64_t multiple_collision_frames_ = 0;
   std::uint64_t fcs_errors_ = 0;
   std::uint64_t alignment_errors_ = 0;
   std::uint64_t deferred_transmissions_ = 0;
   std::uint64_t late_collisions_ = 0;
   std::uint64_t excessive_collisions_ = 0;
   std::uint64_t internal_mac_transmit_errors_ = 0;
   std::uint64_t carrier_sense_errors_ = 0;
   std::uint64_t internal_mac_receive_errors_ = 0;
   std::uint64_t frame_too_shorts_ = 0;
   std::uint64_t frame_too_longs_ = 0;
   std::uint64_t sqe_test_errors_ = 0;
   std::uint64_t symbol_errors_ = 0;
   std::uint64_t in_unknown_opcodes_ = 0;
   std::uint64_t out_pause_frames_ = 0;
   std::uint64_t in_pause_frames_ = 0;
   std::uint64_t fragments_ = 0;
   std::uint64_t jabbers_ = 0;
};

// Frames by size in bytes, since the counters were cleared.
class eth_phy_intf_bin_counters_t {
public:
   using sdk_value = eth_phy_intf_bin_counters_t;

   eth_phy_intf_bin_counters_t() = default;

   // Frames received.
   [[nodiscard]] std::uint64_t in_64_octet_frames() const noexcept { return in_64_octet_frames_; }
   void in_64_octet_frames_is(std::uint64_t v) { in_64_octet_frames_ = v; }
   [[nodiscard]] std::uint64_t in_65_to_127_octet_frames() const noexcept {
      return in_65_to_127_octet_frames_;
   }
   void in_65_to_127_octet_frames_is(std::uint64_t v) { in_65_to_127_octet_frames_ = v; }
   [[nodiscard]] std::uint64_t in_128_to_255_octet_frames() const noexcept {
      return in_128_to_255_octet_frames_;
   }
   void in_128_to_255_octet_frames_is(std::uint64_t v) { in_128_to_255_octet_frames_ = v; }
   [[nodiscard]] std::uint64_t in_256_to_511_octet_frames() const noexcept {
      return in_256_to_511_octet_frames_;
   }
   void in_256_to_511_octet_frames_is(std::uint64_t v) { in_256_to_511_octet_frames_ = v; }
   [[nodiscard]] std::uint64_t in_512_to_1023_octet_frames() const noexcept {
      return in_512_to_1023_octet_frames_;
   }
   void in_512_to_1023_octet_frames_is(std::uint64_t v) { in_512_to_1023_octet_frames_ = v; }
   [[nodiscard]] std::uint64_t in_1024_to_1522_octet_frames() const noexcept {
      return in_1024_to_1522_octet_frames_;
   }
   void in_1024_to_1522_octet_frames_is(std::uint64_t v) { in_1024_to_1522_octet_frames_ = v; }
   [[nodiscard]] std::uint64_t in_1523_to_max_octet_frames() const noexcept {
      return in_1523_to_max_octet_frames_;
   }
   void in_1523_to_max_octet_frames_is(std::uint64_t v) { in_1523_to_max_octet_frames_ = v; }
   // Frames sent.
   [[nodiscard]] std::uint64_t out_64_octet_frames() const noexcept { return out_64_octet_frames_; }
   void out_64_octet_frames_is(std::uint64_t v) { out_64_octet_frames_ = v; }
   [[nodiscard]] std::uint64_t out_65_to_127_octet_frames() const noexcept {
      return out_65_to_127_octet_frames_;
   }
   void out_65_to_127_octet_frames_is(std::uint64_t v) { out_65_to_127_octet_frames_ = v; }
   [[nodiscard]] std::uint64_t out_128_to_255_octet_frames() const noexcept {
      return out_128_to_255_octet_frames_;
   }
   void out_128_to_255_octet_frames_is(std::uint64_t v) { out_128_to_255_octet_frames_ = v; }
   [[nodiscard]] std::uint64_t out_256_to_511_octet_frames() const noexcept {
      return out_256_to_511_octet_frames_;
   }
   void out_256_to_511_octet_frames_is(std::uint64_t v) { out_256_to_511_octet_frames_ = v; }
   [[nodiscard]] std::uint64_t out_512_to_1023_octet_frames() const noexcept {
      return out_512_to_1023_octet_frames_;
   }
   void out_512_to_1023_octet_frames_is(std::uint64_t v) { out_512_to_1023_octet_frames_ = v; }
   [[nodiscard]] std::uint64_t out_1024_to_1522_octet_frames() const noexcept {
      return out_1024_to_1522_octet_frames_;
   }
   void out_1024_to_1522_octet_frames_is(std::uint64_t v) { out_1024_to_1522_octet_frames_ = v; }
   [[nodiscard]] std::uint64_t out_1523_to_max_octet_frames() const noexcept {
      return out_1523_to_max_octet_frames_;
   }
   void out_1523_to_max_octet_frames_is(std::uint64_t v) { out_1523_to_max_octet_frames_ = v; }

   bool operator==(const eth_phy_intf_bin_counters_t&) const = default;
   [[nodiscard]] std::size_t hash() const;
   [[nodiscard]] std::string to_string() const;

private:
   std::uint64_t in_64_octet_frames_ = 0;
   std::uint64_t in_65_to_127_octet_frames_ = 0;
   std::uint64_t in_128_to_255_octet_frames_ = 0;
   std::uint64_t in_256_to_511_octet_frames_ = 0;
   std::uint64_t in_512_to_1023_octet_frames_ = 0;
   std::uint64_t in_1024_to_1522_octet_frames_ = 0;
   std::uint64_t in_1523_to_max_octet_frames_ = 0;
   std::uint64_t out_64_octet_frames_ = 0;
   std::uint64_t out_65_to_127_octet_frames_ = 0;
   std::uint64_t out_128_to_255_octet_frames_ = 0;
   std::uint64_t out_256_to_511_octet_frames_ = 0;
   std::uint64_t out_512_to_1023_octet_frames_ = 0;
   std::uint64_t out_1024_to_1522_octet_frames_ = 0;
   std::uint64_t out_1523_to_max_octet_frames_ = 0;
};

}  // namespace orv
