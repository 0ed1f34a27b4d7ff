// MPLS labels that are popped and looked up in a VRF. The VRF need not exist yet.
//
// Refusals (orv::invalid_argument_error unless noted otherwise, naming the value):
//    a label above 1048575 (orv::invalid_range_error)
//    a VRF name that is empty, of more than 255 bytes, or not in UTF-8
//    more labels than the table holds, or a full disk (orv::error)
//
// Thread-safety: guarded by the SDK's lock.
#pragma once

#include <string>

#include "orv/mpls_vrf_label.h"
#include "softswitch/managers/context.h"
#include "softswitch/tables/table.h"

namespace softswitch {

struct MplsVrfLabelCodec {
   static constexpr std::uint8_t version = 1;
   static void encodeKey(const orv::mpls_label_t& key, store::Writer& out);
   static orv::mpls_label_t decodeKey(store::Reader& in);
   static void encodeRow(const std::string& row, store::Writer& out) { out.text(row); }
   static std::string decodeRow(store::Reader& in, std::uint8_t) { return std::string(in.text()); }
};

class MplsVrfLabelMgr final : public orv::mpls_vrf_label_mgr {
public:
   static constexpr std::size_t vrfNameBytesMax = 255;

   explicit MplsVrfLabelMgr(const Context& context);

   void resync_init() override;
   void resync_complete() override;
   orv::mpls_vrf_label_iter_t mpls_vrf_label_iter() const override;
   orv::mpls_vrf_label_t mpls_vrf_label(orv::mpls_label_t label) const override;
   void mpls_vrf_label_set(const orv::mpls_vrf_label_t& vrf_label) override;
   void mpls_vrf_label_del(orv::mpls_label_t label) override;

   std::size_t size() const { return labels_.size(); }
   std::size_t capacity() const { return labels_.capacity(); }

private:
   // The VRF name of each label.
   Table<orv::mpls_label_t, std::string, MplsVrfLabelCodec> labels_;
};

}  // namespace softswitch
