#include "LabelSource.h"

#include <algorithm>

#include "EventSource.h"
#include "orv/lock.h"
#include "softswitch/forwarding/hardware.h"

namespace bench {
namespace {

// Labels set at a time. There are many more labels, so that no label has two events on their way, which would
// be merged.
constexpr std::size_t labelsAtOnce = 8192;
constexpr std::size_t labelsInAll = 8 * labelsAtOnce;
constexpr std::uint32_t labelsBegin = 16;

// How long the source waits for a stream, and for hardware and streams to take what is on its way.
constexpr std::int64_t unwatchedNanos = 1'000'000;
constexpr std::int64_t busyNanos = 50'000;

}  // namespace

LabelSource::LabelSource(const Pavo::Ptr<Gorm::TaskScheduler>& scheduler, softswitch::SoftSwitch& sdk,
                         OrvSdkRpc::MplsRouteService& service, const std::vector<std::string>& groups)
     : TimerTask(scheduler, "label source"), sdk_(sdk), service_(service) {
   const orv::sdk_scoped_lock lock;
   orv::mpls_route_mgr& manager = *sdk_.get_mpls_route_mgr();
   for (std::uint32_t i = 0; i < labelsInAll; ++i) {
      const orv::mpls_route_key_t key(orv::mpls_label_t(labelsBegin + i));
      manager.mpls_route_set(routes_.emplace_back(key, std::uint16_t{1}));
      orv::mpls_route_via_t via(key, orv::mpls_action_t::forward);
      via.nexthop_group_is(groups[i % groups.size()]);
      manager.mpls_route_via_set(via);
   }
   scheduleTask();
}

void LabelSource::taskExecute() {
   const auto streams = service_.subscriptions().getHandlers();
   if (streams.empty()) {
      scheduleTaskLowestDelay(unwatchedNanos);
      return;
   }
   if (!sdk_.hardware().idle() || longestQueue(streams) > 2 * labelsAtOnce) {
      scheduleTaskLowestDelay(busyNanos);
      return;
   }
   for (std::size_t i = 0; i < labelsAtOnce; ++i) {
      auto& route = routes_[next_];
      // 0 stands for no version.
      route.version_id_is(std::max<std::uint16_t>(static_cast<std::uint16_t>(route.version_id() + 1), 1));
      sdk_.get_mpls_route_mgr()->mpls_route_set(route);
      if (++next_ == routes_.size()) next_ = 0;
   }
   scheduleTask();
}

}  // namespace bench
