#include "OrvSdkRpc/hardware/IntfCounterServiceSm.h"

#include "OrvSdkRpc/hardware/CounterRow.h"
#include "orv/lock.h"

namespace OrvSdkRpc {

IntfCounterServiceSm::IntfCounterServiceSm(
     IntfTrafficRatesWatcher* watcher, const Pavo::Ptr<ZeltSharedMem::EntityManager>& sharedMemory,
     const Pavo::Ptr<const Zelt::Dir>& ethWriterStatusDir,
     const Pavo::Ptr<const Rillo::Interface::AllIntfCounterDir>& lagCounters)
     : watcher_(watcher),
       ethWriterStatusDir_(ethWriterStatusDir),
       lagCounters_(lagCounters),
       mountHelper_(sharedMemory) {
   if (ethWriterStatusDir_) {
      zeltEthWriterStatusDir_ =
           ethWriterStatusDir_->reactorIs([this](const std::string& name) { handleEthCounterSlice(name); });
      handleEthCounterSlice();
   }
   if (lagCounters_) {
      lagReaction_ = lagCounters_->reactorIs([this](const Lumic::IntfId& intf) { handleLagCounter(intf); });
   }
}

void IntfCounterServiceSm::handleEthCounterSlice() {
   for (const auto& name : ethWriterStatusDir_->names())
      handleEthCounterSlice(name);
}

void IntfCounterServiceSm::handleEthCounterSlice(const std::string& name) {
   const orv::sdk_scoped_lock lock;
   if (!ethWriterStatusDir_->entityAs<Interface::EthIntfCounterWriterStatus>(name)) {
      ethCounterSliceSmDel(name);
      return;
   }
   orv::fmttrace(intfCounterTracer(), 8, "New eth counter writer: {}", name);
   if (const auto counters = mountHelper_.doMountNotifying(name, "current")) {
      ethCounterSliceSmIs(name, watcher_, counters);
   } else {
      ethCounterSliceSmDel(name);
   }
}

void IntfCounterServiceSm::ethCounterSliceSmIs(
     const std::string& name, IntfTrafficRatesWatcher* watcher,
     const Pavo::Ptr<const Interface::AllEthIntfCounterRillo>& counters) {
   auto& slice = slices_[name];
   if (slice && slice->counters() == counters) return;
   slice = Pavo::makePtr<EthIntfCounterSliceSm>(name, watcher, counters);
}

void IntfCounterServiceSm::ethCounterSliceSmDel(const std::string& name) {
   slices_.erase(name);
   mountHelper_.unmount(name);
}

void IntfCounterServiceSm::handleLagCounter(const Lumic::IntfId& intf) {
   handleCounterRow(*lagCounters_, intf, "Lag counters update", *watcher_);
}

}  // namespace OrvSdkRpc
