// A list RPC: one response per element of an SDK iterator, then the status.
//
// Thread-safety: pump thread only.
//
// Completed writes drive the iteration: one write is in flight, and its completion advances the iterator. So
// a slow client slows only its own list and costs no memory. The SDK's lock is held only to advance the
// iterator, never while a response is built or written. A long search between two elements runs in parts,
// with other calls served in between. If the client leaves or the server stops, the list ends at its next
// step.
#pragma once

#include <grpcpp/alarm.h>

#include <grpcpp/support/async_stream.h>

#include <optional>
#include <type_traits>
#include <utility>

#include "OrvSdkRpc/handlers/ServerStream.h"

namespace OrvSdkRpc {

// The part of a list that does not depend on message types.
class ListStream : public ServerStream {
public:
   void process(OpaqueId tag) final;
   // The client has left, or the call has ended.
   void callDone() final { over_ = true; }

protected:
   ListStream(OpaqueId tag, grpc::Server& server, grpc::ServerCompletionQueue& cq, GrpcService& service);

   // Create and advance the iterator, under the SDK's lock. Both read the current element, so that
   // writeElement touches nothing shared.
   virtual void begin() = 0;
   virtual void step() = 0;
   [[nodiscard]] virtual bool atElement() const = 0;
   // Whether the search for the next element is unfinished. search() continues it, under the SDK's lock.
   [[nodiscard]] virtual bool searching() const { return false; }
   virtual void search() {}
   // Builds the response and passes it to writeResponse.
   virtual void writeElement(bool first) = 0;

   void writeResponse(const google::protobuf::Message& response, bool first);

private:
   void end(const grpc::Status& status);
   // Schedules the next process() after other calls have had their turn.
   void searchLater();

   // Only a list that searches has one.
   std::optional<grpc::Alarm> searchAlarm_;
   bool written_ = false;
   bool over_ = false;
   // Hint that more writes follow. The first response goes without it, so that gRPC sends it at once.
   grpc::WriteOptions writeOptions_;
};

// Def is a stateless structure:
//
//    struct Acls : RpcOf<&Generated::AsyncService::Requestacls> {
//       // One of the two; an exception becomes the status of the call.
//       static auto iterator(Svc& service);
//       static auto iterator(const Request& request, Svc& service);
//       // One of the two, called without the SDK's lock. The second overwrites the response of the
//       // previous element: it sets or clears every field.
//       static Response convert(const Element& element);
//       static void convert(const Element& element, Response& response);
//    };
//
// The iterator is an orv::..._iter_t or any class with the operators bool, ++ and *. ++ and the first * of an
// element run under the SDK's lock; bool, and a * that returns a reference, may also run without it. A
// reference from * stays valid until the next step; a value is stored. An iterator that may search for long
// also has searching() and search(); see ListStream.
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
