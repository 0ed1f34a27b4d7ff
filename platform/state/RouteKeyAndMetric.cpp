#include "platform/state/RouteKeyAndMetric.h"

#include <algorithm>

namespace Mpls {

std::size_t RouteKey::hash() const noexcept {
   // FNV-1a over whole labels. A table may hold a size beyond the array.
   std::uint64_t hash = 0xcbf29ce484222325U ^ stackSize_;
   for (std::size_t i = 0; i < std::min<std::size_t>(stackSize_, labelsMax); ++i)
      hash = (hash ^ labelStack_[i].value()) * 0x100000001b3U;
   return hash;
}

std::string RouteKey::to_string() const {
   std::string text;
   for (std::size_t i = std::min<std::size_t>(stackSize_, labelsMax); i-- > 0;)
      text += fmt::format("{}{}", labelStack_[i].value(), i == 0 ? "" : ",");
   return text;
}

}  // namespace Mpls
