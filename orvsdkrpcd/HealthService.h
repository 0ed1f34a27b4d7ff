// The gRPC health service of this process.
//
// With gRPC's built-in health service, callback threads poll the server's sockets beside the pump and take
// events from it, which costs a third of the unary throughput. This service is synchronous: its threads sleep
// on a condition variable and do not poll.
//
// Thread-safety: any thread.
#pragma once

#include <condition_variable>
#include <mutex>
#include <set>
#include <string>

#include "health.grpc.pb.h"

namespace orvsdkrpcd {

class HealthService final : public grpc::health::v1::Health::Service {
public:
   // Each watch occupies a thread; further clients get RESOURCE_EXHAUSTED.
   static constexpr int maxWatches = 32;

   // From now on the server as a whole and each of `services` (full names) are SERVING.
   void servingIs(std::set<std::string> services);
   // From now on everything is NOT_SERVING, and every watch ends after reporting that.
   void stop();

   grpc::Status Check(grpc::ServerContext* context, const grpc::health::v1::HealthCheckRequest* request,
                      grpc::health::v1::HealthCheckResponse* response) override;
   grpc::Status Watch(grpc::ServerContext* context, const grpc::health::v1::HealthCheckRequest* request,
                      grpc::ServerWriter<grpc::health::v1::HealthCheckResponse>* writer) override;

private:
   using Status = grpc::health::v1::HealthCheckResponse::ServingStatus;
   Status statusOf(const std::string& service) const;

   mutable std::mutex mutex_;
   std::condition_variable changed_;
   std::set<std::string> services_;
   bool serving_ = false;
   bool stopped_ = false;
   int watches_ = 0;
};

}  // namespace orvsdkrpcd
