#include "softswitch/managers/mpls_vrf_label_mgr.h"

#include <fmt/format.h>

#include "orv/error.h"
#include "orv/lock.h"
#include "softswitch/tables/name_check.h"
#include "softswitch/tables/value_codec.h"

namespace softswitch {

void MplsVrfLabelCodec::encodeKey(const orv::mpls_label_t& key, store::Writer& out) {
   write(out, key);
}

orv::mpls_label_t MplsVrfLabelCodec::decodeKey(store::Reader& in) {
   return readMplsLabel(in);
}

MplsVrfLabelMgr::MplsVrfLabelMgr(const Context& context)
     : labels_(context.store, "mpls_vrf_label", context.limits.mplsVrfLabels) {}

void MplsVrfLabelMgr::resync_init() {
   orv::sdk_lock_check();
   labels_.resyncInit();
}

void MplsVrfLabelMgr::resync_complete() {
   orv::sdk_lock_check();
   labels_.resyncComplete([](const auto&, const auto&) {});
}

orv::mpls_vrf_label_iter_t MplsVrfLabelMgr::mpls_vrf_label_iter() const {
   orv::sdk_lock_check();
   return makeTableIter<orv::mpls_vrf_label_iter_t>(
        labels_, [](auto item) { return std::optional(orv::mpls_vrf_label_t(*item.key, *item.row)); });
}

orv::mpls_vrf_label_t MplsVrfLabelMgr::mpls_vrf_label(orv::mpls_label_t label) const {
   orv::sdk_lock_check();
   const auto* vrf = labels_.find(label);
   return orv::mpls_vrf_label_t(label, vrf == nullptr ? std::string{} : *vrf);
}

void MplsVrfLabelMgr::mpls_vrf_label_set(const orv::mpls_vrf_label_t& vrf_label) {
   orv::sdk_lock_check();
   const auto label = vrf_label.label();
   if (!label)
      throw orv::invalid_range_error("mpls vrf label: label", label.label(), 0, orv::mpls_label_t::max);
   if (vrf_label.vrf_name().empty())
      throw orv::invalid_argument_error(fmt::format("mpls vrf label {} names no VRF", label));
   if (const auto fault = textFault(vrf_label.vrf_name(), vrfNameBytesMax); !fault.empty())
      throw orv::invalid_argument_error(fmt::format("mpls vrf label {}: VRF name {}", label, fault));
   labels_.set(label, vrf_label.vrf_name());
}

void MplsVrfLabelMgr::mpls_vrf_label_del(orv::mpls_label_t label) {
   orv::sdk_lock_check();
   labels_.erase(label);
}

}  // namespace softswitch
