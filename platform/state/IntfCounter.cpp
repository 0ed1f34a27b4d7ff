#include "platform/state/IntfCounter.h"

#include <array>
#include <bit>

namespace Interface {

std::uint64_t IntfCounter::check() const {
   constexpr std::uint64_t odd = 0x9e3779b97f4a7c15ULL;
   using Words = std::array<std::uint64_t, sizeof(IntfCounter) / sizeof(std::uint64_t)>;
   std::uint64_t sum = odd;
   // Each step is a bijection of the sum, so changing one word always changes the result.
   for (const auto word : std::bit_cast<Words>(*this))
      sum = std::rotl((sum ^ word) * odd, 29);
   return sum;
}

}  // namespace Interface
