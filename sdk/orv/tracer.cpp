#include "orv/tracer.h"

#include <unistd.h>

#include <chrono>
#include <ctime>
#include <map>
#include <memory>
#include <mutex>

#include "orv/error.h"
#include "orv/value.h"

namespace orv {
namespace {

using level_masks = std::map<std::string, std::uint32_t, std::less<>>;

// Never destroyed: tracers of static storage may use it until the process exits.
struct registry {
   std::mutex mutex;
   std::map<std::string, std::unique_ptr<tracer::entry>, std::less<>> entries;
   level_masks setting;

   std::mutex sink_mutex;
   trace_sink sink;
};

registry& the_registry() {
   static auto* const instance = new registry;
   return *instance;
}

std::uint32_t mask_of(const level_masks& setting, std::string_view name) {
   std::uint32_t mask = 0;
   if (const auto it = setting.find(name); it != setting.end()) mask |= it->second;
   if (const auto it = setting.find("*"); it != setting.end()) mask |= it->second;
   return mask;
}

[[noreturn]] void malformed(std::string_view spec, std::string_view item) {
   throw invalid_argument_error(fmt::format(
        "invalid trace setting '{}' at '{}': expected NAME/LEVELS[,LEVELS...][,NAME/LEVELS...] with "
        "LEVELS N or N-M from 0 to {}",
        detail::quotable(spec), detail::quotable(item), trace_level_max));
}

bool is_level(char c) {
   return c >= '0' && c <= '0' + trace_level_max;
}

// The levels of "N" or "N-M" as bits; 0 if the text is neither.
std::uint32_t parse_levels(std::string_view text) {
   char first = 0;
   char last = 0;
   if (text.size() == 1) {
      first = last = text[0];
   } else if (text.size() == 3 && text[1] == '-') {
      first = text[0];
      last = text[2];
   }
   if (!is_level(first) || !is_level(last) || first > last) return 0;
   std::uint32_t mask = 0;
   for (char c = first; c <= last; ++c)
      mask |= 1U << (c - '0');
   return mask;
}

level_masks parse(std::string_view spec) {
   level_masks out;
   std::string_view rest = spec;
   std::uint32_t* current = nullptr;
   bool more = !rest.empty();
   while (more) {
      const std::size_t comma = rest.find(',');
      const std::string_view item = rest.substr(0, comma);
      more = comma != std::string_view::npos;
      if (more) rest.remove_prefix(comma + 1);

      std::string_view levels = item;
      if (const std::size_t slash = item.rfind('/'); slash != std::string_view::npos) {
         if (slash == 0) malformed(spec, item);
         current = &out[std::string(item.substr(0, slash))];
         levels = item.substr(slash + 1);
      }
      const std::uint32_t mask = parse_levels(levels);
      if (mask == 0 || current == nullptr) malformed(spec, item);
      *current |= mask;
   }
   return out;
}

void default_sink(std::string_view name, int level, std::string_view text) {
   const auto now = std::chrono::system_clock::now().time_since_epoch();
   const auto micros = std::chrono::duration_cast<std::chrono::microseconds>(now).count();
   const auto seconds = static_cast<std::time_t>(micros / 1000000);
   std::tm utc{};
   gmtime_r(&seconds, &utc);

   fmt::memory_buffer line;
   auto out = std::back_inserter(line);
   fmt::format_to(out, "{:04}-{:02}-{:02}T{:02}:{:02}:{:02}.{:06}Z {} {} ", utc.tm_year + 1900,
                  utc.tm_mon + 1, utc.tm_mday, utc.tm_hour, utc.tm_min, utc.tm_sec, micros % 1000000, name,
                  level);
   if (!text.empty() && text.back() == '\n') text.remove_suffix(1);
   for (const char c : text) {
      if (c >= '\0' && c < ' ') {
         fmt::format_to(out, "\\x{:02x}", c);
      } else {
         line.push_back(c);
      }
   }
   line.push_back('\n');
   // One write() per line keeps lines whole when others write to the same descriptor.
   [[maybe_unused]] const ssize_t written = ::write(STDERR_FILENO, line.data(), line.size());
}

}  // namespace

tracer::tracer(std::string_view name) {
   registry& r = the_registry();
   const std::lock_guard guard(r.mutex);
   auto it = r.entries.find(name);
   if (it == r.entries.end()) {
      auto made = std::make_unique<entry>();
      made->name = name;
      made->levels.store(mask_of(r.setting, name), std::memory_order_relaxed);
      it = r.entries.emplace(std::string(name), std::move(made)).first;
   }
   entry_ = it->second.get();
}

void tracer::trace(int level, std::string_view text) const {
   if (!enabled(level)) return;
   registry& r = the_registry();
   const std::lock_guard guard(r.sink_mutex);
   if (r.sink) {
      r.sink(entry_->name, level, text);
   } else {
      default_sink(entry_->name, level, text);
   }
}

void trace_setting_is(std::string_view spec) {
   level_masks setting = parse(spec);
   registry& r = the_registry();
   const std::lock_guard guard(r.mutex);
   r.setting = std::move(setting);
   for (auto& [name, entry] : r.entries) {
      entry->levels.store(mask_of(r.setting, name), std::memory_order_relaxed);
   }
}

void trace_sink_is(trace_sink sink) {
   registry& r = the_registry();
   const std::lock_guard guard(r.sink_mutex);
   r.sink = std::move(sink);
}

}  // namespace orv
