// Streams of tables that change all the time and of which only the latest values matter: counters, rates.
//
// Thread-safety: publish may be called by any thread; everything else runs on the pump thread.
//
// Each stream has a table by key in place of a queue: a new value merges into the waiting one. A slow client
// gets fewer, fresher values and is never cut off; memory is bounded by the number of keys. An alarm starts
// each batch, never the completed write itself, so that other calls get their turn and values merge
// meanwhile.
#pragma once

#include <google/protobuf/arena.h>
#include <google/protobuf/io/coded_stream.h>
#include <google/protobuf/message.h>

#include <cstddef>
#include <list>
#include <memory>
#include <span>
#include <type_traits>
#include <utility>
#include <vector>

#include "OrvSdkRpc/handlers/AlarmedStream.h"
#include "OrvSdkRpc/handlers/IndexedPendingTable.h"
#include "OrvSdkRpc/handlers/WatchDefinition.h"
#include "orv/lock.h"

namespace OrvSdkRpc {

// The part of a bulk stream that does not depend on message types.
class BulkStream : public AlarmedStream {
protected:
   BulkStream(OpaqueId tag, grpc::Server& server, grpc::ServerCompletionQueue& cq, GrpcService& service);

   void onTick(CqEventSource source) final ZELT_EXCLUDES(mutex_);
   void writeDone(CqEventSource source) final;

   [[nodiscard]] virtual bool tableEmpty() const ZELT_REQUIRES(mutex_) = 0;
   // Fills one batch from the table, writes it with writeResponse and removes its entries from the table.
   // RETURNS: the number of entries written.
   virtual std::size_t writeBatch() ZELT_REQUIRES(mutex_) = 0;
   // The next response of the snapshot, or null at its end. Valid until the next call.
   virtual const google::protobuf::Message* nextOfSnapshot() = 0;
   // Writes a response without entries.
   virtual void writeEmpty() ZELT_REQUIRES(mutex_) = 0;

   void writeResponse(const google::protobuf::Message& response) ZELT_REQUIRES(mutex_);
   [[nodiscard]] bool entriesTraced() const { return tracer().enabled(StreamTrace::event); }
   // Call only if entriesTraced(): formats the entry even if the trace is off.
   void traceEntry(const google::protobuf::Message& entry) const;
   // Called when an entry enters the empty table: sets the alarm unless an outstanding event will resume the
   // stream.
   void wake() ZELT_REQUIRES(mutex_);

   void beginSnapshot() ZELT_EXCLUDES(mutex_);
   // Writes one response of the snapshot or, at its end, an empty response.
   void dumpNext() ZELT_EXCLUDES(mutex_);

private:
   bool snapshot_ ZELT_GUARDED_BY(mutex_) = false;
};

// Bounds a batch by its size on the wire. For a response whose only field is the repeated field of entries,
// with a field number below 16.
class BatchBytes {
public:
   explicit BatchBytes(std::size_t limit) : limit_(limit) {}

   void clear() { size_ = 0; }
   [[nodiscard]] bool fits(const google::protobuf::Message& entry) const {
      return size_ + entry.ByteSizeLong() <= limit_;
   }
   // Adds the encoded size of an entry within the response.
   void add(const google::protobuf::Message& entry) {
      const std::size_t size = entry.ByteSizeLong();
      size_ += 1 + google::protobuf::io::CodedOutputStream::VarintSize64(size) + size;
   }

private:
   const std::size_t limit_;
   std::size_t size_ = 0;
};

// A response that reuses the entries of earlier batches, so that building a batch allocates nothing. Keeps
// the memory of its largest batch.
//
// Thread-safety: belongs to its stream.
template <class A>
class ReusedBatch {
   using Rp = typename MethodTraits<A::method>::Response;
   using Entry = typename A::Entry;

public:
   [[nodiscard]] const Rp& response() const { return response_; }
   [[nodiscard]] bool full() { return A::entries(response_).size() == A::batchMax; }
   // Adds an entry, which still has its content from an earlier batch.
   Entry& add() {
      auto& entries = A::entries(response_);
      const auto index = static_cast<std::size_t>(entries.size());
      if (index == made_.size()) made_.push_back(google::protobuf::Arena::CreateMessage<Entry>(&arena_));
      entries.UnsafeArenaAddAllocated(made_[index]);
      return *made_[index];
   }
   // Detaches the entries: clearing them would free their contents.
   void clear() {
      auto& entries = A::entries(response_);
      entries.UnsafeArenaExtractSubrange(0, entries.size(), nullptr);
   }

private:
   google::protobuf::Arena arena_;
   Rp& response_ = *google::protobuf::Arena::CreateMessage<Rp>(&arena_);
   std::vector<Entry*> made_;
};

// The hooks of the bulk stream `A`. An unknown name or a member of another signature does not compile. Every
// hook is optional.
template <class A, class Svc, class Rq, class Rp, class Key, class Value>
struct BulkHooks {
   // Whether the stream wants the key. Runs on the publishing thread, under the stream's mutex.
   bool (A::*wants)(const Key& key) = nullptr;
   // Merges a new value into the waiting value of its key; false removes the key from the table. The default
   // is MergeFrom: set fields overwrite, repeated fields are appended.
   bool (*coalesce)(Value& old, const Value& fresh) = nullptr;
   // Called before the first entry of a batch.
   void (A::*beginBatch)() = nullptr;
   // Whether an empty response is sent first.
   bool (*firstMessage)(const Rq& request) = nullptr;
   // Throws if the request is refused.
   void (*check)(const Rq& request) = nullptr;
   // Responses that are sent first, one per write, followed by an empty response; live entries wait
   // meanwhile. Runs under the SDK's lock. The stream subscribes before the lock is released.
   std::list<Rp> (*snapshot)(Svc& service) = nullptr;
   // As in WatchDefinition.h.
   void (A::*subscribe)(Svc& service, OpaqueId tag, const Rq& request) = nullptr;
};

// Base of the definition of a bulk stream. Either entries wait, or SDK values that are converted to entries
// when written, so that a replaced value is never converted.
//
// KeyT:   has std::hash and operator<.
// EntryT: a message.
// ValueT: the type that waits for each key.
template <auto requestMethod, auto serviceController, class KeyT, class EntryT, class ValueT = EntryT>
struct BulkStreamOf : RpcOf<requestMethod> {
   static constexpr auto controller = serviceController;
   using Service = typename detail::ServiceOf<decltype(serviceController)>::Type;
   using Key = KeyT;
   using Entry = EntryT;
   using Value = ValueT;

   template <class A>
   using Hooks = BulkHooks<A, Service, typename RpcOf<requestMethod>::Request,
                           typename RpcOf<requestMethod>::Response, Key, Value>;
};

// A is a structure; each stream holds one:
//
//    struct Rates : BulkStreamOf<&Generated::AsyncService::Requestrates, &Svc::subscriptions, orv::intf_id_t,
//                                RatesResponse_Entry, orv::intf_traffic_rates_t> {
//       // If entries wait.
//       // Moves the entry into the response; returns false if the batch is full.
//       bool append(Response& response, Entry& entry);
//
//       // If values wait.
//       // Overwrites an entry of an earlier batch: sets or clears every field.
//       static void convert(const Key& key, const Value& value, Entry& entry);
//       // The repeated field of the response, and the maximum number of entries per batch.
//       static google::protobuf::RepeatedPtrField<Entry>& entries(Response& response);
//       static constexpr int batchMax = 1000;
//
//       static constexpr Hooks<Rates> hooks = {.wants = &Rates::wants};
//    };
template <class A, class S>
class BulkStreamHandler final
     : public ServerStreamHandler<BulkStreamHandler<A, S>, typename MethodTraits<A::method>::Request,
                                  typename MethodTraits<A::method>::Response, S, BulkStream> {
   using Rq = typename MethodTraits<A::method>::Request;
   using Rp = typename MethodTraits<A::method>::Response;
   using Key = typename A::Key;
   using Entry = typename A::Entry;
   using Value = typename A::Value;
   using Pending = typename PendingTableFor<Key, Value>::Type;
   using Base = ServerStreamHandler<BulkStreamHandler, Rq, Rp, S, BulkStream>;
   static constexpr bool entriesWait = std::is_same_v<Value, Entry>;
   static_assert(detail::CheckedWatch<A>::value);
   static_assert(
        A::hooks.wants != nullptr || !requires { &A::wants; },
        "the definition has a member wants that its hooks do not name");
   static_assert(
        A::hooks.coalesce != nullptr || !requires { &A::coalesce; },
        "the definition has a member coalesce that its hooks do not name");
   static_assert(
        A::hooks.beginBatch != nullptr || !requires { &A::beginBatch; },
        "the definition has a member beginBatch that its hooks do not name");
   static_assert(
        A::hooks.firstMessage != nullptr || !requires { &A::firstMessage; },
        "the definition has a member firstMessage that its hooks do not name");
   static_assert(
        A::hooks.check != nullptr || !requires { &A::check; },
        "the definition has a member check that its hooks do not name");
   static_assert(
        A::hooks.snapshot != nullptr || !requires { &A::snapshot; },
        "the definition has a member snapshot that its hooks do not name");
   static constexpr bool hasSnapshot = A::hooks.snapshot != nullptr;

public:
   BulkStreamHandler(OpaqueId tag, grpc::Server& server, grpc::ServerCompletionQueue& cq, S& service)
        : Base(tag, server, cq, service) {
      this->post(service, A::method);
   }

   // Any thread.
   void publish(const Key& key, const Value& value) {
      MutexLock lock(this->mutex_);
      if (!this->closed()) add(key, value);
   }
   // The same for several values, in order.
   void publish(std::span<const std::pair<Key, Value>> values) {
      MutexLock lock(this->mutex_);
      if (this->closed()) return;
      for (const auto& [key, value] : values)
         add(key, value);
   }

private:
   void add(const Key& key, const Value& value) ZELT_REQUIRES(this->mutex_) {
      if constexpr (A::hooks.wants != nullptr) {
         if (!(def_.*A::hooks.wants)(key)) return;
      }
      if (this->entriesTraced()) traceValue(key, value);
      const auto [waiting, fresh] = pending_.emplace(key, value);
      if (fresh) {
         if (pending_.size() == 1) this->wake();
      } else if (!coalesce(waiting, value)) {
         pending_.erase(key);
      }
   }

   void start() override {
      this->rejectInsecureRemote();
      this->setupTags();
      const Rq& request = *this->request_;
      if constexpr (A::hooks.check != nullptr) A::hooks.check(request);
      if constexpr (A::hooks.firstMessage != nullptr) {
         if (A::hooks.firstMessage(request)) {
            MutexLock lock(this->mutex_);
            writeEmpty();
         }
      }
      if constexpr (hasSnapshot) {
         {
            // One span of the lock, so that no change falls between the snapshot and the live entries.
            orv::sdk_scoped_lock lock;
            responses_ = A::hooks.snapshot(this->service_);
            this->beginSnapshot();
            this->state_ = 1;
            this->join();
         }
         this->dumpNext();
      } else {
         this->state_ = 1;
         this->join();
      }
   }
   void subscribe() override { detail::subscribeBy(def_, this->service_, this->tag_, *this->request_); }
   void cancel() override {
      auto& controller = (this->service_.*A::controller)();
      controller.cancel(this->tag_);
   }

   [[nodiscard]] bool tableEmpty() const override ZELT_REQUIRES(this->mutex_) { return pending_.empty(); }
   std::size_t writeBatch() override ZELT_REQUIRES(this->mutex_) {
      if constexpr (A::hooks.beginBatch != nullptr) (def_.*A::hooks.beginBatch)();
      if constexpr (entriesWait) {
         Rp response;
         const std::size_t count =
              pending_.pass([&](const Key&, Entry& entry) { return def_.append(response, entry); });
         this->writeResponse(response);
         return count;
      } else {
         const std::size_t count = pending_.pass([&](const Key& key, const Value& value) {
            if (batch_.full()) return false;
            A::convert(key, value, batch_.add());
            return true;
         });
         this->writeResponse(batch_.response());
         batch_.clear();
         return count;
      }
   }
   const google::protobuf::Message* nextOfSnapshot() override {
      // Responses are taken as they were made, under the lock.
      orv::sdk_scoped_lock lock;
      if (responses_.empty()) {
         snapshotResponse_.Clear();
         return nullptr;
      }
      snapshotResponse_ = std::move(responses_.front());
      responses_.pop_front();
      return &snapshotResponse_;
   }
   void writeEmpty() override ZELT_REQUIRES(this->mutex_) { this->writeResponse(Rp()); }

   void traceValue(const Key& key, const Value& value) const {
      if constexpr (entriesWait) {
         this->traceEntry(value);
      } else {
         Entry entry;
         A::convert(key, value, entry);
         this->traceEntry(entry);
      }
   }
   static bool coalesce(Value& old, const Value& fresh) {
      if constexpr (A::hooks.coalesce != nullptr) {
         return A::hooks.coalesce(old, fresh);
      } else {
         old.MergeFrom(fresh);
         return true;
      }
   }
   void discard() override {
      Pending lost;
      MutexLock lock(this->mutex_);
      std::swap(lost, pending_);
      lock.unlock();
   }

   struct Nothing {};

   Pending pending_;
   A def_;
   [[no_unique_address]] std::conditional_t<entriesWait, Nothing, ReusedBatch<A>> batch_;
   // The rest of the snapshot, and the response that was taken last.
   std::list<Rp> responses_;
   Rp snapshotResponse_;
};

template <class Definition, class Svc>
void GrpcService::registerBulkStreamHandler(Svc& service) {
   registerNewHandler<BulkStreamHandler<Definition, Svc>>(service);
}

}  // namespace OrvSdkRpc
