// Time that a search for the next element of a list may hold the SDK's lock.
//
// Thread-safety: none of its own; a local variable of the search.
#pragma once

#include <chrono>
#include <cstddef>

namespace OrvSdkRpc {

class SearchSlice {
public:
   // Counts one element that was skipped. RETURNS: whether the search must be interrupted.
   [[nodiscard]] bool over() { return ++skipped_ % atOnce == 0 && std::chrono::steady_clock::now() >= end_; }

private:
   static constexpr std::chrono::milliseconds length{1};
   // How many elements are skipped between two readings of the clock.
   static constexpr std::size_t atOnce = 4;

   const std::chrono::steady_clock::time_point end_ = std::chrono::steady_clock::now() + length;
   std::size_t skipped_ = 0;
};

}  // namespace OrvSdkRpc
