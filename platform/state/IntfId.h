#pragma once

// Interfaces as the state tables know them, the switch's internal ones included, which no manager shows.
// Thread-safety: an id is a plain value. Making one from a name may be done by any thread.

#include <compare>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace Lumic {

/// One pointer wide. Each name is kept once, for the life of the process: names come from the switch, never
/// from input.
class IntfId {
public:
   /// No interface.
   constexpr IntfId() noexcept = default;
   /// The empty name is no interface.
   explicit IntfId(std::string_view name);

   /// Lives as long as the process.
   [[nodiscard]] std::string_view name() const noexcept {
      return entry_ == nullptr ? std::string_view{} : std::string_view(entry_->name);
   }
   explicit operator bool() const noexcept { return entry_ != nullptr; }

   friend bool operator==(const IntfId&, const IntfId&) noexcept = default;
   /// By name.
   friend std::strong_ordering operator<=>(const IntfId& a, const IntfId& b) noexcept {
      return a.name() <=> b.name();
   }
   [[nodiscard]] std::size_t hash() const noexcept { return std::hash<const void*>()(entry_); }

   enum class Kind : std::uint8_t {
      ordinary,
      internal,         ///< between the chips of the switch
      peerEth,          ///< a port of the other switch of a pair, mirrored here
      peerPortChannel,  ///< a LAG of the other switch of a pair
   };
   [[nodiscard]] Kind kind() const noexcept { return entry_ == nullptr ? Kind::ordinary : entry_->kind; }

   /// Counted from 0 in the order in which the names were first used. For an interface, not for none.
   [[nodiscard]] std::size_t index() const noexcept { return entry_->index; }

   struct Entry {
      std::string name;
      Kind kind;
      std::size_t index;
   };

private:
   const Entry* entry_ = nullptr;
};

/// "Internal" and a number.
struct InternalIntfId {
   static bool isInternalIntfId(const IntfId& intf) noexcept { return intf.kind() == IntfId::Kind::internal; }
};

/// "PeerEthernet" and a number, or numbers joined by slashes.
struct PeerEthIntfId {
   static bool isPeerEthIntfId(const IntfId& intf) noexcept { return intf.kind() == IntfId::Kind::peerEth; }
};

/// "PeerLag" and a number.
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
