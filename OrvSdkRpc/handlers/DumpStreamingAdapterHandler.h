// A watch RPC with a dump, from a definition.
//
// Thread-safety: as DumpStreamingHandler.h.
#pragma once

#include <utility>

#include "OrvSdkRpc/handlers/DumpStreamingHandler.h"
#include "OrvSdkRpc/handlers/StreamingAdapterHandler.h"

namespace OrvSdkRpc {

// Def is what StreamingAdapterHandler.h says, with these beside:
//
//    struct Watch {
//       // Reads which fields the request asks for into flags of the definition; true when there are any.
//       bool dumpEnabled(Svc& service, const Rq& request);
//       // Walks the keys of the table; made and stepped under the SDK's lock. What it throws becomes the
//       // status of the call.
//       static auto iterator(Svc& service);
//       // Writes the message of one key into an empty `message`, the selected fields only. Under the SDK's
//       // lock.
//       void encodeDump(Svc& service, const Key& key, Rp& message) const;
//       // May be left out: called after the last element.
//       void endOfDump(Svc& service);
//    };
template <class Def, class Rq, class Rp, class Svc>
class DumpStreamingAdapterHandler final
     : public detail::AdaptedStream<
            Def, Rp,
            DumpStreamingHandler<DumpStreamingAdapterHandler<Def, Rq, Rp, Svc>, Rq, Rp, Svc,
                                 decltype(Def::iterator(std::declval<Svc&>()))>> {
   using Base = detail::AdaptedStream<Def, Rp,
                                      DumpStreamingHandler<DumpStreamingAdapterHandler, Rq, Rp, Svc,
                                                           decltype(Def::iterator(std::declval<Svc&>()))>>;

public:
   DumpStreamingAdapterHandler(OpaqueId tag, grpc::Server& server, grpc::ServerCompletionQueue& cq,
                               Svc& service, unsigned long queueLimit)
        : Base(tag, server, cq, service, queueLimit) {
      this->post(service, Def::method);
   }

   // For the dump.
   auto iterator() { return Def::iterator(this->service_); }
   template <class Key>
   void encodeDump(const Key& key, Rp& message) {
      this->def_.encodeDump(this->service_, key, message);
   }

private:
   [[nodiscard]] bool dumpEnabled() override {
      return this->def_.dumpEnabled(this->service_, *this->request_);
   }
   void endOfDump() override {
      if constexpr (requires { &Def::endOfDump; }) this->def_.endOfDump(this->service_);
   }
};

}  // namespace OrvSdkRpc
