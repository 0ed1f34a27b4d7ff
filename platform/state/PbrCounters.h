#pragma once

// The counters of policies, one row per class and rule, and what a follower of the table passes on.
// Thread-safety: the table is guarded by the activity lock, as Rillo::Table; the others are plain values.

#include <compare>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string_view>

#include "platform/pavo/Ptr.h"
#include "platform/pavo/String.h"
#include "platform/rillo/Table.h"
#include "platform/zelt/Clock.h"

// What a counter counts.
struct PbrCountersKey {
   Pavo::String policyName;
   // The slice of the switch that counts; empty for the switch as a whole.
   Pavo::String sliceName;
   Pavo::String className;
   // The rule within the class.
   Pavo::String ruleName;

   auto operator<=>(const PbrCountersKey&) const = default;
   [[nodiscard]] std::size_t hash() const;
};

template <>
struct std::hash<PbrCountersKey> {
   std::size_t operator()(const PbrCountersKey& key) const { return key.hash(); }
};

namespace Pbr {

// In shared memory: a CounterTable.
inline constexpr std::string_view counterPath = "policy/pbr/counters";

struct CounterStatus {
   std::uint64_t packets = 0;
   std::uint64_t bytes = 0;
   // When the packets were counted, on the monotonic clock.
   Zelt::Seconds time = 0;

   bool operator==(const CounterStatus&) const = default;
   // RETURNS: a checksum that changes with any single word of the row.
   [[nodiscard]] std::uint64_t check() const;
};

class CounterTable final : public Rillo::Table<PbrCountersKey, CounterStatus> {
public:
   static constexpr std::string_view entityType = "Pbr::CounterTable";
   using Table::Table;
};

}  // namespace Pbr

// A counter at one moment.
struct PbrCounters {
   // The number that stands for the key; see PbrCountersKeyCompressionTable.h.
   std::uint64_t shortKey = 0;
   PbrCountersKey key;
   // Null if the counter is gone. Valid until the table changes.
   const Pbr::CounterStatus* status = nullptr;
};

// What an entry tells about a counter.
class PbrCountersEncodingFlags {
public:
   // The long key and the values.
   static constexpr std::uint8_t longKeyBit = 1U << 0U;
   // That the counter is gone: the long key and no values.
   static constexpr std::uint8_t deleteBit = 1U << 1U;

   constexpr PbrCountersEncodingFlags() = default;
   constexpr explicit PbrCountersEncodingFlags(std::uint8_t bits) : bits_(bits) {}

   [[nodiscard]] constexpr bool longKey() const { return (bits_ & longKeyBit) != 0; }
   [[nodiscard]] constexpr bool deleted() const { return (bits_ & deleteBit) != 0; }

   bool operator==(const PbrCountersEncodingFlags&) const = default;

private:
   std::uint8_t bits_ = 0;
};

// Takes the changes of counters.
//
// Thread-safety: called on the main loop, or with the activity lock held.
class PbrCountersFrontend : public Pavo::RefCounted {
public:
   // A counter has changed. Without the delete flag it has a status.
   virtual void appendItem(const PbrCounters& counters, PbrCountersEncodingFlags flags) = 0;
   // No more items follow for now.
   virtual void push() = 0;

protected:
   // Called by derived classes when they are complete.
   virtual void onInitialized() {}
   ~PbrCountersFrontend() override = default;
};
