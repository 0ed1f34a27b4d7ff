// Tracing by name and level.
//
// A tracer names a place in the program, a level from 0 (rare, important) to 9
// (every event) how much it says. Which levels of which names are on is a setting
// of the process, and all of them are off at the start. Debug handles are tracers
// too: a handle is its name.
//
// Thread-safety: everything here may be used by any thread. Asking whether a
// level is on is one relaxed load.
#pragma once

#include <fmt/format.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <utility>

namespace orv {

inline constexpr int trace_level_max = 9;

// Cheap to copy. Tracers of one name share their setting.
class tracer {
public:
   // The first tracer of a name makes an entry that lives as long as the process:
   // names are the program's own words, never input.
   explicit tracer(std::string_view name);

   [[nodiscard]] bool enabled(int level) const noexcept {
      return ((entry_->levels.load(std::memory_order_relaxed) >> level) & 1U) != 0;
   }
   [[nodiscard]] const std::string& name() const noexcept { return entry_->name; }
   // Hands the text to the sink if the level is on.
   void trace(int level, std::string_view text) const;

   struct entry {
      std::string name;
      std::atomic<std::uint32_t> levels{0};  // bit n: level n is on
   };

private:
   entry* entry_;
};

// Formats and traces; with the level off nothing is formatted.
template <typename... Args>
void fmttrace(const tracer& to, int level, fmt::format_string<Args...> format, Args&&... args) {
   if (!to.enabled(level)) [[likely]]
      return;
   to.trace(level, fmt::format(format, std::forward<Args>(args)...));
}

// Replaces the whole setting. `spec` is a comma-separated list of items
// "<name>/<levels>", where levels are "N" or "N-M" within 0 to 9, and a bare
// levels item belongs to the name in front of it: "rpc-server/0-9,OrvSdkRpc/0,1".
// The name "*" stands for every name. An empty spec turns everything off. Holds
// for tracers made later too. A malformed spec throws invalid_argument_error and
// changes nothing.
void trace_setting_is(std::string_view spec);

using trace_sink = std::function<void(std::string_view name, int level, std::string_view text)>;

// Where traces go; empty restores the default: one line on standard error with
// time (UTC), name, level and text, control characters in the text escaped. A sink
// is called by one thread at a time and must not trace.
void trace_sink_is(trace_sink sink);

}  // namespace orv
