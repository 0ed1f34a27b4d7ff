#include "orv/mpls_label.h"

#include "orv/error.h"

namespace orv {

void mpls_label_t::refuse(std::uint32_t label) {
   throw invalid_range_error("MPLS label", std::uint64_t{label}, 0, max);
}

std::string mpls_label_t::to_string() const {
   return label_ == null_label ? std::string("null") : std::to_string(label_);
}

}  // namespace orv
