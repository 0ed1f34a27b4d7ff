// A service with one RPC per kind of stream, fed by the test.
//
// Thread-safety: the publishing operations may be called by any thread; the table is guarded by the SDK's
// lock.
#pragma once

#include <atomic>
#include <condition_variable>
#include <functional>
#include <list>
#include <map>
#include <mutex>
#include <optional>
#include <regex>
#include <string>
#include <thread>

#include "OrvSdkRpc/handlers/BulkStreams.h"
#include "OrvSdkRpc/handlers/DumpFields.h"
#include "OrvSdkRpc/handlers/DumpStreamingAdapterHandler.h"
#include "OrvSdkRpc/handlers/IteratorStreamingHandler.h"
#include "OrvSdkRpc/handlers/StreamingAdapterHandler.h"
#include "OrvSdkRpc/handlers/SubscriptionController.h"
#include "OrvSdkRpc/server/GrpcService.h"
#include "orv/iter.h"
#include "orv/lock.h"
#include "probe.grpc.pb.h"

namespace orvtest {

namespace probe = OrvSdkRpc::test;

inline constexpr int allFields = probe::WATCH_FIELD_ALL;

class StreamProbe;

struct Watch;
struct WatchTable;
struct Rates;
struct Counters;

// Counts starts and stops, and runs the test's hooks.
template <class Definition>
class ProbeController final : public OrvSdkRpc::SubscriptionController<StreamProbe, Definition> {
public:
   using OrvSdkRpc::SubscriptionController<StreamProbe, Definition>::SubscriptionController;

   std::atomic<int> started{0};
   std::atomic<int> stopped{0};
   // Started and not stopped since.
   std::atomic<bool> watching{false};
   std::function<void()> onStart;
   std::function<void()> onStop;

private:
   void startWatching() override {
      ++started;
      watching = true;
      if (onStart) onStart();
   }
   void stopWatching() override {
      ++stopped;
      watching = false;
      if (onStop) onStop();
   }
};

class StreamProbe final : public OrvSdkRpc::GrpcService, public probe::StreamProbeService::AsyncService {
public:
   using AsyncService = probe::StreamProbeService::AsyncService;

   StreamProbe();
   ~StreamProbe() override;

   void registerRpcService(grpc::ServerBuilder& builder) override;
   void startHandlers() override;

   // The controller of `watch`; it calls startWatching and stopWatching below.
   OrvSdkRpc::SubscriptionController<StreamProbe, Watch>& subscriptions() { return watch_; }
   ProbeController<WatchTable>& tableStreams() { return tables_; }
   ProbeController<Rates>& rateStreams() { return rates_; }
   ProbeController<Counters>& counterStreams() { return counters_; }
   void startWatching();
   void stopWatching();

   void publish(const std::string& key, std::uint64_t number, std::size_t payload = 0);
   void publishTable(const std::string& key, std::uint64_t number);
   void publishRate(const std::string& name, std::uint64_t packets);
   void publishCounter(const probe::CountersEntry& entry);

   // The dump's table: a number by key.
   std::map<std::string, std::uint64_t> table;
   // Payload bytes of each element of a dump; 0 for a short text. Guarded by the SDK's lock.
   std::size_t tablePayload = 0;
   // Called for each element of a dump, under the SDK's lock.
   std::function<void(const std::string& key)> onDumpElement;
   // The error that the creation of the dump's iterator throws; empty for none.
   std::string iteratorError;
   // The responses of the snapshot of `counters`.
   std::list<probe::CountersResponse> snapshot;

   // The queue limit of the streams of `watch_table`; to be set before the server starts.
   unsigned long tableLimit = OrvSdkRpc::streamQueueLimit;

   // Bytes of each row of a list.
   std::atomic<std::size_t> rowPayload{0};
   // Whether every step of a list iterator held the SDK's lock.
   std::atomic<bool> stepsLocked{true};
   std::atomic<int> iterators{0};

   std::atomic<int> started{0};
   std::atomic<int> stopped{0};
   std::atomic<bool> watching{false};

   // What the RPC `hold` runs on the pump thread. May be called by any thread.
   void onHoldIs(std::function<void()> onHold) {
      std::lock_guard lock(holdMutex_);
      onHold_ = std::move(onHold);
   }
   [[nodiscard]] std::function<void()> onHold() const {
      std::lock_guard lock(holdMutex_);
      return onHold_;
   }

private:
   OrvSdkRpc::SubscriptionController<StreamProbe, Watch> watch_;
   ProbeController<WatchTable> tables_;
   ProbeController<Rates> rates_;
   ProbeController<Counters> counters_;
   mutable std::mutex holdMutex_;
   std::function<void()> onHold_;
};

// Keeps the pump of a server busy, from construction until release.
class PumpHold {
public:
   PumpHold(StreamProbe& service, probe::StreamProbeService::Stub& stub);
   ~PumpHold();
   void release();

private:
   std::mutex mutex_;
   std::condition_variable changed_;
   bool inside_ = false;
   bool released_ = false;
   std::thread client_;
};

class HoldHandler final : public OrvSdkRpc::GenericRequestHandler<HoldHandler, probe::ProbeRequest,
                                                                  probe::ProbeResponse, StreamProbe, false> {
public:
   HoldHandler(OrvSdkRpc::OpaqueId tag, grpc::Server& server, grpc::ServerCompletionQueue& cq,
               StreamProbe& service);
   void process(OrvSdkRpc::OpaqueId tag) override;
};

// Throws the error that `error` names.
void throwNamed(const std::string& error);

// One element of a list.
struct Number {
   std::uint32_t number = 0;
   std::size_t payload = 0;
};

// Rows 0 to count - 1, returned by reference as by the SDK's iterators.
class Numbers final : public orv::iter_impl<Number> {
public:
   Numbers(std::uint32_t count, StreamProbe& service);
   bool next(Number& row) override;
   [[nodiscard]] std::unique_ptr<orv::iter_impl<Number>> clone() const override;

private:
   std::uint32_t count_;
   std::uint32_t next_ = 0;
   StreamProbe* service_;
};

struct Rows {
   static constexpr auto method = &StreamProbe::AsyncService::Requestrows;
   static orv::iter_base<Number, Numbers> iterator(const probe::RowsRequest& request, StreamProbe& service);
   static probe::Row convert(const Number& number);
};

// Three rows whose iterator returns them by value and requires the SDK's lock.
struct Values {
   class Iterator {
   public:
      explicit operator bool() const { return number_ < 3; }
      Iterator& operator++();
      probe::Row operator*() const;

   private:
      std::uint32_t number_ = 0;
   };
   static constexpr auto method = &StreamProbe::AsyncService::Requestvalues;
   static Iterator iterator(StreamProbe&) { return {}; }
   static probe::Row convert(const probe::Row& row) { return row; }
};

struct Watch : OrvSdkRpc::WatchOf<&StreamProbe::AsyncService::Requestwatch, &StreamProbe::subscriptions> {
   bool filter(const Request& request, const Response& message) const;

   static constexpr Hooks<Watch> hooks = {.filter = &Watch::filter};
};

inline constexpr OrvSdkRpc::DumpTraces tableTraces = {
     .level = 9,
     .nothing = "No fields of the table",
     .unknown = "No field {} of the table",
};

struct WatchTable
     : OrvSdkRpc::WatchOf<&StreamProbe::AsyncService::Requestwatch_table, &StreamProbe::tableStreams>,
       OrvSdkRpc::DumpFields<tableTraces, probe::WATCH_FIELD_NUMBER, probe::WATCH_FIELD_PAYLOAD> {
   class Keys {
   public:
      explicit Keys(StreamProbe& service);
      explicit operator bool() const { return key_.has_value(); }
      Keys& operator++();
      const std::string& operator*() const { return *key_; }

   private:
      StreamProbe* service_;
      std::optional<std::string> key_;
   };
   void subscribe(StreamProbe& service, OrvSdkRpc::OpaqueId tag, const Request& request);
   bool filter(const Request& request, const Response& message) const;
   static Keys iterator(StreamProbe& service);
   void encodeDump(StreamProbe& service, const std::string& key, Response& message) const;

   static constexpr Hooks<WatchTable> hooks = {
        .filter = &WatchTable::filter,
        .subscribe = &WatchTable::subscribe,
   };
};

// Batches of 1000 entries, a name filter, values that merge.
struct Rates : OrvSdkRpc::BulkStreamOf<&StreamProbe::AsyncService::Requestrates, &StreamProbe::rateStreams,
                                       std::string, probe::RatesEntry> {
   void subscribe(StreamProbe& service, OrvSdkRpc::OpaqueId tag, const probe::RatesRequest& request);
   bool wants(const Key& key);
   static bool firstMessage(const probe::RatesRequest& request) { return request.first_message(); }
   static bool append(probe::RatesResponse& response, Entry& entry);

   std::optional<std::regex> names;

   static constexpr Hooks<Rates> hooks = {
        .wants = &Rates::wants,
        .firstMessage = &Rates::firstMessage,
        .subscribe = &Rates::subscribe,
   };
};

// Batches of 65535 bytes, a snapshot first, a value that replaces the one before or takes it out of the
// table. What a service does with its own records in these places is that service's test.
struct Counters : OrvSdkRpc::BulkStreamOf<&StreamProbe::AsyncService::Requestcounters,
                                          &StreamProbe::counterStreams, std::uint64_t, probe::CountersEntry> {
   static constexpr std::size_t limit = 65535;
   static void check(const probe::CountersRequest& request);
   static std::list<probe::CountersResponse> snapshot(StreamProbe& service);
   static bool coalesce(Entry& old, const Entry& fresh);
   void beginBatch();
   bool append(probe::CountersResponse& response, Entry& entry);

   // Of this stream, the one that is being made included.
   std::uint64_t batches = 0;
   OrvSdkRpc::BatchBytes bytes{limit};

   static constexpr Hooks<Counters> hooks = {
        .coalesce = &Counters::coalesce,
        .beginBatch = &Counters::beginBatch,
        .check = &Counters::check,
        .snapshot = &Counters::snapshot,
   };
};

}  // namespace orvtest
