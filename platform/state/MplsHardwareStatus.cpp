#include "platform/state/MplsHardwareStatus.h"

namespace Mpls::Hardware {

std::string Route::to_string() const {
   std::string text = fmt::format("{} metric {}", static_cast<const RouteKey&>(key), key.metric());
   if (ackInfo) {
      text += fmt::format(", FEC {}, version {} over {}, state {}", ackInfo->fecId, ackInfo->routeVersion,
                          ackInfo->fecVersion, static_cast<unsigned>(ackInfo->hwState));
   }
   if (unprogrammed) text += ", unprogrammed";
   return text + fmt::format(", vias {}", vias);
}

}  // namespace Mpls::Hardware
