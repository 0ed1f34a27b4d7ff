// What all calls with a stream of responses have in common.
//
// Thread-safety: pump thread only, unless a derived class states otherwise.
//
// Streams consist of two layers. What does not depend on message types is in these classes without type
// parameters; the indentation shows inheritance:
//
//    ServerStream               peer check, the end of the call
//      ListStream               the iteration of a list      (IteratorStreamingHandler.h)
//      AlarmedStream            tags, alarm, cancelling      (AlarmedStream.h)
//        EventStream            a queue of shared messages   (StreamingToolkit.h)
//          DumpStream           a table first, then events   (DumpStreamingHandler.h)
//        BulkStream             the latest value per key     (BulkStreams.h)
//
// ServerStreamHandler adds gRPC's typed parts to one of them; a thin template on top adds what the RPC's
// definition specifies.
#pragma once

#include <google/protobuf/message.h>
#include <grpcpp/support/async_stream.h>
#include <grpcpp/support/status.h>

#include <memory>
#include <string>

#include "OrvSdkRpc/handlers/GenericRequestHandler.h"
#include "OrvSdkRpc/server/GrpcService.h"
#include "OrvSdkRpc/server/RequestHandler.h"

namespace OrvSdkRpc {

// Trace levels of the streams.
struct StreamTrace {
   // A client is cut off.
   static constexpr int closing = 3;
   static constexpr int write = 8;
   static constexpr int event = 9;
};

class ServerStream : public RequestHandler {
protected:
   ServerStream(OpaqueId tag, grpc::Server& server, grpc::ServerCompletionQueue& cq, GrpcService& service)
        : RequestHandler(tag, server, cq, service.events()), owner_(service) {}

   // THROWS: unauthenticated_error; see PeerCheck.h.
   void rejectInsecureRemote() const;

   // Provided by the typed layer. cancelled() may be called only after the done event.
   [[nodiscard]] virtual std::string peer() const = 0;
   [[nodiscard]] virtual bool cancelled() const = 0;
   [[nodiscard]] virtual std::shared_ptr<RequestHandler> self() = 0;
   // Starts a write under `tag` and counts its event. Serialises the message before it returns. `options` may
   // be null. Only one write at a time.
   virtual void write(const google::protobuf::Message& message, OpaqueId tag,
                      const grpc::WriteOptions* options) = 0;
   // Ends the call under the main tag and counts its event. Nothing may be written afterwards.
   virtual void finishStream(const grpc::Status& status) = 0;

   [[nodiscard]] const orv::tracer& tracer() const { return owner_.tracer(); }

   // The service, as the type-independent layer sees it.
   GrpcService& owner_;
};

// A message on one line, for traces.
std::string traceText(const google::protobuf::Message& message);

// gRPC's typed parts on top of `Base`, a class of the list above.
template <class Hc, class Rq, class Rp, class Svr, class Base>
class ServerStreamHandler : public GenericRequestHandler<Hc, Rq, Rp, Svr, true, MemberMessages, Base> {
   using Generic = GenericRequestHandler<Hc, Rq, Rp, Svr, true, MemberMessages, Base>;

protected:
   using Generic::Generic;

   [[nodiscard]] std::string peer() const final { return this->ctx_.peer(); }
   [[nodiscard]] bool cancelled() const final { return this->ctx_.IsCancelled(); }
   [[nodiscard]] std::shared_ptr<RequestHandler> self() final { return this->shared_from_this(); }
   void write(const google::protobuf::Message& message, OpaqueId tag,
              const grpc::WriteOptions* options) final {
      this->beginEvent();
      if (options) {
         this->responder_.Write(static_cast<const Rp&>(message), *options, tag);
      } else {
         this->responder_.Write(static_cast<const Rp&>(message), tag);
      }
   }
   void finishStream(const grpc::Status& status) final { this->finish(status); }
};

}  // namespace OrvSdkRpc
