#include "platform/process/Brevis.h"

#include <fmt/chrono.h>

#include <algorithm>
#include <chrono>
#include <cstring>

#include "platform/zelt/Clock.h"

namespace Brevis {

namespace {

// Never destroyed, and placed in zero-initialised static memory, so that it works before and after main.
Ring& processRing() {
   alignas(Ring) static std::byte memory[sizeof(Ring)];
   static Ring& ring = *new (memory) Ring;
   return ring;
}

}  // namespace

void Ring::trace(std::string_view text) noexcept {
   static constexpr std::string_view cut = "...";
   const std::int64_t now = Zelt::Clock::wallNanos();
   const std::size_t length = std::min(text.size(), maxText);
   Zelt::MutexAnchor guard(mutex_);
   Slot& slot = slots_[written_ % capacity];
   ++written_;
   slot.wallNanos = now;
   slot.length = static_cast<std::uint32_t>(length);
   if (length != 0) std::memcpy(slot.text.data(), text.data(), length);
   if (length < text.size()) std::memcpy(slot.text.data() + maxText - cut.size(), cut.data(), cut.size());
}

std::vector<Entry> Ring::entries() const {
   std::vector<Entry> result;
   result.reserve(capacity);
   Zelt::MutexAnchor guard(mutex_);
   for (std::uint64_t number = written_ > capacity ? written_ - capacity : 0; number < written_; ++number) {
      const Slot& slot = slots_[number % capacity];
      result.push_back({.number = number,
                        .wallNanos = slot.wallNanos,
                        .text = std::string(slot.text.data(), slot.length)});
   }
   return result;
}

void trace(std::string_view text) noexcept {
   processRing().trace(text);
}

std::vector<Entry> entries() {
   return processRing().entries();
}

std::string dump() {
   fmt::memory_buffer lines;
   for (const Entry& entry : entries()) {
      const auto seconds = static_cast<std::time_t>(entry.wallNanos / Zelt::nanosPerSecond);
      fmt::format_to(std::back_inserter(lines), "{} {:%Y-%m-%dT%H:%M:%S}.{:06}Z {}\n", entry.number,
                     fmt::gmtime(seconds), entry.wallNanos % Zelt::nanosPerSecond / Zelt::nanosPerMicro,
                     entry.text);
   }
   return fmt::to_string(lines);
}

}  // namespace Brevis
