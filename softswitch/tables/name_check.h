// What names and texts the switch takes: bounded, so that every row fits the store and every refusal that
// quotes one stays short, and in UTF-8, since each goes back to clients in messages that allow nothing else.
//
// Thread-safety: functions without state.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace softswitch {

// Of access lists, class maps and policy maps. Above that of groups (255), because lists are named after them
// with something behind; below the longest key of the store.
inline constexpr std::size_t policyNameBytesMax = 400;

// What is wrong with a text, to stand behind its name in a refusal: "of 300 bytes, expected at most 255", or
// "'\xff' is not UTF-8". Empty, without an allocation, when nothing is.
std::string textFault(std::string_view text, std::size_t bytesMax);

// REQUIRES `what` names the text in words, as in "ACL name".
// THROWS orv::invalid_argument_error for more than `bytesMax` bytes, or bytes that are not UTF-8.
void checkText(std::string_view what, std::string_view text, std::size_t bytesMax);

}  // namespace softswitch
