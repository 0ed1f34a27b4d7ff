#include "OrvSdkRpc/server/GrpcService.h"

#include <utility>

#include "OrvSdkRpc/server/GrpcServer.h"
#include "OrvSdkRpc/server/TagManager.h"

namespace OrvSdkRpc {

GrpcService::GrpcService(std::string name) : name_(std::move(name)), tracer_(name_) {}

GrpcService::~GrpcService() = default;

void GrpcService::selfRegister(std::size_t serviceId, grpc::ServerBuilder& builder) {
   serviceId_ = serviceId;
   registerRpcService(builder);
}

grpc::Server& GrpcService::server() const {
   return grpcServer_->server();
}

PendingEvents& GrpcService::events() const {
   return grpcServer_->events();
}

TagManager* GrpcService::tags() const {
   return grpcServer_ ? &grpcServer_->tags() : nullptr;
}

OpaqueId GrpcService::nextOpaqueId() const {
   return grpcServer_->tags().nextId();
}

void GrpcService::registerHandler(std::shared_ptr<RequestHandler> handler) const {
   grpcServer_->tags().add(serviceId_, std::move(handler));
}

OpaqueId GrpcService::assignExtraTag(const std::shared_ptr<RequestHandler>& handler) const {
   return grpcServer_->tags().addExtra(serviceId_, handler);
}

void GrpcService::removeHandler(OpaqueId tag) const {
   grpcServer_->tags().remove(tag);
}

std::shared_ptr<RequestHandler> GrpcService::findHandler(OpaqueId tag) const {
   return grpcServer_ ? grpcServer_->tags().find(tag) : nullptr;
}

}  // namespace OrvSdkRpc
