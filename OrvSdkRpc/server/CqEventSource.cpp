#include "OrvSdkRpc/server/CqEventSource.h"

#include <fmt/format.h>

#include <stdexcept>

namespace OrvSdkRpc {

std::string_view toString(CqEventSource source) {
   switch (source) {
      case CqEventSource::None:
         return "NONE";
      case CqEventSource::Alarm:
         return "ALARM";
      case CqEventSource::Write:
         return "WRITE";
   }
   throw std::logic_error(fmt::format("Unknown event source {}", static_cast<std::uint32_t>(source)));
}

}  // namespace OrvSdkRpc
