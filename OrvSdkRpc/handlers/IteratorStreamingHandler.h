// A list RPC: one response per element of an SDK iterator, then the status.
//
// Thread-safety: pump thread only.
//
// Write completions drive the walk: one write is in flight, and the iterator is advanced when it completes.
// So a slow client slows its own walk and costs no memory. The SDK's lock is held for the step alone, never
// while a response is built or written. A walk that searches for long between two elements does so in parts
// and leaves the pump to others in between. A client that has left, or a server that stops, ends the walk at
// its next step.
#pragma once

#include <grpcpp/alarm.h>

#include <grpcpp/support/async_stream.h>

#include <optional>
#include <type_traits>
#include <utility>

#include "OrvSdkRpc/handlers/ServerStream.h"

namespace OrvSdkRpc {

// The walk without its types.
class ListStream : public ServerStream {
public:
   void process(OpaqueId tag) final;
   // The client has left, or the call is over.
   void callDone() final { over_ = true; }

protected:
   ListStream(OpaqueId tag, grpc::Server& server, grpc::ServerCompletionQueue& cq, GrpcService& service);

   // Under the SDK's lock: makes the iterator, steps it. Both read the element that it then stands on, so
   // that writeElement touches nothing shared.
   virtual void begin() = 0;
   virtual void step() = 0;
   [[nodiscard]] virtual bool atElement() const = 0;
   // Whether the next element is still being looked for. search() goes on, as step() does.
   [[nodiscard]] virtual bool searching() const { return false; }
   virtual void search() {}
   // Builds the response and hands it to writeResponse.
   virtual void writeElement(bool first) = 0;

   void writeResponse(const google::protobuf::Message& response, bool first);

private:
   void end(const grpc::Status& status);
   // Comes back to process() when others have had their turn.
   void searchLater();

   // Only a walk that searches has one.
   std::optional<grpc::Alarm> searchAlarm_;
   bool written_ = false;
   bool over_ = false;
   // A hint that more follows. The first response goes without it, so that it is pushed out at once.
   grpc::WriteOptions writeOptions_;
};

// Def is a structure without state:
//
//    struct Acls : RpcOf<&Generated::AsyncService::Requestacls> {
//       // Either of the two; what it throws becomes the status of the call.
//       static auto iterator(Svc& service);
//       static auto iterator(const Request& request, Svc& service);
//       // Either of the two, without the SDK's lock. The second writes over the response of the element
//       // before, and sets or clears every field of it.
//       static Response convert(const Element& element);
//       static void convert(const Element& element, Response& response);
//    };
//
// The iterator is an orv::..._iter_t or any class with the operators bool, ++ and *. ++ and the first * of an
// element run under the SDK's lock; bool, and a * that answers by reference, also without it. What * answers
// by reference stays valid until the next step, what it answers by value is kept. One that may search for
// long has searching() and search() too (ListStream).
template <class Def, class Rq, class Rp, class Svc>
class IteratorStreamingHandler final
     : public ServerStreamHandler<IteratorStreamingHandler<Def, Rq, Rp, Svc>, Rq, Rp, Svc, ListStream> {
   using Base = ServerStreamHandler<IteratorStreamingHandler, Rq, Rp, Svc, ListStream>;

   static auto open(Rq& request, Svc& service) {
      if constexpr (requires { Def::iterator(request, service); }) {
         return Def::iterator(request, service);
      } else {
         static_assert(
              requires { Def::iterator(service); },
              "a list has static auto iterator(Svc& service) or iterator(const Request&, Svc&)");
         return Def::iterator(service);
      }
   }

public:
   IteratorStreamingHandler(OpaqueId tag, grpc::Server& server, grpc::ServerCompletionQueue& cq, Svc& service)
        : Base(tag, server, cq, service) {
      this->post(service, Def::method);
   }

private:
   using Iterator = decltype(open(std::declval<Rq&>(), std::declval<Svc&>()));
   using Element = decltype(*std::declval<Iterator&>());
   static constexpr bool byReference = std::is_reference_v<Element>;
   static constexpr bool searches = requires(Iterator & iterator) {
      iterator.searching();
      iterator.search();
   };
   static constexpr bool reusesResponse = requires(const std::decay_t<Element>& element, Rp& response) {
      Def::convert(element, response);
   };

   void begin() override {
      iterator_.emplace(open(*this->request_, this->service_));
      read();
   }
   void step() override {
      ++*iterator_;
      read();
   }
   [[nodiscard]] bool atElement() const override { return static_cast<bool>(*iterator_); }
   [[nodiscard]] bool searching() const override {
      if constexpr (searches) {
         return iterator_->searching();
      } else {
         return false;
      }
   }
   void search() override {
      if constexpr (searches) {
         iterator_->search();
         read();
      }
   }
   void writeElement(bool first) override {
      if constexpr (reusesResponse) {
         Def::convert(element(), response_);
         this->writeResponse(response_, first);
      } else {
         this->writeResponse(Def::convert(element()), first);
      }
   }

   [[nodiscard]] const std::decay_t<Element>& element() {
      if constexpr (byReference) {
         return **iterator_;
      } else {
         return *element_;
      }
   }

   void read() {
      if (!*iterator_) return;
      if constexpr (byReference) {
         static_cast<void>(**iterator_);
      } else {
         element_.emplace(**iterator_);
      }
   }

   struct Nothing {};

   std::optional<Iterator> iterator_;
   [[no_unique_address]] std::conditional_t<byReference, Nothing, std::optional<std::decay_t<Element>>>
        element_;
   [[no_unique_address]] std::conditional_t<reusesResponse, Rp, Nothing> response_;
};

}  // namespace OrvSdkRpc
