#pragma once

// An allocator that counts per type, for std::allocate_shared and for containers.
// Thread-safety: any thread. The counters are relaxed atomics: each is exact, but a concurrent reader may see
// an allocation in one counter and not yet in another.
//
// The counters of a type are a static member of the template: an allocation needs no lookup and costs one
// atomic addition more than operator new. What a container or shared pointer allocates for its elements
// (control block, node, bucket array) counts under the element type.

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <new>
#include <string>
#include <typeinfo>
#include <vector>

namespace Pavo {

// The counters of one type.
struct AllocationCount {
   std::string type;         // readable type name
   std::uint64_t live = 0;   // blocks allocated and not yet freed
   std::uint64_t total = 0;  // blocks ever allocated
   std::uint64_t bytes = 0;  // total size of the live blocks
};

// RETURNS: one row per counted type, including types that never allocated, sorted by name.
std::vector<AllocationCount> allocationCounts();

namespace detail {

// Counters of one block type. allocationCounts sums those of the same counted type.
struct AllocationCounters {
   const std::type_info* counted;
   std::size_t elementSize;
   std::atomic<std::uint64_t> allocated{0};
   std::atomic<std::uint64_t> freed{0};
   // A block of n elements adds n - 1 here, so that a block of one element, the usual case, updates one
   // counter only.
   std::atomic<std::uint64_t> extraAllocated{0};
   std::atomic<std::uint64_t> extraFreed{0};
   AllocationCounters* next = nullptr;
};

// Adds the counters to the list that allocationCounts reads.
// REQUIRES: the counters are never destroyed.
bool registerCounters(AllocationCounters& counters) noexcept;

template <typename T, typename Counted>
struct CountersOf {
   static inline constinit AllocationCounters counters{.counted = &typeid(Counted), .elementSize = sizeof(T)};
   static inline const bool registered = registerCounters(counters);
};

}  // namespace detail

// Blocks are counted under `Counted`, which stays the same when a container rebinds to its own node type.
template <typename T, typename Counted = T>
class Allocator {
public:
   using value_type = T;
   template <typename U>
   struct rebind {
      using other = Allocator<U, Counted>;
   };

   constexpr Allocator() noexcept = default;
   template <typename U>
   constexpr Allocator(const Allocator<U, Counted>&) noexcept {}

   T* allocate(std::size_t n) {
      static_cast<void>(Counters::registered);
      if (n > static_cast<std::size_t>(-1) / sizeof(T)) throw std::bad_array_new_length();
      void* block = nullptr;
      if constexpr (overAligned) {
         block = ::operator new(n * sizeof(T), std::align_val_t(alignof(T)));
      } else {
         block = ::operator new(n * sizeof(T));
      }
      Counters::counters.allocated.fetch_add(1, std::memory_order_relaxed);
      if (n != 1) Counters::counters.extraAllocated.fetch_add(n - 1, std::memory_order_relaxed);
      return static_cast<T*>(block);
   }

   void deallocate(T* block, std::size_t n) noexcept {
      Counters::counters.freed.fetch_add(1, std::memory_order_relaxed);
      if (n != 1) Counters::counters.extraFreed.fetch_add(n - 1, std::memory_order_relaxed);
      if constexpr (overAligned) {
         ::operator delete(block, std::align_val_t(alignof(T)));
      } else {
         ::operator delete(block);
      }
   }

   template <typename U>
   friend constexpr bool operator==(const Allocator&, const Allocator<U, Counted>&) noexcept {
      return true;
   }

private:
   using Counters = detail::CountersOf<T, Counted>;
   static constexpr bool overAligned = alignof(T) > __STDCPP_DEFAULT_NEW_ALIGNMENT__;
};

}  // namespace Pavo
