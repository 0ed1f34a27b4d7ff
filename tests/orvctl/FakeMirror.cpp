#include "FakeMirror.h"

#include <google/protobuf/dynamic_message.h>

#include <utility>

#include "orvctl/Descriptors.h"
#include "orvctl/JsonText.h"

namespace orvctl::test {
namespace {

std::string bytesOf(const grpc::ByteBuffer& buffer) {
   std::vector<grpc::Slice> slices;
   std::string bytes;
   if (!buffer.Dump(&slices).ok()) return bytes;
   for (const auto& slice : slices)
      bytes.append(reinterpret_cast<const char*>(slice.begin()), slice.size());
   return bytes;
}

std::string shortPath(const std::string& path) {
   constexpr std::string_view package = "/orv.remote.";
   return path.starts_with(package) ? path.substr(package.size()) : path;
}

// The request of the RPC as JSON.
std::string jsonOf(const std::string& path, const grpc::ByteBuffer& buffer) {
   const auto& type = *findMethod(path.substr(1)).input_type();
   const std::unique_ptr<google::protobuf::Message> request(
        google::protobuf::MessageFactory::generated_factory()->GetPrototype(&type)->New());
   request->ParseFromString(bytesOf(buffer));
   return messageToJson(*request);
}

}  // namespace

// One call; destroys itself when it is over.
class FakeMirror::Call final : public grpc::ServerGenericBidiReactor {
public:
   Call(FakeMirror& mirror, std::string path) : mirror_(mirror), path_(std::move(path)) {
      StartRead(&request_);
   }

   void OnReadDone(bool ok) override {
      if (ok) answer_ = mirror_.arrived(path_, request_);
      const std::lock_guard lock(mutex_);
      if (!ok) return finish(grpc::Status(grpc::StatusCode::INTERNAL, "no request"));
      next();
   }
   void OnWriteDone(bool ok) override {
      const std::lock_guard lock(mutex_);
      if (!ok) return finish(grpc::Status::CANCELLED);
      next();
   }
   void OnCancel() override {
      const std::lock_guard lock(mutex_);
      finish(grpc::Status::CANCELLED);
   }
   void OnDone() override { delete this; }

private:
   void next() {
      if (finished_) return;
      if (written_ < answer_.replies.size()) {
         const grpc::Slice slice(answer_.replies[written_++]);
         reply_ = grpc::ByteBuffer(&slice, 1);
         StartWrite(&reply_);
      } else if (!answer_.held) {
         finish(answer_.end);
      }
   }
   void finish(const grpc::Status& status) {
      if (!std::exchange(finished_, true)) Finish(status);
   }

   std::mutex mutex_;
   bool finished_ = false;
   FakeMirror& mirror_;
   std::string path_;
   grpc::ByteBuffer request_;
   grpc::ByteBuffer reply_;
   Answer answer_;
   size_t written_ = 0;
};

std::vector<std::string> FakeMirror::requests() const {
   const std::lock_guard lock(mutex_);
   return requests_;
}

grpc::ServerGenericBidiReactor* FakeMirror::CreateReactor(grpc::GenericCallbackServerContext* context) {
   return new Call(*this, context->method());
}

FakeMirror::Answer FakeMirror::arrived(const std::string& path, const grpc::ByteBuffer& request) {
   const Answer missing{.replies = {}, .end = grpc::Status(grpc::StatusCode::UNIMPLEMENTED, "")};
   if (!path.starts_with("/orv.remote.")) return missing;
   const std::string json = jsonOf(path, request);
   const std::lock_guard lock(mutex_);
   requests_.push_back(shortPath(path) + " " + json);
   auto found = answers_.find(path + " " + json);
   if (found == answers_.end()) found = answers_.find(path);
   return found == answers_.end() ? missing : found->second;
}

}  // namespace orvctl::test
