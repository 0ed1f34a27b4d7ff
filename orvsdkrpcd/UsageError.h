// The exception for a value that the program cannot use.
// Thread-safety: a plain value.
#pragma once

#include <fmt/format.h>

#include <stdexcept>
#include <string_view>

namespace orvsdkrpcd {

// what() is one line that names the value and what was expected.
struct UsageError : std::runtime_error {
   using std::runtime_error::runtime_error;
};

[[noreturn]] inline void refuse(std::string_view flag, std::string_view value, std::string_view expected) {
   throw UsageError(fmt::format("{} is '{}', expected {}", flag, value, expected));
}

}  // namespace orvsdkrpcd
