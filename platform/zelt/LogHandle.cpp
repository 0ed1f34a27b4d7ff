#include "platform/zelt/LogHandle.h"

#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <memory>
#include <utility>

namespace Zelt {

namespace {

struct SinkHolder {
   Mutex mutex;
   std::shared_ptr<const LogSink> sink ZELT_GUARDED_BY(mutex);
};

// Never destroyed: threads may log while static objects are destroyed.
SinkHolder& sinkHolder() {
   static SinkHolder& holder = *new SinkHolder;
   return holder;
}

std::shared_ptr<const LogSink> currentSink() {
   SinkHolder& holder = sinkHolder();
   MutexAnchor guard(holder.mutex);
   return holder.sink;
}

}  // namespace

void logSinkIs(LogSink sink) {
   std::shared_ptr<const LogSink> next = sink ? std::make_shared<const LogSink>(std::move(sink)) : nullptr;
   SinkHolder& holder = sinkHolder();
   MutexAnchor guard(holder.mutex);
   holder.sink.swap(next);
}

void logToStderr(const LogRecord& record) {
   std::string line;
   line.reserve(record.name.size() + record.text.size() + 3);
   line.append(record.name).append(": ").append(record.text).push_back('\n');
   // Standard error is the last resort: there is nowhere to report its failure.
   [[maybe_unused]] const ssize_t written = ::write(STDERR_FILENO, line.data(), line.size());
}

void logToSyslog(const LogRecord& record) {
   syslog(LOG_DAEMON | record.severity, "%.*s: %.*s", static_cast<int>(record.name.size()),
          record.name.data(), static_cast<int>(record.text.size()), record.text.data());
}

LogHandle::LogHandle(const char* name, int severity, const char* format, const char* explanation,
                     const char* action, Seconds interval, double backoff, unsigned maxInterval,
                     unsigned burst)
     : name_(name),
       severity_(std::clamp(severity, LOG_EMERG, LOG_DEBUG)),
       format_(format),
       explanation_(explanation),
       action_(action),
       interval_(interval),
       backoff_(backoff),
       maxInterval_(maxInterval),
       burst_(std::max(burst, 1U)),
       current_(interval) {}

bool LogHandle::admit() {
   if (interval_ <= 0) return true;
   const Seconds now = Clock::seconds(Clock::steadyNanos());
   MutexAnchor guard(mutex_);
   if (passed_ != 0 && now - last_ >= current_) {
      passed_ = 0;
      current_ = interval_;
   }
   if (passed_ < burst_) {
      ++passed_;
      last_ = now;
      return true;
   }
   current_ *= backoff_;
   if (maxInterval_ != 0) current_ = std::min(current_, static_cast<Seconds>(maxInterval_));
   return false;
}

void LogHandle::write(const std::string& text) const {
   const LogRecord record{.name = name_, .severity = severity_, .text = text};
   if (const auto sink = currentSink()) {
      (*sink)(record);
   } else {
      logToStderr(record);
   }
}

}  // namespace Zelt
