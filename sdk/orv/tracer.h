// Tracing by name and level.
//
// The name of a tracer identifies a part of the program; a level ranges from 0 (rare, important) to 9 (every
// event). A process-wide setting enables levels by name; initially all are off. A debug handle is the name of
// a tracer.
//
// Thread-safety: any thread. Checking whether a level is on costs one relaxed load.
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
   // The first tracer of a name creates an entry that lives as long as the process, so a name must never come
   // from input.
   explicit tracer(std::string_view name);

   [[nodiscard]] bool enabled(int level) const noexcept {
      return ((entry_->levels.load(std::memory_order_relaxed) >> level) & 1U) != 0;
   }
   [[nodiscard]] const std::string& name() const noexcept { return entry_->name; }
   // Passes the text to the sink if the level is on.
   void trace(int level, std::string_view text) const;

   struct entry {
      std::string name;
      std::atomic<std::uint32_t> levels{0};  // bit n: level n is on
   };

private:
   entry* entry_;
};

// Formats and traces; formats nothing if the level is off.
template <typename... Args>
void fmttrace(const tracer& to, int level, fmt::format_string<Args...> format, Args&&... args) {
   if (!to.enabled(level)) [[likely]]
      return;
   to.trace(level, fmt::format(format, std::forward<Args>(args)...));
}

// Replaces the whole setting. `spec` is a comma-separated list of items "<name>/<levels>", where levels are
// "N" or "N-M" within 0 to 9; an item without a name belongs to the preceding name:
// "rpc-server/0-9,OrvSdkRpc/0,1". The name "*" means every name. An empty spec turns everything off. The
// setting also applies to tracers created later.
// THROWS: invalid_argument_error for a malformed spec, which changes nothing.
void trace_setting_is(std::string_view spec);

using trace_sink = std::function<void(std::string_view name, int level, std::string_view text)>;

// Sets the sink for traces. An empty sink restores the default: one line on standard error with time (UTC),
// name, level and text, with control characters escaped. Only one thread at a time calls a sink. A sink must
// not trace.
void trace_sink_is(trace_sink sink);

}  // namespace orv
