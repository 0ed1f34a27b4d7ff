// The handlers of the floor's completion queue, and the loop that drains the queue.
//
// Thread-safety: one thread calls FloorPump::run, another calls stop; handlers run on the pump's thread only.
#pragma once

#include <grpcpp/alarm.h>
#include <grpcpp/grpcpp.h>

#include <chrono>

namespace bench {

class FloorHandler {
public:
   virtual ~FloorHandler() = default;
   // Without `ok`, the handler must not start an operation. It deletes itself after its last event.
   virtual void proceed(bool ok) = 0;
};

class FloorPump {
public:
   explicit FloorPump(grpc::ServerCompletionQueue& queue) : queue_(queue) {}

   // Runs until stop().
   void run() {
      void* tag = nullptr;
      bool ok = false;
      bool stopping = false;
      while (queue_.Next(&tag, &ok)) {
         if (tag == this) {
            // Here and not in stop(), so that no handler starts an operation on a queue that is shut down.
            stopping = true;
            queue_.Shutdown();
         } else {
            static_cast<FloorHandler*>(tag)->proceed(ok && !stopping);
         }
      }
   }
   // Ends all calls, and then run().
   void stop(grpc::Server& server) {
      const auto now = std::chrono::system_clock::now();
      server.Shutdown(now);
      end_.Set(&queue_, now, this);
   }

private:
   grpc::ServerCompletionQueue& queue_;
   grpc::Alarm end_;
};

}  // namespace bench
