#pragma once

// The table by which forwarding overrides one nexthop group with another for some DSCPs.
// Thread-safety: the table is guarded by the activity lock; keys, bitmaps and entries are plain values.

#include <bitset>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <utility>

#include "platform/pavo/Ptr.h"
#include "platform/zelt/RangeException.h"

namespace NexthopGroup {

// Name of a nexthop group, at most maxNameBytes long.
class NexthopGroupEntryKey {
public:
   static constexpr std::size_t maxNameBytes = 128;

   const std::string& nhgName() const { return nhgName_; }
   // THROWS: Zelt::RangeException for a name that is too long.
   void nhgNameIs(std::string name);

   auto operator<=>(const NexthopGroupEntryKey&) const = default;

private:
   std::string nhgName_;
};

}  // namespace NexthopGroup

namespace CbfNhgExt {

// Traffic for the match group leaves through the redirect group.
struct CbfNhgOverrideKey {
   NexthopGroup::NexthopGroupEntryKey match;
   NexthopGroup::NexthopGroupEntryKey redirect;

   auto operator<=>(const CbfNhgOverrideKey&) const = default;
};

// A set of DSCPs (RFC 2474). `invalid`, the value after the last DSCP, stands for packets without one.
class DscpBitmap {
public:
   static constexpr std::uint8_t invalid = 64;

   // THROWS: Zelt::RangeException for a value above `invalid`.
   void dscpIs(std::uint8_t dscp);
   bool dscp(std::uint8_t dscp) const { return dscp <= invalid && bits_[dscp]; }
   std::size_t count() const { return bits_.count(); }

   bool operator==(const DscpBitmap&) const = default;

private:
   std::bitset<invalid + 1> bits_;
};

struct CbfNhgOverrideEntry {
   CbfNhgOverrideKey key;
   DscpBitmap dscps;

   bool operator==(const CbfNhgOverrideEntry&) const = default;
};

class CbfNhgOverrideConfig final : public Pavo::RefCounted {
public:
   static constexpr std::string_view entityType = "CbfNhgExt::CbfNhgOverrideConfig";
   // The path at which the writer mounts it and forwarding looks it up.
   static constexpr const char* mountPath = "te/nexthopgroup/override/config";

   // `size` is the number of entries that the writer expects; it is not a limit.
   CbfNhgOverrideConfig(std::string name, std::size_t size) : name_(std::move(name)), size_(size) {}

   const std::string& name() const { return name_; }
   std::size_t size() const { return size_; }
   const std::map<CbfNhgOverrideKey, DscpBitmap>& nhgOverride() const { return nhgOverride_; }
   void nhgOverrideIs(const CbfNhgOverrideEntry& entry) {
      nhgOverride_.insert_or_assign(entry.key, entry.dscps);
   }
   void nhgOverrideDel(const CbfNhgOverrideKey& key) { nhgOverride_.erase(key); }

private:
   ~CbfNhgOverrideConfig() override = default;

   const std::string name_;
   const std::size_t size_;
   std::map<CbfNhgOverrideKey, DscpBitmap> nhgOverride_;
};

}  // namespace CbfNhgExt
