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
   // Delivers one stream late, so that the last one gets the message itself and not a copy.
   std::shared_ptr<RequestHandler> last;
   const auto deliver = [&](Message&& own) {
      (static_cast<SbfdEchoUpdatesHandler&>(*last).*send)(std::move(own));
   };
   for (auto tag = tags_.begin(); tag != tags_.end();) {
      std::shared_ptr<RequestHandler> handler = service_.findHandler(*tag);
      if (!handler) {
         tag = tags_.erase(tag);
         continue;
      }
      if (last) deliver(Message(message));
      last = std::move(handler);
      ++tag;
   }
   if (last) deliver(std::move(message));
}

std::size_t SbfdEchoUpdates::size() const {
   MutexLock lock(mutex_);
   return tags_.size();
}

}  // namespace OrvSdkRpc
