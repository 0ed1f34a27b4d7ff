// A stack of MPLS labels, outermost first.
//
// Thread-safety: values; a stack belongs to one thread at a time.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <vector>

#include "orv/mpls_label.h"

namespace orv {

// Short stacks, which is nearly all of them, are in the object, so that comparing and copying them touches no
// other memory. Copies of a longer stack share it: one nexthop may fill thousands of slots.
class mpls_label_stack_t {
public:
   using value_type = mpls_label_t;
   using const_iterator = const mpls_label_t*;

   mpls_label_stack_t() = default;
   template <typename Iterator>
   mpls_label_stack_t(Iterator first, Iterator last) {
      for (; first != last; ++first)
         push_back(*first);
   }
   mpls_label_stack_t(std::initializer_list<mpls_label_t> labels)
        : mpls_label_stack_t(labels.begin(), labels.end()) {}

   // Adds the innermost label.
   void push_back(mpls_label_t label) {
      if (!many_ && few_size_ < few_labels) {
         few_[few_size_++] = label;
         return;
      }
      if (!many_ || many_.use_count() > 1)
         many_ = std::make_shared<std::vector<mpls_label_t>>(begin(), end());
      few_size_ = 0;
      many_->push_back(label);
   }

   [[nodiscard]] bool empty() const noexcept { return size() == 0; }
   [[nodiscard]] std::size_t size() const noexcept { return many_ ? many_->size() : few_size_; }
   // REQUIRES: the stack is not empty.
   [[nodiscard]] mpls_label_t front() const noexcept { return *begin(); }
   [[nodiscard]] const_iterator begin() const noexcept { return many_ ? many_->data() : few_.data(); }
   [[nodiscard]] const_iterator end() const noexcept { return begin() + size(); }

   bool operator==(const mpls_label_stack_t& other) const noexcept {
      return size() == other.size() &&
             (begin() == other.begin() || std::equal(begin(), end(), other.begin()));
   }

private:
   static constexpr std::size_t few_labels = 3;

   // 0 while many_ has the labels, so that a stack that was moved from is a valid one.
   std::uint32_t few_size_ = 0;
   std::array<mpls_label_t, few_labels> few_;
   // All labels of a stack of more than few_labels; null for a shorter one. Never changed while shared.
   std::shared_ptr<std::vector<mpls_label_t>> many_;
};

}  // namespace orv
