// Record of MPLS labels that lead into a VRF.
//
// Thread-safety: plain values.
#pragma once

#include <string>
#include <utility>

#include "orv/mpls_label.h"

namespace orv {

// A label that is popped, after which the payload is looked up in a VRF. An empty VRF name means that there
// is no entry.
class mpls_vrf_label_t {
public:
   using sdk_value = mpls_vrf_label_t;

   mpls_vrf_label_t() = default;
   mpls_vrf_label_t(mpls_label_t label, std::string vrf_name)
        : label_(label), vrf_name_(std::move(vrf_name)) {}

   [[nodiscard]] mpls_label_t label() const noexcept { return label_; }
   void label_is(mpls_label_t v) { label_ = v; }
   [[nodiscard]] const std::string& vrf_name() const noexcept { return vrf_name_; }
   void vrf_name_is(std::string v) { vrf_name_ = std::move(v); }

   bool operator==(const mpls_vrf_label_t&) const = default;
   [[nodiscard]] std::size_t hash() const;
   [[nodiscard]] std::string to_string() const;

private:
   mpls_label_t label_;
   std::string vrf_name_;
};

}  // namespace orv
