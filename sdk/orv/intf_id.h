// The name of an interface.
//
// An intf_id_t is one pointer wide. Names that the switch has made known, those of
// its interfaces, stand once in a table of the process: an id of such a name costs
// nothing to copy and compares by pointer. Any other name is held by the ids that
// carry it and goes with the last of them, so that names from the network leave
// nothing behind.
//
// Whether an interface of the name exists is the managers' question, not this
// type's.
//
// Thread-safety: plain value; the copies of one id may be used by several threads.
// host::intf_name_known may be called by any thread. Looking a name up takes no
// lock.
#pragma once

#include <atomic>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <utility>

#include "orv/value.h"

namespace orv {

// Ordered by name, runs of digits by their number: Ethernet2 before Ethernet10.
class intf_id_t {
public:
   using sdk_value = intf_id_t;
   static constexpr std::size_t name_length_max = 64;

   // The null interface, which has the empty name.
   constexpr intf_id_t() noexcept = default;
   // The empty name is the null interface. A name longer than 64 bytes, or with
   // anything but letters, digits and the characters . / - _ : in it, throws
   // invalid_argument_error naming it.
   explicit intf_id_t(std::string_view name);

   intf_id_t(const intf_id_t& other) noexcept : name_(other.name_) { hold(); }
   intf_id_t(intf_id_t&& other) noexcept : name_(std::exchange(other.name_, nullptr)) {}
   intf_id_t& operator=(intf_id_t other) noexcept {
      std::swap(name_, other.name_);
      return *this;
   }
   ~intf_id_t() { drop(); }

   // True for the null interface.
   bool operator!() const noexcept { return name_ == nullptr; }
   explicit operator bool() const noexcept { return name_ != nullptr; }

   friend bool operator==(const intf_id_t& a, const intf_id_t& b) noexcept {
      return a.name_ == b.name_ || a.same_text(b);
   }
   friend std::strong_ordering operator<=>(const intf_id_t& a, const intf_id_t& b) noexcept {
      return a.name_ == b.name_ ? std::strong_ordering::equal : a.order(b);
   }
   [[nodiscard]] std::size_t hash() const noexcept { return name_ == nullptr ? 0 : name_->hash; }
   // The name. Valid as long as an id of it is.
   [[nodiscard]] std::string_view name() const noexcept {
      return name_ == nullptr ? std::string_view{} : std::string_view(name_->text);
   }
   [[nodiscard]] std::string to_string() const { return std::string(name()); }

   // Counted from 0 in the order in which the switch made its names known; no_index
   // for any other name, until it becomes known. One index is one name's for ever.
   static constexpr std::uint32_t no_index = std::numeric_limits<std::uint32_t>::max();
   [[nodiscard]] std::uint32_t index() const noexcept {
      return name_ != nullptr && name_->interned() ? name_->index : index_by_text();
   }

   // A name and how it is held. One with an index is interned, and never freed.
   struct held_name {
      held_name(std::string_view name, std::size_t name_hash, std::uint32_t name_index)
           : text(name), hash(name_hash), index(name_index), holders(1) {}

      [[nodiscard]] bool interned() const noexcept { return index != no_index; }

      std::string text;
      std::size_t hash;
      std::uint32_t index;
      mutable std::atomic<std::uint32_t> holders;
   };

private:
   void hold() const noexcept {
      if (name_ != nullptr && !name_->interned()) name_->holders.fetch_add(1, std::memory_order_relaxed);
   }
   void drop() noexcept {
      if (name_ != nullptr && !name_->interned()) release();
   }
   void release() noexcept;
   // For an id that was made before its name became known, if it is.
   [[nodiscard]] std::uint32_t index_by_text() const noexcept;
   [[nodiscard]] bool same_text(const intf_id_t& other) const noexcept;
   [[nodiscard]] std::strong_ordering order(const intf_id_t& other) const noexcept;

   const held_name* name_ = nullptr;
};

static_assert(sizeof(intf_id_t) == sizeof(void*), "interface ids are copied on hot paths");

namespace host {

// Makes a name of the switch's own known for the life of the process and answers
// its id; refuses what intf_id_t refuses. For names of interfaces that exist, never
// for input.
intf_id_t intf_name_known(std::string_view name);

}  // namespace host
}  // namespace orv
