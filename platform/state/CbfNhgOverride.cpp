#include "platform/state/CbfNhgOverride.h"

#include <fmt/format.h>

namespace NexthopGroup {

void NexthopGroupEntryKey::nhgNameIs(std::string name) {
   if (name.size() > maxNameBytes) {
      throw Zelt::RangeException(
           fmt::format("NexthopGroup::NexthopGroupName of {} bytes, {} allowed", name.size(), maxNameBytes));
   }
   nhgName_ = std::move(name);
}

}  // namespace NexthopGroup

namespace CbfNhgExt {

void DscpBitmap::dscpIs(std::uint8_t dscp) {
   if (dscp > invalid) {
      throw Zelt::RangeException("Qos::Dscp::value < Qos::Dscp::min or > Qos::Dscp::invalid not allowed");
   }
   bits_.set(dscp);
}

}  // namespace CbfNhgExt
