#include "OrvSdkRpc/hardware/IntfTrafficRatesWatcher.h"

#include <utility>

#include "OrvSdkRpc/handlers/TellOrTrace.h"
#include "OrvSdkRpc/hardware/CounterRow.h"
#include "OrvSdkRpc/hardware/IntfCounterServiceSm.h"
#include "orv/lock.h"

namespace OrvSdkRpc {

IntfTrafficRatesWatcher::IntfTrafficRatesWatcher(orv::mount_mgr* mgr) : orv::mount_handler(mgr) {}

IntfTrafficRatesWatcher::~IntfTrafficRatesWatcher() = default;

void IntfTrafficRatesWatcher::onMountsComplete(const Pavo::Ptr<Tessel::EntityManager>& state,
                                               const Pavo::Ptr<ZeltSharedMem::EntityManager>& shared) {
   ethWriterStatusDir_ = state->entity<Zelt::Dir>(Interface::ethWriterStatusPath);
   shared_ = shared;
   lagCounters_ = shared->entity<Rillo::Interface::AllIntfCounterDir>(Interface::lagCounterPath);
   if (onRates_) IntfCounterServiceSmIs();
}

void IntfTrafficRatesWatcher::startWatching(OnRates onRates) {
   orv::sdk_lock_check();
   onRates_ = std::move(onRates);
   if (initialized()) IntfCounterServiceSmIs();
}

void IntfTrafficRatesWatcher::IntfCounterServiceSmIs() {
   if (stateMachine_) return;
   stateMachine_ = Pavo::makePtr<IntfCounterServiceSm>(this, shared_, ethWriterStatusDir_, lagCounters_);
}

void IntfTrafficRatesWatcher::stopWatching() {
   const orv::sdk_scoped_lock lock;
   onRates_ = nullptr;
   stateMachine_ = nullptr;
   ids_.clear();
}

void IntfTrafficRatesWatcher::onTrafficRatesUpdate(const Lumic::IntfId& intf,
                                                   const Interface::IntfRates& rates) {
   if (!onRates_ || !intf) return;
   if (intf.index() >= ids_.size()) ids_.resize(intf.index() + 1);
   orv::intf_id_t& id = ids_[intf.index()];
   if (!id) {
      // The platform allows names that the SDK rejects.
      tellOrTrace(intfCounterTracer(), "rates", [&] { id = orv::intf_id_t(intf.name()); });
      if (!id) return;
   }
   onRates_(id, {rates.outPktsRate, rates.inPktsRate, rates.outBitsRate, rates.inBitsRate, rates.sampleTime});
}

}  // namespace OrvSdkRpc
