// Follows the traffic rates of all interfaces in the platform's counter tables, which no manager tells of.
//
// Holds the mounted tables for the life of the agent; a state machine follows them only while somebody
// watches.
//
// Thread-safety: guarded by the SDK's lock. Rates are told from the main loop, under it.
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

   // The tables are another's; nothing is mounted ahead.
   void onMountsComplete(const Pavo::Ptr<Tessel::EntityManager>& state,
                         const Pavo::Ptr<ZeltSharedMem::EntityManager>& shared) override;

   // From here on `onRates` is called with every interface's rates as they change, and first with those that
   // are known, but not for the switch's internal interfaces nor for one that never had a rate. The caller
   // holds the SDK's lock. A second start only changes the function. Before the mounts are complete, watching
   // begins with them.
   void startWatching(OnRates onRates);
   // Drops everything that followed the tables. A repeat is harmless.
   void stopWatching();

   // For the state machines: one interface has new rates.
   void onTrafficRatesUpdate(const Lumic::IntfId& intf, const Interface::IntfRates& rates);

   [[nodiscard]] bool watching() const { return stateMachine_ != nullptr; }

private:
   void IntfCounterServiceSmIs();

   OnRates onRates_;
   // By the tables' index, of the interfaces that were told. Rates come for the same ones again and again,
   // and looking a name up costs as much as all the rest.
   std::vector<orv::intf_id_t> ids_;
   Pavo::Ptr<ZeltSharedMem::EntityManager> shared_;
   Pavo::Ptr<IntfCounterServiceSm> stateMachine_;
   // Null where the platform has none.
   Pavo::Ptr<const Zelt::Dir> ethWriterStatusDir_;
   Pavo::Ptr<const Rillo::Interface::AllIntfCounterDir> lagCounters_;
};

}  // namespace OrvSdkRpc
