// Handling of changed rows, shared by all counter tables.
//
// Thread-safety: handleCounterRow takes the SDK's lock, which its caller may already hold.
#pragma once

#include <optional>
#include <string_view>

#include "OrvSdkRpc/hardware/IntfTrafficRatesWatcher.h"
#include "orv/lock.h"
#include "orv/tracer.h"
#include "platform/rillo/TableCorruption.h"
#include "platform/state/IntfCounter.h"
#include "platform/state/IntfId.h"

namespace OrvSdkRpc {

inline const orv::tracer& intfCounterTracer() {
   static const orv::tracer tracer("intf_counter");
   return tracer;
}

// RETURNS: true if the interface is internal to the switch.
inline bool is_internal_interface(const Lumic::IntfId& intf) {
   return Lumic::InternalIntfId::isInternalIntfId(intf) || Lumic::PeerEthIntfId::isPeerEthIntfId(intf) ||
          Lumic::PeerPortChannelIntfId::isPeerPortChannelIntfId(intf);
}

// Reads a row. Reports a corrupt one to the table, which repairs or removes it.
// RETURNS: empty if the row does not exist.
template <class Table>
std::optional<Interface::IntfCounter> readCounterRow(const Table& table, const Lumic::IntfId& intf) {
   // Terminates: once reported, a row is intact or gone.
   for (;;) {
      try {
         return table.row(intf);
      } catch (const Rillo::TableCorruption& corruption) {
         table.doCorruptionDetected(corruption);
      }
   }
}

template <class Table>
void handleCounterRow(const Table& table, const Lumic::IntfId& intf, std::string_view updateTrace,
                      IntfTrafficRatesWatcher& watcher) {
   const orv::sdk_scoped_lock lock;
   if (is_internal_interface(intf)) {
      orv::fmttrace(intfCounterTracer(), 8, "Treating interface as internal. Leaving.");
      return;
   }
   const auto row = readCounterRow(table, intf);
   // Skip an interface that never had a rate.
   if (!row || row->rates.isEq({})) return;
   orv::fmttrace(intfCounterTracer(), 8, "{}", updateTrace);
   watcher.onTrafficRatesUpdate(intf, row->rates);
}

}  // namespace OrvSdkRpc
