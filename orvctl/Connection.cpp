#include "orvctl/Connection.h"

#include <fmt/format.h>
#include <grpcpp/generic/generic_stub.h>

#include "orvctl/ExitCode.h"

namespace orvctl {
namespace {

using google::protobuf::Message;

grpc::ByteBuffer toBuffer(const Message& message) {
   grpc::ByteBuffer buffer;
   bool own = false;
   grpc::GenericSerialize<grpc::ProtoBufferWriter, Message>(message, &buffer, &own);
   return buffer;
}

grpc::Status fromBuffer(grpc::ByteBuffer& buffer, Message& message) {
   return grpc::GenericDeserialize<grpc::ProtoBufferReader, Message>(&buffer, &message);
}

// Waits for the one outstanding event.
bool next(grpc::CompletionQueue& queue) {
   void* tag = nullptr;
   bool ok = false;
   return queue.Next(&tag, &ok) && ok;
}

// Codes with which a server refuses a request. Any other code means that no server handled the request, or
// that the outcome is unknown.
bool isRefusal(grpc::StatusCode code) {
   switch (code) {
      case grpc::StatusCode::UNKNOWN:
      case grpc::StatusCode::INVALID_ARGUMENT:
      case grpc::StatusCode::NOT_FOUND:
      case grpc::StatusCode::ALREADY_EXISTS:
      case grpc::StatusCode::PERMISSION_DENIED:
      case grpc::StatusCode::FAILED_PRECONDITION:
      case grpc::StatusCode::OUT_OF_RANGE:
      case grpc::StatusCode::INTERNAL:
      case grpc::StatusCode::UNAUTHENTICATED:
         return true;
      default:
         return false;
   }
}

// Shuts the queue down and drains it, as its destructor requires.
class QueueGuard {
public:
   explicit QueueGuard(grpc::CompletionQueue& queue) : queue_(queue) {}
   ~QueueGuard() {
      queue_.Shutdown();
      void* tag = nullptr;
      bool ok = false;
      while (queue_.Next(&tag, &ok)) {
      }
   }
   QueueGuard(const QueueGuard&) = delete;
   QueueGuard& operator=(const QueueGuard&) = delete;

private:
   grpc::CompletionQueue& queue_;
};

}  // namespace

Connection::Connection(const Target& target, double timeoutSeconds)
     : target_(target), timeoutSeconds_(timeoutSeconds) {
   grpc::ChannelArguments arguments;
   // A switch is reached directly, even if the environment names an HTTP proxy.
   arguments.SetInt(GRPC_ARG_ENABLE_HTTP_PROXY, 0);
   arguments.SetMaxReceiveMessageSize(-1);
   channel_ =
        grpc::CreateCustomChannel(target.channelAddress(), grpc::InsecureChannelCredentials(), arguments);
   programming_ = Programming::NewStub(channel_);
}

void Connection::prepare(grpc::ClientContext& context) const {
   if (timeoutSeconds_ <= 0) return;
   context.set_deadline(std::chrono::system_clock::now() +
                        std::chrono::duration_cast<std::chrono::system_clock::duration>(
                             std::chrono::duration<double>(timeoutSeconds_)));
}

grpc::Status Connection::unary(const std::string& path, const Message& request, Message& reply) {
   grpc::ClientContext context;
   prepare(context);
   grpc::CompletionQueue queue;
   QueueGuard guard(queue);
   grpc::GenericStub stub(channel_);
   auto call = stub.PrepareUnaryCall(&context, path, toBuffer(request), &queue);
   call->StartCall();
   grpc::ByteBuffer buffer;
   grpc::Status status;
   call->Finish(&buffer, &status, nullptr);
   next(queue);
   return status.ok() ? fromBuffer(buffer, reply) : status;
}

grpc::Status Connection::stream(const std::string& path, const Message& request, Message& reply,
                                const std::function<bool()>& each, bool deadline) {
   grpc::ClientContext context;
   if (deadline) prepare(context);
   return stream(context, path, request, reply, each);
}

grpc::Status Connection::stream(grpc::ClientContext& context, const std::string& path, const Message& request,
                                Message& reply, const std::function<bool()>& each) {
   grpc::CompletionQueue queue;
   QueueGuard guard(queue);
   grpc::GenericStub stub(channel_);
   auto call = stub.PrepareCall(&context, path, &queue);
   call->StartCall(nullptr);
   if (next(queue)) {
      reached_ = true;
      call->WriteLast(toBuffer(request), grpc::WriteOptions(), nullptr);
      next(queue);
   }
   grpc::Status parsed;
   bool ended = false;
   for (;;) {
      grpc::ByteBuffer buffer;
      call->Read(&buffer, nullptr);
      if (!next(queue)) break;
      parsed = fromBuffer(buffer, reply);
      ended = parsed.ok() && !each();
      if (ended || !parsed.ok()) {
         context.TryCancel();
         break;
      }
   }
   grpc::Status status;
   call->Finish(&status, nullptr);
   next(queue);
   if (!parsed.ok()) return parsed;
   return ended ? grpc::Status::OK : status;
}

void Connection::require(const std::string& what, const grpc::Status& status) const {
   if (status.ok()) return;
   switch (status.error_code()) {
      case grpc::StatusCode::UNAVAILABLE:
         throw CallError(
              reached_
                   ? fmt::format("{}: {} went away: {}", what, target_.text(), status.error_message())
                   : fmt::format("{}: cannot reach {}: {}", what, target_.text(), status.error_message()));
      case grpc::StatusCode::DEADLINE_EXCEEDED:
         throw CallError(
              fmt::format("{}: no answer from {} within {} s", what, target_.text(), timeoutSeconds_));
      default:
         break;
   }
   const std::string words = fmt::format("{}: {} answered {}: {}", what, target_.text(),
                                         grpcCodeName(status.error_code()), status.error_message());
   if (isRefusal(status.error_code())) throw RefusedError(words);
   throw CallError(words);
}

std::string grpcCodeName(grpc::StatusCode code) {
   static constexpr const char* kNames[] = {
        "OK",        "CANCELLED",      "UNKNOWN",           "INVALID_ARGUMENT",   "DEADLINE_EXCEEDED",
        "NOT_FOUND", "ALREADY_EXISTS", "PERMISSION_DENIED", "RESOURCE_EXHAUSTED", "FAILED_PRECONDITION",
        "ABORTED",   "OUT_OF_RANGE",   "UNIMPLEMENTED",     "INTERNAL",           "UNAVAILABLE",
        "DATA_LOSS", "UNAUTHENTICATED"};
   const auto index = static_cast<size_t>(code);
   return index < std::size(kNames) ? kNames[index] : fmt::format("code {}", static_cast<int>(code));
}

}  // namespace orvctl
