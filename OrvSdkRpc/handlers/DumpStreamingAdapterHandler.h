// A watch RPC with a dump, from a definition.
//
// Thread-safety: as DumpStreamingHandler.h.
#pragma once

#include <concepts>
#include <utility>

#include "OrvSdkRpc/handlers/DumpStreamingHandler.h"
#include "OrvSdkRpc/handlers/StreamingAdapterHandler.h"

namespace OrvSdkRpc {

namespace detail {

// The iterator of a dump's keys.
template <class Def, class Svc>
struct DumpIterator {
   static_assert(
        requires(Svc & service) { Def::iterator(service); },
        "a watch with a dump has static auto iterator(Svc& service)");
   using Type = decltype(Def::iterator(std::declval<Svc&>()));
};

template <class Def, class Svc, class Rq>
concept DumpSelects = requires(Def& def, Svc& service, const Rq& request) {
   { def.dumpEnabled(service, request) } -> std::same_as<bool>;
};

template <class Def, class Svc, class Rp>
concept DumpEncodes = requires(const Def& def, Svc& service, typename DumpIterator<Def, Svc>::Type& at,
                               Rp& message) {
   def.encodeDump(service, *at, message);
};

}  // namespace detail

// Def is what StreamingAdapterHandler.h says, with these beside:
//
//    struct Watch : WatchOf<...> {
//       // Reads which fields the request asks for; true when there are any. Most take it from DumpFields.h.
//       bool dumpEnabled(Svc& service, const Request& request);
//       // Walks the keys of the table; made and stepped under the SDK's lock. What it throws becomes the
//       // status of the call.
//       static auto iterator(Svc& service);
//       // Writes the message of one key into an empty `message`, the selected fields only. Under the SDK's
//       // lock.
//       void encodeDump(Svc& service, const Key& key, Response& message) const;
//    };
template <class Def, class Rq, class Rp, class Svc>
class DumpStreamingAdapterHandler final
     : public detail::AdaptedStream<
            Def, Rp,
            DumpStreamingHandler<DumpStreamingAdapterHandler<Def, Rq, Rp, Svc>, Rq, Rp, Svc,
                                 typename detail::DumpIterator<Def, Svc>::Type>> {
   using Base = detail::AdaptedStream<Def, Rp,
                                      DumpStreamingHandler<DumpStreamingAdapterHandler, Rq, Rp, Svc,
                                                           typename detail::DumpIterator<Def, Svc>::Type>>;
   static_assert(detail::DumpSelects<Def, Svc, Rq>,
                 "a watch with a dump has bool dumpEnabled(Svc& service, const Request& request)");
   static_assert(
        detail::DumpEncodes<Def, Svc, Rp>,
        "a watch with a dump has void encodeDump(Svc& service, const Key& key, Response& message) const");

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
      if constexpr (Def::hooks.endOfDump != nullptr) (this->def_.*Def::hooks.endOfDump)(this->service_);
   }
};

}  // namespace OrvSdkRpc
