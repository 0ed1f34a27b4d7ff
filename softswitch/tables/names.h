// Names that many rows share: each is stored once and identified by a small number.
//
// A name lives as long as it has references; its number is reused afterwards. Number 0 is the empty name,
// which needs no references.
//
// Thread-safety: none of its own; guarded by the SDK's lock.
#pragma once

#include <absl/container/flat_hash_map.h>

#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace softswitch {

using NameId = std::uint32_t;

class Names {
public:
   static constexpr NameId none = 0;

   Names() { entries_.emplace_back(); }
   Names(const Names&) = delete;
   Names& operator=(const Names&) = delete;

   // RETURNS: the number of `name`, with one more reference.
   NameId hold(std::string_view name) {
      if (name.empty()) return none;
      if (const auto it = ids_.find(name); it != ids_.end()) {
         ++entries_[it->second].references;
         return it->second;
      }
      return add(name);
   }
   void hold(NameId id) { ++entries_[id].references; }

   // Drops one reference.
   void drop(NameId id) {
      if (id != none && --entries_[id].references == 0) remove(id);
   }

   // RETURNS: the number of `name`, without a new reference; `none` if the name has no references.
   NameId find(std::string_view name) const {
      const auto it = ids_.find(name);
      return it == ids_.end() ? none : it->second;
   }

   // Valid while a reference is held.
   const std::string& text(NameId id) const { return entries_[id].text; }
   std::uint32_t references(NameId id) const { return entries_[id].references; }

   // One past the largest number given so far.
   std::size_t bound() const { return entries_.size(); }

private:
   struct Entry {
      std::string text;
      std::uint32_t references = 0;
   };

   NameId add(std::string_view name);
   void remove(NameId id);

   std::deque<Entry> entries_;  // a deque, because ids_ points into the texts
   std::vector<NameId> unused_;
   absl::flat_hash_map<std::string_view, NameId> ids_;
};

// One reference, dropped by the destructor.
class HeldName {
public:
   HeldName() = default;
   HeldName(Names& names, std::string_view name) : names_(&names), id_(names.hold(name)) {}
   HeldName(HeldName&& other) noexcept : names_(other.names_), id_(std::exchange(other.id_, Names::none)) {}
   HeldName& operator=(HeldName&& other) noexcept {
      std::swap(names_, other.names_);
      std::swap(id_, other.id_);
      return *this;
   }
   ~HeldName() {
      if (id_ != Names::none) names_->drop(id_);
   }

   NameId id() const { return id_; }

private:
   Names* names_ = nullptr;
   NameId id_ = Names::none;
};

}  // namespace softswitch
