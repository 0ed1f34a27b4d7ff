#pragma once

// The ring trace keeps the last messages of the process in memory of fixed size, for an analysis afterwards
// that does not depend on a console.
// Thread-safety: any thread. One mutex is held while one entry or the whole ring is copied.

#include <array>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "platform/zelt/Mutex.h"

namespace Brevis {

// One message, as read back.
struct Entry {
   std::uint64_t number = 0;    // counts all messages of the process from 0
   std::int64_t wallNanos = 0;  // when it was written, nanoseconds since the epoch
   std::string text;
};

// A ring of `capacity` entries of up to maxText bytes; a longer text is truncated and ends in "...".
class Ring {
public:
   static constexpr std::size_t maxText = 236;
   static constexpr std::size_t capacity = 1024;

   void trace(std::string_view text) noexcept ZELT_EXCLUDES(mutex_);
   // RETURNS: the entries, oldest first.
   std::vector<Entry> entries() const ZELT_EXCLUDES(mutex_);

private:
   struct Slot {
      std::int64_t wallNanos;
      std::uint32_t length;
      std::array<char, maxText> text;
   };

   mutable Zelt::Mutex mutex_;
   std::uint64_t written_ ZELT_GUARDED_BY(mutex_) = 0;
   std::array<Slot, capacity> slots_ ZELT_GUARDED_BY(mutex_);
};

// Writes into the process's ring.
void trace(std::string_view text) noexcept;

// Formats and writes into the process's ring.
template <typename First, typename... Rest>
void trace(fmt::format_string<First, Rest...> format, First&& first, Rest&&... rest) {
   fmt::memory_buffer buffer;
   fmt::format_to(std::back_inserter(buffer), format, std::forward<First>(first),
                  std::forward<Rest>(rest)...);
   trace(std::string_view(buffer.data(), buffer.size()));
}

// RETURNS: the process's ring, oldest first: one line per message, "<number> <UTC time> <text>".
std::string dump();
// RETURNS: the entries of the process's ring, oldest first.
std::vector<Entry> entries();

}  // namespace Brevis
