#include "OrvSdkRpc/hardware/EthIntfCounterSliceSm.h"

#include <utility>

#include "OrvSdkRpc/hardware/CounterRow.h"

namespace OrvSdkRpc {

EthIntfCounterSliceSm::EthIntfCounterSliceSm(
     Pavo::String name, IntfTrafficRatesWatcher* watcher,
     const Pavo::Ptr<const Interface::AllEthIntfCounterRillo>& counters)
     : name_(std::move(name)),
       watcher_(watcher),
       counters_(counters),
       reaction_(counters_->reactorIs([this](const Lumic::IntfId& intf) { handleEthCounter(intf); })) {}

void EthIntfCounterSliceSm::handleEthCounter(const Lumic::IntfId& intf) {
   handleCounterRow(*counters_, intf, "Eth counters update", *watcher_);
}

}  // namespace OrvSdkRpc
