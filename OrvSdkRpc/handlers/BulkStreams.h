// Streams of tables whose entries change all the time and of which only the latest value matters: counters,
// rates.
//
// Thread-safety: publish may be called by any thread; everything else runs on the pump thread.
//
// In place of a queue there is a table by key per stream: a new value merges into the one that waits. A slow
// client gets fewer, fresher values; the stream never ends for it, and memory is bounded by the number of
// keys. Each batch begins from an alarm, never straight from the write that completed, so that other calls
// get their turn and values merge meanwhile.
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

// The stream without its types.
class BulkStream : public AlarmedStream {
protected:
   BulkStream(OpaqueId tag, grpc::Server& server, grpc::ServerCompletionQueue& cq, GrpcService& service);

   void onTick(CqEventSource source) final ZELT_EXCLUDES(mutex_);
   void writeDone(CqEventSource source) final;

   // The table.
   [[nodiscard]] virtual bool tableEmpty() const ZELT_REQUIRES(mutex_) = 0;
   // Fills one batch from the table, writes it with writeResponse and takes what it holds out of the table;
   // how many entries that are.
   virtual std::size_t writeBatch() ZELT_REQUIRES(mutex_) = 0;
   // The next whole response of the snapshot, or null at its end. Valid until the next call.
   virtual const google::protobuf::Message* nextOfSnapshot() = 0;
   // Writes a response without entries.
   virtual void writeEmpty() ZELT_REQUIRES(mutex_) = 0;

   void writeResponse(const google::protobuf::Message& response) ZELT_REQUIRES(mutex_);
   [[nodiscard]] bool entriesTraced() const { return tracer().enabled(StreamTrace::event); }
   // For when they are.
   void traceEntry(const google::protobuf::Message& entry) const;
   // An entry came into an empty table: sets the alarm if nothing else will bring the stream its turn.
   void wake() ZELT_REQUIRES(mutex_);

   void beginSnapshot() ZELT_EXCLUDES(mutex_);
   // Writes one response of the snapshot, or the end mark, an empty response.
   void dumpNext() ZELT_EXCLUDES(mutex_);

private:
   bool snapshot_ ZELT_GUARDED_BY(mutex_) = false;
};

// Bounds a batch by its size on the wire, for a response that is nothing but a repeated field of entries with
// a number below 16.
class BatchBytes {
public:
   explicit BatchBytes(std::size_t limit) : limit_(limit) {}

   void clear() { size_ = 0; }
   [[nodiscard]] bool fits(const google::protobuf::Message& entry) const {
      return size_ + entry.ByteSizeLong() <= limit_;
   }
   // Counts an entry as it stands in the response.
   void add(const google::protobuf::Message& entry) {
      const std::size_t size = entry.ByteSizeLong();
      size_ += 1 + google::protobuf::io::CodedOutputStream::VarintSize64(size) + size;
   }

private:
   const std::size_t limit_;
   std::size_t size_ = 0;
};

// A response whose entries are those of the batches before it, written over: batch after batch is made
// without an allocation. Keeps the memory of its largest batch.
//
// Thread-safety: belongs to its stream.
template <class A>
class ReusedBatch {
   using Rp = typename MethodTraits<A::method>::Response;
   using Entry = typename A::Entry;

public:
   [[nodiscard]] const Rp& response() const { return response_; }
   [[nodiscard]] bool full() { return A::entries(response_).size() == A::batchMax; }
   // One more entry, which still holds what it held in an earlier batch.
   Entry& add() {
      auto& entries = A::entries(response_);
      const auto index = static_cast<std::size_t>(entries.size());
      if (index == made_.size()) made_.push_back(google::protobuf::Arena::CreateMessage<Entry>(&arena_));
      entries.UnsafeArenaAddAllocated(made_[index]);
      return *made_[index];
   }
   // Clearing the entries themselves would free what they hold.
   void clear() {
      auto& entries = A::entries(response_);
      entries.UnsafeArenaExtractSubrange(0, entries.size(), nullptr);
   }

private:
   google::protobuf::Arena arena_;
   Rp& response_ = *google::protobuf::Arena::CreateMessage<Rp>(&arena_);
   std::vector<Entry*> made_;
};

// The hooks of the bulk stream `A`, a closed set: a name that is not here does not compile, nor does a member
// of another signature. All of them may be left out.
template <class A, class Svc, class Rq, class Rp, class Key, class Value>
struct BulkHooks {
   // Which keys the stream wants. Runs on the publishing thread, under the stream's mutex.
   bool (A::*wants)(const Key& key) = nullptr;
   // A new value for a key that waits; false takes the key out of the table. Without it, MergeFrom: set
   // fields overwrite, repeated ones are added.
   bool (*coalesce)(Value& old, const Value& fresh) = nullptr;
   // Before the first entry of a batch.
   void (A::*beginBatch)() = nullptr;
   // Whether one empty response goes out before anything else.
   bool (*firstMessage)(const Rq& request) = nullptr;
   // Throws for a request that is not served.
   void (*check)(const Rq& request) = nullptr;
   // Whole responses that go out first, one for each write, and are followed by one empty response; live
   // entries wait meanwhile. Made under the SDK's lock.
   std::list<Rp> (*snapshot)(Svc& service) = nullptr;
   // As in WatchDefinition.h.
   void (A::*subscribe)(Svc& service, OpaqueId tag, const Rq& request) = nullptr;
};

// The base of the definition of a bulk stream. Entries wait, or values of the SDK that become entries when
// they are written: what a newer value replaces is never converted.
//
// KeyT:   std::hash and <.
// EntryT: a message.
// ValueT: what waits for a key.
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
//       // Where entries wait.
//       // Moves the entry into the response, or answers false: the batch is full.
//       bool append(Response& response, Entry& entry);
//
//       // Where values wait.
//       // Writes over an entry of an earlier batch: sets or clears every field.
//       static void convert(const Key& key, const Value& value, Entry& entry);
//       // The repeated field of the response, and how many entries one batch has at most.
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
   // The same for one value after the other.
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
            orv::sdk_scoped_lock lock;
            responses_ = A::hooks.snapshot(this->service_);
         }
         this->beginSnapshot();
      }
      this->state_ = 1;
      if constexpr (hasSnapshot) this->dumpNext();
      this->join();
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
      // Each is taken as it was made, under the lock.
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
   // The snapshot, and the response that was taken from it last.
   std::list<Rp> responses_;
   Rp snapshotResponse_;
};

template <class Definition, class Svc>
void GrpcService::registerBulkStreamHandler(Svc& service) {
   registerNewHandler<BulkStreamHandler<Definition, Svc>>(service);
}

}  // namespace OrvSdkRpc
