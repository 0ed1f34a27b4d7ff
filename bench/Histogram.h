// Latencies in buckets whose width is about 1.6 % of their value.
//
// Thread-safety: one thread at a time.
#pragma once

#include <array>
#include <bit>
#include <cstdint>

namespace bench {

class Histogram {
public:
   void add(std::uint64_t nanoseconds) {
      ++buckets_[bucketOf(nanoseconds)];
      ++count_;
   }
   std::uint64_t count() const { return count_; }
   // RETURNS: the upper bound in nanoseconds of the bucket that holds the `fraction` quantile (0 < fraction
   // <= 1); 0 if the histogram is empty.
   std::uint64_t quantile(double fraction) const {
      if (count_ == 0) return 0;
      const auto wanted = static_cast<std::uint64_t>(fraction * static_cast<double>(count_));
      std::uint64_t seen = 0;
      for (std::size_t i = 0; i < buckets_.size(); ++i) {
         seen += buckets_[i];
         if (seen > wanted || seen == count_) return upperBoundOf(i);
      }
      return 0;
   }

private:
   // 64 linear steps within each power of two.
   static constexpr unsigned stepBits = 6;
   static constexpr std::size_t steps = std::size_t{1} << stepBits;

   static constexpr std::size_t bucketOf(std::uint64_t value) {
      if (value < steps) return value;
      const unsigned exponent = static_cast<unsigned>(std::bit_width(value)) - 1;
      const std::size_t step = (value >> (exponent - stepBits)) & (steps - 1);
      return (exponent - stepBits + 1) * steps + step;
   }
   static constexpr std::uint64_t upperBoundOf(std::size_t bucket) {
      if (bucket < steps) return bucket;
      const std::size_t exponent = bucket / steps + stepBits - 1;
      const std::uint64_t step = bucket % steps;
      return ((steps + step + 1) << (exponent - stepBits)) - 1;
   }

   std::array<std::uint64_t, (64 - stepBits + 1) * steps> buckets_{};
   std::uint64_t count_ = 0;
};

}  // namespace bench
