// Follows the counter table of one writer.
//
// Thread-safety: guarded by the SDK's lock. Rows are handled on the main loop.
#pragma once

#include "platform/pavo/Ptr.h"
#include "platform/pavo/String.h"
#include "platform/state/EthIntfCounter.h"
#include "platform/state/IntfId.h"

namespace OrvSdkRpc {

class IntfTrafficRatesWatcher;

class EthIntfCounterSliceSm final : public Pavo::RefCounted {
public:
   // Handles every existing row, then each row that changes.
   // REQUIRES: the watcher outlives the slice.
   EthIntfCounterSliceSm(Pavo::String name, IntfTrafficRatesWatcher* watcher,
                         const Pavo::Ptr<const Interface::AllEthIntfCounterRillo>& counters);

   void handleEthCounter(const Lumic::IntfId& intf);

   [[nodiscard]] const Pavo::String& name() const { return name_; }
   [[nodiscard]] const Pavo::Ptr<const Interface::AllEthIntfCounterRillo>& counters() const {
      return counters_;
   }

private:
   ~EthIntfCounterSliceSm() override = default;

   const Pavo::String name_;
   IntfTrafficRatesWatcher* const watcher_;
   const Pavo::Ptr<const Interface::AllEthIntfCounterRillo> counters_;
   const Interface::AllEthIntfCounterRillo::Reaction reaction_;
};

}  // namespace OrvSdkRpc
