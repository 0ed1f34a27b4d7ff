// Follows the traffic rates of all interfaces in the platform's counter tables. No SDK manager reports their
// changes.
//
// Holds the mounted tables for the life of the agent. A state machine follows them only between
// startWatching() and stopWatching().
//
// Thread-safety: guarded by the SDK's lock. The main loop reports rates with the lock held.
#pragma once

#include <functional>
#include <vector>

#include "orv/intf_counter_types.h"
#include "orv/intf_id.h"
#include "orv/mount.h"
#include "platform/pavo/Ptr.h"
#include "platform/state/EthIntfCounter.h"
#include "platform/state/IntfId.h"
#include "platform/tessel/SharedMem.h"
#include "platform/zelt/Dir.h"

namespace OrvSdkRpc {

class IntfCounterServiceSm;

class IntfTrafficRatesWatcher final : public orv::mount_handler {
public:
   using OnRates = std::function<void(orv::intf_id_t intf, orv::intf_traffic_rates_t rates)>;

   explicit IntfTrafficRatesWatcher(orv::mount_mgr* mgr);
   ~IntfTrafficRatesWatcher() override;

   // Mounts nothing: looks up tables that other owners mount.
   void onMountsComplete(const Pavo::Ptr<Tessel::EntityManager>& state,
                         const Pavo::Ptr<ZeltSharedMem::EntityManager>& shared) override;

   // Calls `onRates` with the known rates of every interface, then with each change. Skips the switch's
   // internal interfaces and interfaces that never had a rate. Before the mounts are complete, watching waits
   // for them. A second call only replaces the function.
   // REQUIRES: the caller holds the SDK's lock.
   void startWatching(OnRates onRates);
   // Stops following the tables. A repeated call is a no-op.
   void stopWatching();

   // Called by the state machines when an interface has new rates.
   void onTrafficRatesUpdate(const Lumic::IntfId& intf, const Interface::IntfRates& rates);

   [[nodiscard]] bool watching() const { return stateMachine_ != nullptr; }

private:
   void IntfCounterServiceSmIs();

   OnRates onRates_;
   // The SDK's ids of the interfaces reported so far, by table index. Rates arrive for the same interfaces
   // again and again, and a name lookup costs as much as all the rest.
   std::vector<orv::intf_id_t> ids_;
   Pavo::Ptr<ZeltSharedMem::EntityManager> shared_;
   Pavo::Ptr<IntfCounterServiceSm> stateMachine_;
   // Null if the platform has no such table.
   Pavo::Ptr<const Zelt::Dir> ethWriterStatusDir_;
   Pavo::Ptr<const Rillo::Interface::AllIntfCounterDir> lagCounters_;
};

}  // namespace OrvSdkRpc
