// Errors of the store as errors of the SDK.
//
// Thread-safety: functions without state.
#pragma once

#include <fmt/format.h>

#include <string_view>

#include "orv/error.h"
#include "softswitch/store/error.h"

namespace softswitch {

// Converts the store's refusal of a write for the caller of a manager.
// THROWS: orv::invalid_argument_error for a key that is too long, orv::error for any other trouble.
[[noreturn]] inline void refuse(const store::StoreError& e) {
   if (e.trouble() == store::Trouble::tooLong) throw orv::invalid_argument_error(e.what());
   throw orv::error(e.what());
}

[[noreturn]] inline void refuseFull(std::string_view what, std::size_t capacity) {
   throw orv::error(fmt::format("{} table is full, it holds {} rows", what, capacity));
}

}  // namespace softswitch
