// The mirror services of a fake server: it answers any RPC, by its path, as the test has set.
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
      // Whether the stream stays open after the replies until the client disconnects.
      bool held = false;
   };

   // RPCs without an answer are UNIMPLEMENTED. `rpc` is "IntfMgrService/exists".
   template <typename... Replies>
   Answer& answer(const std::string& rpc, const Replies&... replies) {
      Answer& answer = answers_["/orv.remote." + rpc];
      (answer.replies.push_back(replies.SerializeAsString()), ...);
      return answer;
   }
   // Answers requests that contain this JSON, in place of the general answer.
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
   // Records the request. RETURNS: its answer.
   Answer arrived(const std::string& path, const grpc::ByteBuffer& request);

   std::map<std::string, Answer> answers_;
   mutable std::mutex mutex_;
   std::vector<std::string> requests_;
};

}  // namespace orvctl::test
