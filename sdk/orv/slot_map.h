// Values by 16-bit slot number, in slot order: the entries of a nexthop group.
//
// Thread-safety: plain value.
#pragma once

#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

namespace orv {

// A sorted vector. Adding slots in ascending order costs no more than push_back.
template <typename T>
class slot_map {
public:
   using key_type = std::uint16_t;
   using mapped_type = T;
   using value_type = std::pair<std::uint16_t, T>;
   using const_iterator = typename std::vector<value_type>::const_iterator;

   [[nodiscard]] bool empty() const noexcept { return items_.empty(); }
   [[nodiscard]] std::size_t size() const noexcept { return items_.size(); }
   void reserve(std::size_t count) { items_.reserve(count); }
   void clear() noexcept { items_.clear(); }

   // In slot order.
   [[nodiscard]] const_iterator begin() const noexcept { return items_.begin(); }
   [[nodiscard]] const_iterator end() const noexcept { return items_.end(); }

   // The value of a slot, or null.
   [[nodiscard]] const T* find(std::uint16_t slot) const noexcept {
      const auto it = std::lower_bound(items_.begin(), items_.end(), slot, before);
      return it != items_.end() && it->first == slot ? &it->second : nullptr;
   }
   [[nodiscard]] bool contains(std::uint16_t slot) const noexcept { return find(slot) != nullptr; }

   // Sets or replaces a slot's value.
   void set(std::uint16_t slot, T value) { put(slot, std::move(value), true); }
   // Sets a slot's value only if the slot is free.
   // RETURNS: whether it was free.
   bool insert(std::uint16_t slot, T value) { return put(slot, std::move(value), false); }
   // RETURNS: whether the slot had a value.
   bool erase(std::uint16_t slot) {
      const auto it = std::lower_bound(items_.begin(), items_.end(), slot, before);
      if (it == items_.end() || it->first != slot) return false;
      items_.erase(it);
      return true;
   }

   bool operator==(const slot_map&) const = default;

private:
   static bool before(const value_type& item, std::uint16_t slot) { return item.first < slot; }

   bool put(std::uint16_t slot, T&& value, bool overwrite) {
      if (items_.empty() || items_.back().first < slot) {
         items_.emplace_back(slot, std::move(value));
         return true;
      }
      const auto it = std::lower_bound(items_.begin(), items_.end(), slot, before);
      if (it->first != slot) {
         items_.emplace(it, slot, std::move(value));
         return true;
      }
      if (overwrite) it->second = std::move(value);
      return false;
   }

   std::vector<value_type> items_;
};

}  // namespace orv
