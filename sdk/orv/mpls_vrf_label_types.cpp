#include "orv/mpls_vrf_label_types.h"

#include "orv/record_text.h"

namespace orv {

std::size_t mpls_vrf_label_t::hash() const {
   return detail::hash_of(label_, vrf_name_);
}

std::string mpls_vrf_label_t::to_string() const {
   return detail::record_text("mpls_vrf_label_t",
                              {{"label", detail::text_of(label_)}, {"vrf_name", detail::text_of(vrf_name_)}});
}

}  // namespace orv
