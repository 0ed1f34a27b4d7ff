#include "testing/server/LiveHandlers.h"

#include "platform/pavo/Allocator.h"

namespace orvtest {

std::uint64_t liveHandlers(std::string_view part) {
   std::uint64_t live = 0;
   for (const Pavo::AllocationCount& row : Pavo::allocationCounts()) {
      if (row.type.find(part) != std::string::npos) live += row.live;
   }
   return live;
}

}  // namespace orvtest
