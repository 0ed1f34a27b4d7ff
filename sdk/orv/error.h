// The errors of the SDK, and panic(), which raises one through the host's handler.
//
// Thread-safety: error objects are plain values. exception_handler_is and panic
// may be called from any thread.
#pragma once

#include <cstdint>
#include <exception>
#include <functional>
#include <string>
#include <string_view>

namespace orv {

// Base of all errors that the SDK throws. The text names the value at fault and
// what was expected in its place.
class error : public std::exception {
public:
   explicit error(std::string text) : text_(std::move(text)) {}

   [[nodiscard]] const char* what() const noexcept override { return text_.c_str(); }
   [[nodiscard]] const std::string& msg() const noexcept { return text_; }

   // Throws a copy of this error as its own, most derived type.
   [[noreturn]] virtual void raise() const { throw *this; }  // NOLINT: copies on purpose

private:
   std::string text_;
};

// A value that is never valid in its place.
class invalid_argument_error : public error {
public:
   using error::error;
   [[noreturn]] void raise() const override { throw *this; }
};

// A number outside its limits.
class invalid_range_error : public error {
public:
   using error::error;
   // "<name> is out of range, expected <min> to <max>"
   invalid_range_error(std::string_view name, std::int64_t min, std::int64_t max);
   // "<name> <value> is out of range, expected <min> to <max>"
   invalid_range_error(std::string_view name, std::uint64_t value, std::int64_t min, std::int64_t max);
   [[noreturn]] void raise() const override { throw *this; }
};

// An operation that this switch does not support.
class unsupported_error : public error {
public:
   using error::error;
   [[noreturn]] void raise() const override { throw *this; }
};

// The switch is not configured for the request.
class configuration_error : public error {
public:
   using error::error;
   [[noreturn]] void raise() const override { throw *this; }
};

// A thread other than the main thread called the SDK without sdk_scoped_lock.
class no_scoped_lock_obtained_error : public error {
public:
   no_scoped_lock_obtained_error()
        : error("orv::sdk_scoped_lock not grabbed when calling an api while multithreaded") {}
   [[noreturn]] void raise() const override { throw *this; }
};

// Called by panic. A handler normally rethrows the error with raise().
using exception_handler = std::function<void(const error&)>;

// Sets the process's handler; an empty one restores the default, which throws.
void exception_handler_is(exception_handler handler);

// Reports `e` to the exception handler. Never returns: if no handler is set, or the handler returns, `e` is
// thrown.
[[noreturn]] void panic(const error& e);

}  // namespace orv
