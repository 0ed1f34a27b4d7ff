// The open streams of echo session updates.
//
// Thread-safety: any thread. The SDK's main thread fans out; the pump thread inserts, and fans out at the end
// of a resync. The mutex here is locked before a stream's mutexes and before that of the tag registry.
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

   // REQUIRES: the stream is not in the set; otherwise the process ends.
   void insert(OpaqueId tag) ZELT_EXCLUDES(mutex_);

   // Gives each stream a copy, and the last one the message itself. Only this removes the ids of streams that
   // have ended.
   void fanout(Send send, Message&& message) ZELT_EXCLUDES(mutex_);

   // The number of ids in the set, including those of streams that have ended since the last fan-out.
   [[nodiscard]] std::size_t size() const ZELT_EXCLUDES(mutex_);

private:
   const GrpcService& service_;
   mutable Mutex mutex_;
   std::set<OpaqueId> tags_ ZELT_GUARDED_BY(mutex_);
};

}  // namespace OrvSdkRpc
