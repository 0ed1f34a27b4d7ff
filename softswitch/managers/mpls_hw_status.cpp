#include "softswitch/managers/mpls_hw_status.h"

namespace softswitch {
namespace {

static_assert(orv::mpls_route_key_t::labels_max == Mpls::RouteKey::labelsMax);

// The state database has the bottom of the stack first, the SDK the outermost label.
Mpls::RouteKeyAndMetric stateKey(const orv::mpls_route_key_t& key) {
   Mpls::RouteKeyAndMetric made;
   const auto labels = key.labels();
   made.stackSizeIs(static_cast<std::uint8_t>(labels.size()));
   for (std::uint32_t i = 0; i < labels.size(); ++i) {
      made.labelStackIs(Lumic::MplsStackEntryIndex(i),
                        Lumic::MplsLabel(labels[labels.size() - 1 - i].label()));
   }
   made.metricIs(key.metric());
   return made;
}

}  // namespace

MplsHwStatus::MplsHwStatus(const MountMgr& mounts)
     : mount_(mounts.state()->mount(std::string(Mpls::Hardware::statusPath), Tessel::MountMode::write)) {
   mount_.entityIs(table_);
}

void MplsHwStatus::answered(const orv::mpls_route_key_t& key, const Mpls::Hardware::AckInfo& answer,
                            std::size_t vias) {
   const auto made = stateKey(key);
   table_->rowIs(
        made,
        {.key = made, .ackInfo = answer, .unprogrammed = false, .vias = static_cast<std::uint32_t>(vias)});
}

void MplsHwStatus::unprogrammed(const orv::mpls_route_key_t& key) {
   const auto made = stateKey(key);
   auto row = table_->row(made);
   if (!row) return;
   row->unprogrammed = true;
   row->vias = 0;
   table_->rowIs(made, *row);
}

void MplsHwStatus::removed(const orv::mpls_route_key_t& key) {
   table_->rowDel(stateKey(key));
}

}  // namespace softswitch
