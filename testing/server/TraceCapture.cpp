#include "testing/server/TraceCapture.h"

#include <algorithm>
#include <string_view>

#include "orv/tracer.h"

namespace orvtest {

TraceCapture::TraceCapture(const std::string& setting) {
   orv::trace_sink_is([this](std::string_view, int level, std::string_view text) {
      std::lock_guard lock(mutex_);
      lines_.push_back({level, std::string(text)});
   });
   orv::trace_setting_is(setting);
}

TraceCapture::~TraceCapture() {
   orv::trace_setting_is("");
   orv::trace_sink_is({});
}

std::vector<std::string> TraceCapture::texts() const {
   std::lock_guard lock(mutex_);
   std::vector<std::string> texts;
   for (const Line& line : lines_)
      texts.push_back(line.text);
   return texts;
}

std::size_t TraceCapture::count(const std::string& text) const {
   std::lock_guard lock(mutex_);
   return static_cast<std::size_t>(
        std::count_if(lines_.begin(), lines_.end(), [&](const Line& line) { return line.text == text; }));
}

std::size_t TraceCapture::countAt(int level) const {
   std::lock_guard lock(mutex_);
   return static_cast<std::size_t>(
        std::count_if(lines_.begin(), lines_.end(), [&](const Line& line) { return line.level == level; }));
}

}  // namespace orvtest
