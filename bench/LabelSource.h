// Events of MPLS routes, from the set to the stream: sets labels of a software switch, each time with another
// version, as fast as hardware programming and the streams follow.
//
// Thread-safety: as Pavo::Task.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "OrvSdkRpc/mirror/MplsRouteService.h"
#include "platform/gorm/PavoTask.h"
#include "softswitch/soft_switch.h"

namespace bench {

class LabelSource final : public Pavo::TimerTask {
public:
   // Creates the labels, which take turns between the groups.
   // REQUIRES: the switch has the groups, at least one; switch and service outlive the source.
   LabelSource(const Pavo::Ptr<Gorm::TaskScheduler>& scheduler, softswitch::SoftSwitch& sdk,
               OrvSdkRpc::MplsRouteService& service, const std::vector<std::string>& groups);

private:
   void taskExecute() override;

   softswitch::SoftSwitch& sdk_;
   OrvSdkRpc::MplsRouteService& service_;
   std::vector<orv::mpls_route_t> routes_;
   // Of the label that is set next.
   std::size_t next_ = 0;
};

}  // namespace bench
