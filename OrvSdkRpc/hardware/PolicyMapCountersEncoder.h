// Puts counters of policies into the words of the wire.
//
// Thread-safety: guarded by the SDK's lock.
#pragma once

#include <list>

#include "OrvSdkRpcProtos/policy_map_counters.pb.h"
#include "orv/policy_map.h"
#include "platform/pavo/Ptr.h"
#include "platform/pavo/String.h"
#include "platform/state/PbrCounters.h"
#include "platform/state/PbrStatus.h"
#include "platform/zelt/Clock.h"

namespace OrvSdkRpc {

class PbrPolicyCountersMgr;

class PolicyMapCountersEncoder {
public:
   // `policyMapMgr` is the source of what the rules do; null: their actions are not told.
   // REQUIRES: the manager of the counters outlives the encoder.
   PolicyMapCountersEncoder(PbrPolicyCountersMgr& countersMgr, const orv::PolicyMapMgrImpl* policyMapMgr);

   // Fills an empty entry. `timeShift` is added to the time of the counter.
   // RETURNS: false, with an entry that is not to be sent, if the counter is gone and the flags do not say
   // so.
   bool encodeEntry(orv::remote::PolicyMapCounters& entry, const PbrCounters& counters,
                    const PbrCountersEncodingFlags& flags, Zelt::Seconds timeShift = 0) const;
   static void encodeLongKey(const PbrCountersKey& key, orv::remote::PolicyMapCounters& entry);

   // RETURNS: what the class does, first according to the switch as a whole, then to its slices by name; null
   // if none has the class. Valid until a status changes.
   [[nodiscard]] const Pbr::ClassMapStatus* classMapStatus(const Pavo::String& policy,
                                                           const Pavo::String& classMap) const;

   // RETURNS: every counter, with its long key and its time as wall-clock time, in responses that are smaller
   // than `limit` bytes. An entry that is larger than that has a response of its own.
   [[nodiscard]] std::list<orv::remote::PolicyMapCountersWatchResponse> dumpMessages(
        unsigned long limit) const;

private:
   PbrPolicyCountersMgr& countersMgr_;
   // Null if the switch has no such table.
   const Pavo::Ptr<const Pbr::Status> status_;
};

}  // namespace OrvSdkRpc
