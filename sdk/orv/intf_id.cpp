#include "orv/intf_id.h"

#include <memory>
#include <mutex>
#include <vector>

#include "orv/error.h"

namespace orv {
namespace {

using held_name = intf_id_t::held_name;

bool is_digit(char c) {
   return c >= '0' && c <= '9';
}

bool allowed(char c) {
   return is_digit(c) || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '.' || c == '/' ||
          c == '-' || c == '_' || c == ':';
}

void check_form(std::string_view name) {
   bool good = name.size() <= intf_id_t::name_length_max;
   for (std::size_t i = 0; good && i < name.size(); ++i)
      good = allowed(name[i]);
   if (!good) {
      throw invalid_argument_error(fmt::format(
           "invalid interface name '{}': expected at most {} letters, digits and characters of './-_:'",
           detail::quotable(name), intf_id_t::name_length_max));
   }
}

// The interned names: a hash table with open addressing that readers probe without a lock. A slot is written
// once. Growing publishes a new array and keeps the old one, which a reader may still be probing.
class name_table {
public:
   const held_name* find(std::string_view name, std::size_t hash) const noexcept {
      const slots* const now = current_.load(std::memory_order_acquire);
      if (now == nullptr) return nullptr;
      for (std::size_t i = hash & now->mask;; i = (i + 1) & now->mask) {
         const held_name* const held = now->at[i].load(std::memory_order_acquire);
         if (held == nullptr) return nullptr;
         if (held->hash == hash && held->text == name) return held;
      }
   }

   const held_name* intern(std::string_view name, std::size_t hash) {
      const std::lock_guard guard(mutex_);
      if (const held_name* const held = find(name, hash)) return held;
      // At most half full, so that a probe always ends at a free slot.
      const slots* const now = current_.load(std::memory_order_relaxed);
      if (now == nullptr || 2 * (names_.size() + 1) > now->mask + 1) grow();
      names_.push_back(std::make_unique<held_name>(name, hash, static_cast<std::uint32_t>(names_.size())));
      put(*arrays_.back(), names_.back().get());
      return names_.back().get();
   }

private:
   struct slots {
      explicit slots(std::size_t size) : mask(size - 1), at(size) {}
      std::size_t mask;
      std::vector<std::atomic<const held_name*>> at;
   };

   static void put(slots& into, const held_name* held) {
      std::size_t i = held->hash & into.mask;
      while (into.at[i].load(std::memory_order_relaxed) != nullptr)
         i = (i + 1) & into.mask;
      into.at[i].store(held, std::memory_order_release);
   }

   void grow() {
      constexpr std::size_t kFirstSize = 256;
      const std::size_t size = arrays_.empty() ? kFirstSize : 2 * (arrays_.back()->mask + 1);
      auto bigger = std::make_unique<slots>(size);
      for (const auto& held : names_)
         put(*bigger, held.get());
      arrays_.push_back(std::move(bigger));
      current_.store(arrays_.back().get(), std::memory_order_release);
   }

   std::atomic<const slots*> current_{nullptr};
   std::mutex mutex_;
   std::vector<std::unique_ptr<const held_name>> names_;  // guarded by mutex_
   std::vector<std::unique_ptr<slots>> arrays_;           // guarded by mutex_
};

name_table& interned() {
   // Never destroyed: ids of static storage may outlive every other static object.
   static auto* const table = new name_table;
   return *table;
}

std::size_t hash_text(std::string_view name) {
   return std::hash<std::string_view>{}(name);
}

// Removes a run of digits from the front of both and compares the numbers, ignoring leading zeros.
std::strong_ordering order_digits(std::string_view& a, std::string_view& b) {
   const auto take = [](std::string_view& text) {
      std::size_t end = 0;
      while (end < text.size() && is_digit(text[end]))
         ++end;
      std::string_view digits = text.substr(0, end);
      text.remove_prefix(end);
      while (digits.size() > 1 && digits.front() == '0')
         digits.remove_prefix(1);
      return digits;
   };
   const std::string_view first = take(a);
   const std::string_view second = take(b);
   if (const auto by_length = first.size() <=> second.size(); by_length != 0) return by_length;
   return first <=> second;
}

std::strong_ordering natural_order(std::string_view a, std::string_view b) {
   while (!a.empty() && !b.empty()) {
      if (is_digit(a.front()) && is_digit(b.front())) {
         if (const auto by_number = order_digits(a, b); by_number != 0) return by_number;
      } else {
         if (const auto by_char = a.front() <=> b.front(); by_char != 0) return by_char;
         a.remove_prefix(1);
         b.remove_prefix(1);
      }
   }
   return a.size() <=> b.size();
}

}  // namespace

intf_id_t::intf_id_t(std::string_view name) {
   if (name.empty()) return;
   const std::size_t hash = hash_text(name);
   name_ = interned().find(name, hash);
   if (name_ != nullptr) return;
   check_form(name);
   name_ = new held_name(name, hash, no_index);
}

void intf_id_t::release() noexcept {
   if (name_->holders.fetch_sub(1, std::memory_order_acq_rel) == 1) delete name_;
}

std::uint32_t intf_id_t::index_by_text() const noexcept {
   if (name_ == nullptr) return no_index;
   const held_name* const known = interned().find(name_->text, name_->hash);
   return known == nullptr ? no_index : known->index;
}

bool intf_id_t::same_text(const intf_id_t& other) const noexcept {
   if (name_ == nullptr || other.name_ == nullptr) return false;
   if (name_->interned() && other.name_->interned()) return false;
   return name_->hash == other.name_->hash && name_->text == other.name_->text;
}

std::strong_ordering intf_id_t::order(const intf_id_t& other) const noexcept {
   const std::string_view mine = name();
   const std::string_view theirs = other.name();
   // Names that differ only in leading zeros are still different names.
   if (const auto natural = natural_order(mine, theirs); natural != 0) return natural;
   return mine <=> theirs;
}

namespace host {

intf_id_t intf_name_known(std::string_view name) {
   if (!name.empty()) {
      check_form(name);
      interned().intern(name, hash_text(name));
   }
   return intf_id_t(name);
}

}  // namespace host
}  // namespace orv
