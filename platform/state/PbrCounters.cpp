#include "platform/state/PbrCounters.h"

#include <array>
#include <bit>

std::size_t PbrCountersKey::hash() const {
   const std::hash<Pavo::String> of;
   std::size_t result = 0;
   for (const auto* part : {&policyName, &sliceName, &className, &ruleName})
      result = (result ^ of(*part)) * 0x9e3779b97f4a7c15ULL;
   return result;
}

namespace Pbr {

std::uint64_t CounterStatus::check() const {
   constexpr std::uint64_t odd = 0x9e3779b97f4a7c15ULL;
   using Words = std::array<std::uint64_t, sizeof(CounterStatus) / sizeof(std::uint64_t)>;
   std::uint64_t sum = odd;
   // Each step is a bijection of the sum, so changing one word always changes the result.
   for (const auto word : std::bit_cast<Words>(*this))
      sum = std::rotl((sum ^ word) * odd, 29);
   return sum;
}

}  // namespace Pbr
