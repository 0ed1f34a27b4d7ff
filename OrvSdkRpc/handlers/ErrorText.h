// Error text in the form that clients receive.
//
// Thread-safety: pure functions.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace OrvSdkRpc {

// gRPC sends the text of a status as a header, in which one byte may become three. Clients refuse headers of
// more than 8 KB in total; they would see RESOURCE_EXHAUSTED in place of the status.
constexpr std::size_t errorTextBytesMax = 2048;

// RETURNS: `words` as UTF-8 of at most errorTextBytesMax bytes.
//
// Escapes a byte that is not UTF-8, as in "\xff": most clients cannot parse a reply with such a byte in a
// string field. Replaces the middle of a longer text by "...", cutting no character: the SDK's errors name
// the value first and the expected value last.
std::string errorText(std::string_view words);

}  // namespace OrvSdkRpc
