#pragma once

// Platform log messages. A message is defined once, by a LogHandle, and written many times. The process's
// sink decides where it goes.
// Thread-safety: any thread. The writing thread calls the sink without holding a lock, so several threads may
// call it at once.

#include <fmt/printf.h>

#include <functional>
#include <string>
#include <string_view>

#include "platform/zelt/Clock.h"
#include "platform/zelt/Mutex.h"

namespace Zelt {

// The recommended action of a message that requires no action.
inline constexpr const char* NoActionRequired = "No action is required.";

// One written message as the sink sees it.
struct LogRecord {
   std::string_view name;
   int severity = 6;  // 0 emergency to 7 debug (RFC 5424)
   std::string_view text;
};

using LogSink = std::function<void(const LogRecord&)>;

// Sends further messages to `sink`; an empty function restores the default, standard error.
void logSinkIs(LogSink sink);
// Writes "<name>: <text>" and a newline to standard error, in one write.
void logToStderr(const LogRecord& record);
// Passes the message to syslog(3) with its severity.
void logToSyslog(const LogRecord& record);

class LogHandle {
public:
   // name:         upper-case identifier, unique in the process
   // severity:     0 emergency to 7 debug
   // format:       printf format; each argument is a string for %s or a number for a conversion of its type
   // explanation:  one sentence for the operator on when the message appears
   // action:       what the operator should do
   // interval:     minimum time between two messages, in seconds; 0: no limit
   // backoff:      factor by which the interval grows with every suppressed message; 1.0: constant
   // maxInterval:  upper bound of the interval, in seconds; 0: no bound
   // burst:        messages that pass in a row before the interval applies; 0 means 1
   // REQUIRES: the texts outlive the handle, which keeps pointers to them.
   LogHandle(const char* name, int severity, const char* format, const char* explanation,
             const char* action = NoActionRequired, Seconds interval = 0, double backoff = 1.0,
             unsigned maxInterval = 0, unsigned burst = 0);

   // Writes the message.
   // RETURNS: false if the rate limit suppressed it.
   // THROWS: fmt::format_error if the arguments do not match the format.
   template <typename... Args>
   bool log(const Args&... args) {
      if (!admit()) return false;
      write(fmt::sprintf(fmt::string_view(format_), args...));
      return true;
   }

   std::string_view name() const { return name_; }
   int severity() const { return severity_; }
   std::string_view explanation() const { return explanation_; }
   std::string_view action() const { return action_; }

private:
   bool admit() ZELT_EXCLUDES(mutex_);
   void write(const std::string& text) const;

   const char* name_;
   int severity_;
   const char* format_;
   const char* explanation_;
   const char* action_;
   Seconds interval_;
   double backoff_;
   unsigned maxInterval_;
   unsigned burst_;

   Mutex mutex_;
   Seconds current_ ZELT_GUARDED_BY(mutex_);
   Seconds last_ ZELT_GUARDED_BY(mutex_) = 0;
   unsigned passed_ ZELT_GUARDED_BY(mutex_) = 0;
};

}  // namespace Zelt
