// The words of an error as they go to a client.
//
// Thread-safety: pure functions.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace OrvSdkRpc {

// The text of a status travels as a header, in which a byte may take three, and clients refuse headers of
// more than 8 KB in all: they would see RESOURCE_EXHAUSTED in place of the status.
constexpr std::size_t errorTextBytesMax = 2048;

// `words` in UTF-8 and in at most errorTextBytesMax bytes.
//
// A byte that is not UTF-8 becomes its number, as in "\xff": a string field with such a byte makes a whole
// reply unreadable for most clients. Of a longer text the middle is left out, between two characters, and
// "..." stands for it: an SDK's words name the value first and what was expected last.
std::string errorText(std::string_view words);

}  // namespace OrvSdkRpc
