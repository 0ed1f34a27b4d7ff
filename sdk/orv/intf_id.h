// The name of an interface.
//
// An intf_id_t is one pointer wide. The names of the switch's interfaces are interned in a process-wide
// table: an id of such a name is cheap to copy and compares by pointer. Any other name is reference-counted
// and freed with its last id, so that names from the network do not accumulate.
//
// An id does not imply that the interface exists; ask the managers.
//
// Thread-safety: plain value; several threads may use copies of one id. Any thread may call
// host::intf_name_known. Looking a name up takes no lock.
#pragma once

#include <atomic>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <utility>

#include "orv/value.h"

namespace orv {

// Ordered by name, with runs of digits compared as numbers: Ethernet2 before Ethernet10.
class intf_id_t {
public:
   using sdk_value = intf_id_t;
   static constexpr std::size_t name_length_max = 64;

   // The null interface, which has the empty name.
   constexpr intf_id_t() noexcept = default;
   // The empty name gives the null interface.
   // THROWS: invalid_argument_error, naming the text, if it is longer than 64 bytes or has characters other
   // than letters, digits and . / - _ :
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
   // The name, valid as long as this id or a copy of it exists.
   [[nodiscard]] std::string_view name() const noexcept {
      return name_ == nullptr ? std::string_view{} : std::string_view(name_->text);
   }
   [[nodiscard]] std::string to_string() const { return std::string(name()); }

   // Index of an interned name, counted from 0 in the order of interning and never reused; no_index for any
   // other name, until it is interned.
   static constexpr std::uint32_t no_index = std::numeric_limits<std::uint32_t>::max();
   [[nodiscard]] std::uint32_t index() const noexcept {
      return name_ != nullptr && name_->interned() ? name_->index : index_by_text();
   }

   // A name and its reference count. A name with an index is interned and never freed.
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
   // For an id that was created before its name was interned; no_index if it never was.
   [[nodiscard]] std::uint32_t index_by_text() const noexcept;
   [[nodiscard]] bool same_text(const intf_id_t& other) const noexcept;
   [[nodiscard]] std::strong_ordering order(const intf_id_t& other) const noexcept;

   const held_name* name_ = nullptr;
};

static_assert(sizeof(intf_id_t) == sizeof(void*), "interface ids are copied on hot paths");

namespace host {

// Interns a name for the life of the process and returns its id. For names of interfaces that exist, never
// for input.
// THROWS: as the constructor of intf_id_t.
intf_id_t intf_name_known(std::string_view name);

}  // namespace host
}  // namespace orv
