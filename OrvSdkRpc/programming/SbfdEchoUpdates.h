// The open streams of echo session updates.
//
// Thread-safe by its own mutex, which comes before a stream's and before the tag registry's: the SDK's main
// thread fans out, the pump thread inserts, and fans out at the end of a resync.
#pragma once

#include <set>

#include "OrvSdkRpc/server/Mutex.h"
#include "OrvSdkRpc/server/RequestHandler.h"
#include "OrvSdkRpcProtos/orvsdk.pb.h"

namespace OrvSdkRpc {

class GrpcService;
class SbfdEchoUpdatesHandler;

class SbfdEchoUpdates {
public:
   using Message = pb::watch_sbfd_echo_session_status_msg;
   using Send = void (SbfdEchoUpdatesHandler::*)(Message&&);

   explicit SbfdEchoUpdates(const GrpcService& service) : service_(service) {}

   // A stream that is there already is a programming error and ends the process.
   void insert(OpaqueId tag) ZELT_EXCLUDES(mutex_);

   // Hands each stream a copy, the last one the message itself. The id of a stream that has ended leaves the
   // set here and nowhere else.
   void fanout(Send send, Message&& message) ZELT_EXCLUDES(mutex_);

   // Ids in the set, those of streams that have ended since the last fan-out among them.
   [[nodiscard]] std::size_t size() const ZELT_EXCLUDES(mutex_);

private:
   const GrpcService& service_;
   mutable Mutex mutex_;
   std::set<OpaqueId> tags_ ZELT_GUARDED_BY(mutex_);
};

}  // namespace OrvSdkRpc
