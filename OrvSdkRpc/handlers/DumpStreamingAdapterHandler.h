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

// The type of the iterator over a dump's keys.
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

// Def is as in StreamingAdapterHandler.h, with these additional members:
//
//    struct Watch : WatchOf<...> {
//       // Reads the requested fields; true if there are any. Most definitions inherit it from DumpFields.
//       bool dumpEnabled(Svc& service, const Request& request);
//       // Iterates over the keys of the table; created and advanced under the SDK's lock. An exception
//       // becomes the status of the call.
//       static auto iterator(Svc& service);
//       // Writes the selected fields of one key into an empty `message`. Runs under the SDK's lock.
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

   // Called by DumpStreamingHandler.
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
