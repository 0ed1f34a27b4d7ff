#include "orvsdkrpcd/HealthService.h"

#include <chrono>
#include <optional>

namespace orvsdkrpcd {

using grpc::health::v1::HealthCheckRequest;
using grpc::health::v1::HealthCheckResponse;

namespace {

// How often a watch checks whether its client has gone away; its thread sleeps in between.
constexpr std::chrono::milliseconds kCancelCheck{250};

}  // namespace

void HealthService::servingIs(std::set<std::string> services) {
   const std::lock_guard lock(mutex_);
   services_ = std::move(services);
   serving_ = true;
   changed_.notify_all();
}

void HealthService::stop() {
   const std::lock_guard lock(mutex_);
   stopped_ = true;
   changed_.notify_all();
}

HealthService::Status HealthService::statusOf(const std::string& service) const {
   if (!service.empty() && !services_.contains(service)) return HealthCheckResponse::SERVICE_UNKNOWN;
   return serving_ && !stopped_ ? HealthCheckResponse::SERVING : HealthCheckResponse::NOT_SERVING;
}

grpc::Status HealthService::Check(grpc::ServerContext*, const HealthCheckRequest* request,
                                  HealthCheckResponse* response) {
   const std::lock_guard lock(mutex_);
   const Status status = statusOf(request->service());
   if (status == HealthCheckResponse::SERVICE_UNKNOWN)
      return {grpc::StatusCode::NOT_FOUND, "service name unknown"};
   response->set_status(status);
   return grpc::Status::OK;
}

grpc::Status HealthService::Watch(grpc::ServerContext* context, const HealthCheckRequest* request,
                                  grpc::ServerWriter<HealthCheckResponse>* writer) {
   std::unique_lock lock(mutex_);
   if (watches_ == maxWatches) return {grpc::StatusCode::RESOURCE_EXHAUSTED, "too many health watches"};
   ++watches_;
   std::optional<Status> told;
   while (!context->IsCancelled()) {
      const Status status = statusOf(request->service());
      if (told != status) {
         HealthCheckResponse response;
         response.set_status(status);
         lock.unlock();
         const bool written = writer->Write(response);
         lock.lock();
         if (!written) break;
         told = status;
         continue;
      }
      if (stopped_) break;
      changed_.wait_for(lock, kCancelCheck);
   }
   --watches_;
   return stopped_ ? grpc::Status(grpc::StatusCode::UNAVAILABLE, "the server is stopping")
                   : grpc::Status::CANCELLED;
}

}  // namespace orvsdkrpcd
