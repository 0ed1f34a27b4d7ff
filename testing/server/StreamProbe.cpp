#include "testing/server/StreamProbe.h"

#include <stdexcept>
#include <utility>

#include "OrvSdkRpc/handlers/Errors.h"
#include "orv/error.h"

namespace orvtest {

void throwNamed(const std::string& error) {
   if (error == "range") throw orv::invalid_range_error("out of range");
   if (error == "argument") throw orv::invalid_argument_error("bad argument");
   if (error == "configuration") throw orv::configuration_error("Events are disabled. Watch failed.");
   if (error == "unsupported") throw orv::unsupported_error("not done");
   if (error == "error") throw orv::error("some error");
   if (error == "std") throw std::runtime_error("anything");
}

StreamProbe::StreamProbe()
     : GrpcService("stream-probe"), watch_(*this), tables_(*this), rates_(*this), counters_(*this) {}

StreamProbe::~StreamProbe() = default;

void StreamProbe::registerRpcService(grpc::ServerBuilder& builder) {
   builder.RegisterService(this);
}

void StreamProbe::startHandlers() {
   registerNewHandler<HoldHandler>(*this);
   registerAdapter<OrvSdkRpc::IteratorStreamingHandler, Rows>(*this);
   registerAdapter<OrvSdkRpc::IteratorStreamingHandler, Values>(*this);
   registerAdapter<OrvSdkRpc::StreamingAdapterHandler, Watch>(*this);
   if (tableLimit == OrvSdkRpc::streamQueueLimit) {
      registerAdapter<OrvSdkRpc::DumpStreamingAdapterHandler, WatchTable>(*this);
   } else {
      using Handler = OrvSdkRpc::DumpStreamingAdapterHandler<WatchTable, probe::WatchRequest,
                                                             probe::WatchResponse, StreamProbe>;
      registerHandler(OrvSdkRpc::makeHandler<Handler>(nextOpaqueId(), server(), cq(), *this, tableLimit));
   }
   registerBulkStreamHandler<Rates>(*this);
   registerBulkStreamHandler<Counters>(*this);
}

void StreamProbe::startWatching() {
   ++started;
   watching = true;
}

void StreamProbe::stopWatching() {
   ++stopped;
   watching = false;
}

void StreamProbe::publish(const std::string& key, std::uint64_t number, std::size_t payload) {
   probe::WatchResponse message;
   message.set_key(key);
   message.set_number(number);
   message.mutable_payload()->assign(payload, 'x');
   watch_.publish(message);
}

void StreamProbe::publishTable(const std::string& key, std::uint64_t number) {
   probe::WatchResponse message;
   message.set_key(key);
   message.set_number(number);
   tables_.publish(message);
}

void StreamProbe::publishRate(const std::string& name, std::uint64_t packets) {
   probe::RatesEntry entry;
   entry.set_name(name);
   entry.set_packets(packets);
   rates_.publishBulk(name, entry);
}

void StreamProbe::publishCounter(const probe::CountersEntry& entry) {
   counters_.publishBulk(entry.key(), entry);
}

PumpHold::PumpHold(StreamProbe& service, probe::StreamProbeService::Stub& stub) {
   service.onHoldIs([this] {
      std::unique_lock lock(mutex_);
      inside_ = true;
      changed_.notify_all();
      changed_.wait(lock, [this] { return released_; });
   });
   client_ = std::thread([&stub] {
      grpc::ClientContext context;
      probe::ProbeResponse response;
      stub.hold(&context, probe::ProbeRequest(), &response);
   });
   std::unique_lock lock(mutex_);
   changed_.wait(lock, [this] { return inside_; });
}

PumpHold::~PumpHold() {
   release();
   client_.join();
}

void PumpHold::release() {
   std::lock_guard lock(mutex_);
   released_ = true;
   changed_.notify_all();
}

HoldHandler::HoldHandler(OrvSdkRpc::OpaqueId tag, grpc::Server& server, grpc::ServerCompletionQueue& cq,
                         StreamProbe& service)
     : GenericRequestHandler(tag, server, cq, service) {
   post(service, &StreamProbe::AsyncService::Requesthold);
}

void HoldHandler::process(OrvSdkRpc::OpaqueId) {
   service_.onHold()();
   finish(probe::ProbeResponse(), grpc::Status::OK);
}

Numbers::Numbers(std::uint32_t count, StreamProbe& service) : count_(count), service_(&service) {
   ++service_->iterators;
}

bool Numbers::next(Number& row) {
   if (!orv::sdk_call_allowed()) service_->stepsLocked = false;
   if (next_ == count_) return false;
   row = {next_++, service_->rowPayload};
   return true;
}

std::unique_ptr<orv::iter_impl<Number>> Numbers::clone() const {
   return std::make_unique<Numbers>(*this);
}

orv::iter_base<Number, Numbers> Rows::iterator(const probe::RowsRequest& request, StreamProbe& service) {
   throwNamed(request.error());
   return orv::iter_base<Number, Numbers>(std::make_unique<Numbers>(request.count(), service));
}

probe::Row Rows::convert(const Number& number) {
   probe::Row row;
   row.set_number(number.number);
   row.mutable_payload()->assign(number.payload, 'x');
   return row;
}

Values::Iterator& Values::Iterator::operator++() {
   orv::sdk_lock_check();
   ++number_;
   return *this;
}

probe::Row Values::Iterator::operator*() const {
   orv::sdk_lock_check();
   probe::Row row;
   row.set_number(number_);
   return row;
}

namespace {

bool wanted(const probe::WatchRequest& request, const probe::WatchResponse& message) {
   if (request.selection_case() == probe::WatchRequest::kAll) return request.all();
   return message.key() == request.key();
}

}  // namespace

bool Watch::filter(const probe::WatchRequest& request, const probe::WatchResponse& message) const {
   return wanted(request, message);
}

WatchTable::Keys::Keys(StreamProbe& service) : service_(&service) {
   if (!service.table.empty()) key_ = service.table.begin()->first;
}

WatchTable::Keys& WatchTable::Keys::operator++() {
   orv::sdk_lock_check();
   const auto next = service_->table.upper_bound(*key_);
   if (next == service_->table.end()) {
      key_.reset();
   } else {
      key_ = next->first;
   }
   return *this;
}

void WatchTable::subscribe(StreamProbe& service, OrvSdkRpc::OpaqueId tag,
                           const probe::WatchRequest& request) {
   throwNamed(request.error());
   service.tableStreams().subscribe(tag);
}

bool WatchTable::filter(const probe::WatchRequest& request, const probe::WatchResponse& message) const {
   return wanted(request, message);
}

WatchTable::Keys WatchTable::iterator(StreamProbe& service) {
   orv::sdk_lock_check();
   throwNamed(service.iteratorError);
   return Keys(service);
}

void WatchTable::encodeDump(StreamProbe& service, const std::string& key,
                            probe::WatchResponse& message) const {
   orv::sdk_lock_check();
   if (service.onDumpElement) service.onDumpElement(key);
   message.set_key(key);
   const auto row = service.table.find(key);
   if (row == service.table.end()) return;
   if (selected<probe::WATCH_FIELD_NUMBER>()) message.set_number(row->second);
   if (selected<probe::WATCH_FIELD_PAYLOAD>())
      message.set_payload(service.tablePayload == 0 ? "payload" : std::string(service.tablePayload, 'x'));
}

void Rates::subscribe(StreamProbe& service, OrvSdkRpc::OpaqueId tag, const probe::RatesRequest& request) {
   if (!request.name_regex().empty()) {
      try {
         names.emplace(request.name_regex());
      } catch (const std::regex_error& e) {
         throw orv::invalid_argument_error(e.what());
      }
   }
   service.rateStreams().subscribe(tag);
}

bool Rates::wants(const Key& key) {
   return !names || std::regex_match(key, *names);
}

bool Rates::append(probe::RatesResponse& response, Entry& entry) {
   if (response.data_size() >= 1000) return false;
   response.add_data()->Swap(&entry);
   return true;
}

void Counters::check(const probe::CountersRequest& request) {
   if (request.has_compress_keys() && !request.compress_keys()) {
      throw orv::invalid_argument_error("disabling compression is not supported");
   }
}

std::list<probe::CountersResponse> Counters::snapshot(StreamProbe& service) {
   orv::sdk_lock_check();
   return service.snapshot;
}

bool Counters::coalesce(Entry& old, const Entry& fresh) {
   if (fresh.operation() == Entry::OPERATION_VANISH) return false;
   old.set_packets(fresh.packets());
   old.set_updates(old.updates() + 1);
   return true;
}

void Counters::beginBatch() {
   ++batches;
   bytes.clear();
}

bool Counters::append(probe::CountersResponse& response, Entry& entry) {
   entry.set_batch(batches);
   if (!bytes.fits(entry)) return false;
   Entry& sent = *response.add_data();
   sent.Swap(&entry);
   bytes.add(sent);
   return true;
}

}  // namespace orvtest
