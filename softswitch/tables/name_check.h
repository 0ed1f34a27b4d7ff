// Checks of names and texts. They are bounded, so that every row fits the store and every refusal that quotes
// one stays short. They are UTF-8, because they return to clients in messages that allow nothing else.
//
// Thread-safety: functions without state.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace softswitch {

// For access lists, class maps and policy maps. Above the limit for groups (255), because lists are named
// after groups plus a suffix; below the store's longest key.
inline constexpr std::size_t policyNameBytesMax = 400;

// RETURNS: what is wrong with `text`, to follow its name in a refusal: "of 300 bytes, expected at most 255",
// or "'\xff' is not UTF-8". Empty, without an allocation, if nothing is wrong.
std::string textFault(std::string_view text, std::size_t bytesMax);

// REQUIRES: `what` names the text, as in "ACL name".
// THROWS: orv::invalid_argument_error for more than `bytesMax` bytes, or bytes that are not UTF-8.
void checkText(std::string_view what, std::string_view text, std::size_t bytesMax);

}  // namespace softswitch
