#include "orv/error.h"

#include <fmt/format.h>

#include <mutex>

namespace orv {
namespace {

std::mutex handler_mutex;
exception_handler& handler_slot() {
   static exception_handler handler;
   return handler;
}

}  // namespace

invalid_range_error::invalid_range_error(std::string_view name, std::int64_t min, std::int64_t max)
     : error(fmt::format("{} is out of range, expected {} to {}", name, min, max)) {}

invalid_range_error::invalid_range_error(std::string_view name, std::uint64_t value, std::int64_t min,
                                         std::int64_t max)
     : error(fmt::format("{} {} is out of range, expected {} to {}", name, value, min, max)) {}

void exception_handler_is(exception_handler handler) {
   const std::lock_guard guard(handler_mutex);
   handler_slot() = std::move(handler);
}

void panic(const error& e) {
   exception_handler handler;
   {
      // The handler runs without the mutex: it may throw, and it may set another one.
      const std::lock_guard guard(handler_mutex);
      handler = handler_slot();
   }
   if (handler) handler(e);
   e.raise();
   std::terminate();  // raise never returns
}

}  // namespace orv
