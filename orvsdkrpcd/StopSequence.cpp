#include "orvsdkrpcd/StopSequence.h"

#include <fmt/format.h>

namespace orvsdkrpcd {

bool StopSequence::begin(std::string_view why) {
   const std::lock_guard lock(mutex_);
   if (begun_.exchange(true)) return false;
   log_(fmt::format("{}, stopping", why));
   status_.stopping();
   health_.stop();
   switch_.stop();
   return true;
}

void StopSequence::beginOrHurry(std::string_view why) {
   if (begin(why)) return;
   log_(fmt::format("{}, no longer waiting for acknowledgements", why));
   switch_.stop();
}

}  // namespace orvsdkrpcd
