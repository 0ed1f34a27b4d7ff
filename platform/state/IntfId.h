#pragma once

// Interfaces as the state tables know them, including the switch's internal ones, which no manager exposes.
// Thread-safety: an id is a plain value. Any thread may create one from a name.

#include <compare>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace Lumic {

// An id is one pointer. Each name is interned for the life of the process, so names have to come from the
// switch, never from input.
class IntfId {
public:
   // No interface.
   constexpr IntfId() noexcept = default;
   // An empty name means no interface.
   explicit IntfId(std::string_view name);

   // RETURNS: the name, which lives as long as the process.
   [[nodiscard]] std::string_view name() const noexcept {
      return entry_ == nullptr ? std::string_view{} : std::string_view(entry_->name);
   }
   explicit operator bool() const noexcept { return entry_ != nullptr; }

   friend bool operator==(const IntfId&, const IntfId&) noexcept = default;
   // Orders by name.
   friend std::strong_ordering operator<=>(const IntfId& a, const IntfId& b) noexcept {
      return a.name() <=> b.name();
   }
   [[nodiscard]] std::size_t hash() const noexcept { return std::hash<const void*>()(entry_); }

   enum class Kind : std::uint8_t {
      ordinary,
      internal,         // between the chips of the switch
      peerEth,          // a port of the other switch of a pair, mirrored here
      peerPortChannel,  // a LAG of the other switch of a pair
   };
   [[nodiscard]] Kind kind() const noexcept { return entry_ == nullptr ? Kind::ordinary : entry_->kind; }

   // RETURNS: the index of the name, from 0 in the order of first use.
   // REQUIRES: the id is an interface.
   [[nodiscard]] std::size_t index() const noexcept { return entry_->index; }

   struct Entry {
      std::string name;
      Kind kind;
      std::size_t index;
   };

private:
   const Entry* entry_ = nullptr;
};

// "Internal" and a number.
struct InternalIntfId {
   static bool isInternalIntfId(const IntfId& intf) noexcept { return intf.kind() == IntfId::Kind::internal; }
};

// "PeerEthernet" and a number, or numbers joined by slashes.
struct PeerEthIntfId {
   static bool isPeerEthIntfId(const IntfId& intf) noexcept { return intf.kind() == IntfId::Kind::peerEth; }
};

// "PeerLag" and a number.
struct PeerPortChannelIntfId {
   static bool isPeerPortChannelIntfId(const IntfId& intf) noexcept {
      return intf.kind() == IntfId::Kind::peerPortChannel;
   }
};

}  // namespace Lumic

template <>
struct std::hash<Lumic::IntfId> {
   std::size_t operator()(const Lumic::IntfId& intf) const noexcept { return intf.hash(); }
};
