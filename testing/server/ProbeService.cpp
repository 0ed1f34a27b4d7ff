#include "testing/server/ProbeService.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>

#include "OrvSdkRpc/handlers/Errors.h"
#include "OrvSdkRpc/server/TagManager.h"
#include "orv/error.h"

namespace orvtest {

std::string operate(const probe::ProbeRequest& request, ProbeService& service) {
   if (service.onOperation) service.onOperation(request);
   const std::string& error = request.error();
   if (error == "range") throw orv::invalid_range_error(request.text());
   if (error == "argument") throw orv::invalid_argument_error(request.text());
   if (error == "configuration") throw orv::configuration_error(request.text());
   if (error == "unsupported") throw orv::unsupported_error(request.text());
   if (error == "error") throw orv::error(request.text());
   if (error == "no lock") throw orv::no_scoped_lock_obtained_error();
   if (error == "unauthenticated") throw OrvSdkRpc::unauthenticated_error(request.text());
   if (error == "std") throw std::runtime_error(request.text());
   return request.text();
}

probe::ProbeResponse Probe::impl(const probe::ProbeRequest& request, ProbeService& service) {
   probe::ProbeResponse response;
   response.set_text(operate(request, service));
   return response;
}

void BulkProbe::impl(const probe::ProbeRequest& item, ProbeService& service) {
   operate(item, service);
}

ProbeWatchHandler::ProbeWatchHandler(OrvSdkRpc::OpaqueId tag, grpc::Server& server,
                                     grpc::ServerCompletionQueue& cq, ProbeService& service)
     : GenericRequestHandler(tag, server, cq, service) {
   post(service, &ProbeService::AsyncService::Requestwatch);
}

ProbeWatchHandler::~ProbeWatchHandler() = default;

void ProbeWatchHandler::process(OrvSdkRpc::OpaqueId tag) {
   if (tag == tag_) {
      state_ = 1;
      alarmTag_ = service_.assignExtraTag(shared_from_this());
      writeTag_ = service_.assignExtraTag(shared_from_this());
      service_.subscribe(tag_);
      return;
   }
   OrvSdkRpc::MutexLock lock(mutex_);
   EXPECT_TRUE(tag == alarmTag_ || tag == writeTag_);
   next();
}

void ProbeWatchHandler::callDone() {
   OrvSdkRpc::MutexLock lock(mutex_);
   if (state_ != 1) return;
   state_ = 2;
   if (waits_ == Waits::Alarm) alarm_.Cancel();
   finish(grpc::Status::OK);
   lock.unlock();
   service_.cancel(tag_);
}

void ProbeWatchHandler::next() {
   waits_ = Waits::Nothing;
   if (queue_.empty()) return;
   if (queue_.front() == "finish") {
      state_ = 2;
      service_.cancel(tag_);
      finish(grpc::Status(grpc::StatusCode::RESOURCE_EXHAUSTED, "finished"));
      return;
   }
   if (queue_.front() == "give back") {
      const OrvSdkRpc::OpaqueId extra = service_.assignExtraTag(shared_from_this());
      beginEvent();
      droppedAlarm_.Set(&cq_, std::chrono::system_clock::now(), extra);
      service_.removeHandler(extra);
   }
   probe::ProbeResponse response;
   response.set_text(std::move(queue_.front()));
   queue_.pop_front();
   waits_ = Waits::Write;
   beginEvent();
   responder_.Write(response, writeTag_);
   ++service_.writes;
}

void ProbeWatchHandler::publish(std::string text) {
   OrvSdkRpc::MutexLock lock(mutex_);
   if (service_.closing() || state_ == 2) return;
   queue_.push_back(std::move(text));
   if (queue_.size() != 1 || waits_ != Waits::Nothing || !beginEventFromOutside()) return;
   waits_ = Waits::Alarm;
   alarm_.Set(&cq_, std::chrono::system_clock::now(), alarmTag_);
}

ProbeLaterHandler::ProbeLaterHandler(OrvSdkRpc::OpaqueId tag, grpc::Server& server,
                                     grpc::ServerCompletionQueue& cq, ProbeService& service)
     : GenericRequestHandler(tag, server, cq, service) {
   post(service, &ProbeService::AsyncService::Requestlater);
}

void ProbeLaterHandler::process(OrvSdkRpc::OpaqueId) {
   promiseEvent();
   service_.wait(this);
}

bool ProbeLaterHandler::answer(const std::string& text) {
   if (!beginPromisedEvent()) return false;
   probe::ProbeResponse response;
   response.set_text(text);
   responder_.Finish(response, grpc::Status::OK, tag_);
   return true;
}

void ProbeService::wait(ProbeLaterHandler* handler) {
   OrvSdkRpc::MutexLock lock(mutex_);
   waiting_.push_back(handler);
}

std::vector<ProbeLaterHandler*> ProbeService::waiting() {
   OrvSdkRpc::MutexLock lock(mutex_);
   return waiting_;
}

ProbeService::ProbeService() : GrpcService("probe") {}

ProbeService::~ProbeService() = default;

void ProbeService::registerRpcService(grpc::ServerBuilder& builder) {
   builder.RegisterService(this);
}

void ProbeService::startHandlers() {
   registerAdapter<OrvSdkRpc::UnaryRequestHandler, Probe>(*this);
   registerAdapter<OrvSdkRpc::BulkRequestHandler, BulkProbe>(*this);
   registerNewHandler<ProbeWatchHandler>(*this);
   registerNewHandler<ProbeLaterHandler>(*this);
}

void ProbeService::subscribe(OrvSdkRpc::OpaqueId tag) {
   OrvSdkRpc::MutexLock lock(mutex_);
   subscribers_.push_back(tag);
}

void ProbeService::cancel(OrvSdkRpc::OpaqueId tag) {
   OrvSdkRpc::MutexLock lock(mutex_);
   std::erase(subscribers_, tag);
}

std::size_t ProbeService::watchers() {
   OrvSdkRpc::MutexLock lock(mutex_);
   return subscribers_.size();
}

void ProbeService::publish(const std::string& text) {
   std::vector<std::shared_ptr<OrvSdkRpc::RequestHandler>> handlers;
   {
      OrvSdkRpc::MutexLock lock(mutex_);
      if (tags() == nullptr) return;
      OrvSdkRpc::TagManager& registry = *tags();
      OrvSdkRpc::MutexLock tagLock(registry.mutex());
      handlers = registry.listHandlers(serviceId(), subscribers_.begin(), subscribers_.end());
   }
   for (const auto& handler : handlers)
      static_cast<ProbeWatchHandler&>(*handler).publish(text);
}

}  // namespace orvtest
