#include "OrvSdkRpc/programming/SbfdEchoUpdates.h"

#include <memory>
#include <utility>

#include "OrvSdkRpc/programming/SbfdEchoUpdatesHandler.h"
#include "OrvSdkRpc/server/Assert.h"
#include "OrvSdkRpc/server/GrpcService.h"

namespace OrvSdkRpc {

void SbfdEchoUpdates::insert(OpaqueId tag) {
   MutexLock lock(mutex_);
   const bool inserted = tags_.insert(tag).second;
   assertThat(inserted, "inserted");
}

void SbfdEchoUpdates::fanout(Send send, Message&& message) {
   MutexLock lock(mutex_);
   for (auto tag = tags_.begin(); tag != tags_.end();) {
      const std::shared_ptr<RequestHandler> handler = service_.findHandler(*tag);
      if (!handler) {
         tag = tags_.erase(tag);
         continue;
      }
      auto& stream = static_cast<SbfdEchoUpdatesHandler&>(*handler);
      if (++tag == tags_.end()) {
         (stream.*send)(std::move(message));
      } else {
         (stream.*send)(Message(message));
      }
   }
}

std::size_t SbfdEchoUpdates::size() const {
   MutexLock lock(mutex_);
   return tags_.size();
}

}  // namespace OrvSdkRpc
