#pragma once

// Traffic of an interface as the counter tables hold it.
// Thread-safety: plain values.

#include <cstdint>

namespace Interface {

// Per second, over the time between the last two samples. Named and ordered as on the wire.
struct IntfRates {
   double outPktsRate = 0;
   double inPktsRate = 0;
   double outBitsRate = 0;
   double inBitsRate = 0;
   double sampleTime = 0;  // seconds since the epoch; 0 until the first rate is known

   [[nodiscard]] bool isEq(const IntfRates& other) const { return *this == other; }
   bool operator==(const IntfRates&) const = default;
};

// Packets and octets since the switch began to count.
struct IntfStatistics {
   std::uint64_t outUcastPkts = 0;
   std::uint64_t outMulticastPkts = 0;
   std::uint64_t outBroadcastPkts = 0;
   std::uint64_t inUcastPkts = 0;
   std::uint64_t inMulticastPkts = 0;
   std::uint64_t inBroadcastPkts = 0;
   std::uint64_t outOctets = 0;
   std::uint64_t inOctets = 0;
   std::uint64_t outDiscards = 0;
   std::uint64_t outErrors = 0;
   std::uint64_t inDiscards = 0;
   std::uint64_t inErrors = 0;
   double sampleTime = 0;  // seconds since the epoch

   bool operator==(const IntfStatistics&) const = default;
};

// A row of a counter table.
struct IntfCounter {
   IntfStatistics statistics;
   IntfRates rates;

   bool operator==(const IntfCounter&) const = default;
   // RETURNS: a checksum that changes with any single word of the row.
   [[nodiscard]] std::uint64_t check() const;
};

}  // namespace Interface
