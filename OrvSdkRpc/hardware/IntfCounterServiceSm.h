// Follows all counter tables: one slice per existing counter writer, and the table of the LAGs.
//
// Thread-safety: guarded by the SDK's lock. Changes are handled on the main loop.
#pragma once

#include <map>
#include <string>

#include "OrvSdkRpc/hardware/EthIntfCounterSliceSm.h"
#include "platform/state/EthIntfCounter.h"
#include "platform/tessel/SharedMem.h"
#include "platform/zelt/Dir.h"

namespace OrvSdkRpc {

class IntfCounterServiceSm final : public Pavo::RefCounted {
public:
   // Creates the slices of the existing writers before it returns. The directory and the LAG table may be
   // null.
   // REQUIRES: the watcher outlives the state machine.
   IntfCounterServiceSm(IntfTrafficRatesWatcher* watcher,
                        const Pavo::Ptr<ZeltSharedMem::EntityManager>& sharedMemory,
                        const Pavo::Ptr<const Zelt::Dir>& ethWriterStatusDir,
                        const Pavo::Ptr<const Rillo::Interface::AllIntfCounterDir>& lagCounters);

   // Checks every writer in the directory.
   void handleEthCounterSlice();
   // Checks one writer: creates, replaces or deletes its slice.
   void handleEthCounterSlice(const std::string& name);
   void handleLagCounter(const Lumic::IntfId& intf);

   // Creates the slice. A slice on another table is replaced.
   void ethCounterSliceSmIs(const std::string& name, IntfTrafficRatesWatcher* watcher,
                            const Pavo::Ptr<const Interface::AllEthIntfCounterRillo>& counters);
   void ethCounterSliceSmDel(const std::string& name);
   [[nodiscard]] std::size_t slices() const { return slices_.size(); }

private:
   ~IntfCounterServiceSm() override = default;

   IntfTrafficRatesWatcher* const watcher_;
   const Pavo::Ptr<const Zelt::Dir> ethWriterStatusDir_;
   const Pavo::Ptr<const Rillo::Interface::AllIntfCounterDir> lagCounters_;
   Interface::EthIntfCounterMountHelper mountHelper_;
   std::map<std::string, Pavo::Ptr<EthIntfCounterSliceSm>> slices_;
   Zelt::Dir::Reaction zeltEthWriterStatusDir_;
   Rillo::Interface::AllIntfCounterDir::Reaction lagReaction_;
};

}  // namespace OrvSdkRpc
