#pragma once

// An allocator that counts per type, for std::allocate_shared and for containers.
// Thread-safety: the counters are relaxed atomics, each exact by itself; a reader that meets running threads
// may see an allocation in one counter and not yet in another.
//
// The counters of a type are a static of the template, so that an allocation finds them without a lookup and
// costs one atomic addition more than operator new. What a container or shared pointer allocates on the
// element type's behalf (control block, node, bucket array) counts under the element type.

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <new>
#include <string>
#include <typeinfo>
#include <vector>

namespace Pavo {

/// The counters of one type.
struct AllocationCount {
   std::string type;         ///< readable type name
   std::uint64_t live = 0;   ///< blocks allocated and not yet freed
   std::uint64_t total = 0;  ///< blocks ever allocated
   std::uint64_t bytes = 0;  ///< size of the live blocks together
};

/// One row per counted type of the program, also of those that never allocated, sorted by name.
std::vector<AllocationCount> allocationCounts();

namespace detail {

/// Counters of one block type; rows of the same counted type are added up when they are read.
struct AllocationCounters {
   const std::type_info* counted;
   std::size_t elementSize;
   std::atomic<std::uint64_t> allocated{0};
   std::atomic<std::uint64_t> freed{0};
   // A block of n elements adds n - 1 here: the usual block of one element touches only one counter.
   std::atomic<std::uint64_t> extraAllocated{0};
   std::atomic<std::uint64_t> extraFreed{0};
   AllocationCounters* next = nullptr;
};

/// Enters the counters into the list that allocationCounts reads. They must live for ever.
bool registerCounters(AllocationCounters& counters) noexcept;

template <typename T, typename Counted>
struct CountersOf {
   static inline constinit AllocationCounters counters{.counted = &typeid(Counted), .elementSize = sizeof(T)};
   static inline const bool registered = registerCounters(counters);
};

}  // namespace detail

/// `Counted` is the type under which blocks are counted; it stays when a container rebinds to its own node
/// type.
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
