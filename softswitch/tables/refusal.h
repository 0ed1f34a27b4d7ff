// The store's troubles as errors of the SDK.
//
// Thread-safety: none needed.
#pragma once

#include <fmt/format.h>

#include <string_view>

#include "orv/error.h"
#include "softswitch/store/error.h"

namespace softswitch {

// Throws what the caller of a manager sees when the store refuses a write: invalid_argument_error for a key
// that is too long, orv::error for a lack of space. Other troubles do not come from writes and go on as they
// are.
[[noreturn]] inline void refuse(const store::StoreError& e) {
   if (e.trouble() == store::Trouble::tooLong) throw orv::invalid_argument_error(e.what());
   throw orv::error(e.what());
}

[[noreturn]] inline void refuseFull(std::string_view what, std::size_t capacity) {
   throw orv::error(fmt::format("{} table is full, it holds {} rows", what, capacity));
}

}  // namespace softswitch
