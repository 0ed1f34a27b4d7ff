#include "platform/pavo/Allocator.h"

#include <cxxabi.h>

#include <cstdlib>
#include <map>
#include <memory>

namespace Pavo {

namespace {

// The list only grows: a reader may traverse it while new counters are pushed to the front.
constinit std::atomic<detail::AllocationCounters*> firstCounters{nullptr};

std::string readableName(const std::type_info& type) {
   int status = 0;
   const std::unique_ptr<char, decltype(&std::free)> name(
        abi::__cxa_demangle(type.name(), nullptr, nullptr, &status), &std::free);
   return status == 0 ? name.get() : type.name();
}

// The live count. `gone` is read first, so that a concurrent free does not make it negative.
std::uint64_t difference(const std::atomic<std::uint64_t>& made, const std::atomic<std::uint64_t>& gone) {
   const std::uint64_t less = gone.load(std::memory_order_relaxed);
   const std::uint64_t more = made.load(std::memory_order_relaxed);
   return more > less ? more - less : 0;
}

}  // namespace

bool detail::registerCounters(AllocationCounters& counters) noexcept {
   AllocationCounters* first = firstCounters.load(std::memory_order_relaxed);
   do {
      counters.next = first;
   } while (!firstCounters.compare_exchange_weak(first, &counters, std::memory_order_release,
                                                 std::memory_order_relaxed));
   return true;
}

std::vector<AllocationCount> allocationCounts() {
   std::map<std::string, AllocationCount> rows;
   for (const auto* counters = firstCounters.load(std::memory_order_acquire); counters != nullptr;
        counters = counters->next) {
      std::string name = readableName(*counters->counted);
      AllocationCount& row = rows[name];
      row.type = std::move(name);
      const std::uint64_t live = difference(counters->allocated, counters->freed);
      const std::uint64_t extra = difference(counters->extraAllocated, counters->extraFreed);
      row.live += live;
      row.total += counters->allocated.load(std::memory_order_relaxed);
      row.bytes += (live + extra) * counters->elementSize;
   }
   std::vector<AllocationCount> result;
   result.reserve(rows.size());
   for (auto& [name, row] : rows)
      result.push_back(std::move(row));
   return result;
}

}  // namespace Pavo
