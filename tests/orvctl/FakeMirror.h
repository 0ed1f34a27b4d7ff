// The mirror services of a fake server: any RPC by its path, answered with what the test says.
//
// Thread-safety: the setters before the server starts; requests() from any thread.
#pragma once

#include <grpcpp/generic/async_generic_service.h>

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace orvctl::test {

class FakeMirror final : public grpc::CallbackGenericService {
public:
   struct Answer {
      // In order; one for a unary RPC.
      std::vector<std::string> replies;
      grpc::Status end;
      // The stream stays open behind the replies until the client leaves.
      bool held = false;
   };

   // RPCs without an answer are UNIMPLEMENTED. `rpc` is "IntfMgrService/exists".
   template <typename... Replies>
   Answer& answer(const std::string& rpc, const Replies&... replies) {
      Answer& answer = answers_["/orv.remote." + rpc];
      (answer.replies.push_back(replies.SerializeAsString()), ...);
      return answer;
   }
   // The answer of requests that hold this JSON, in place of the one of all.
   template <typename Reply>
   Answer& answerTo(const std::string& rpc, const std::string& request, const Reply& reply) {
      Answer& answer = answers_["/orv.remote." + rpc + " " + request];
      answer.replies.push_back(reply.SerializeAsString());
      return answer;
   }

   // "IntfMgrService/exists request-in-one-line", in order.
   std::vector<std::string> requests() const;

private:
   class Call;

   grpc::ServerGenericBidiReactor* CreateReactor(grpc::GenericCallbackServerContext* context) override;
   // Records the request, and its answer.
   Answer arrived(const std::string& path, const grpc::ByteBuffer& request);

   std::map<std::string, Answer> answers_;
   mutable std::mutex mutex_;
   std::vector<std::string> requests_;
};

}  // namespace orvctl::test
