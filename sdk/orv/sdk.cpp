#include "orv/sdk.h"

namespace orv {

std::string_view enum_text(mgr_mode_type_t v) noexcept {
   switch (v) {
      case mgr_mode_type_t::on_demand:
         return "on-demand";
      case mgr_mode_type_t::resident:
         return "resident";
   }
   return {};
}

}  // namespace orv
