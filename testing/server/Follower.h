// What somebody who follows a watch knows, kept up to date by a thread.
//
// Thread-safety: with() may be called from any thread.
#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>

#include "testing/server/StreamClient.h"

namespace orvtest {

// Rp is the watch's response, which has an `ack`.
template <class Rp, class State>
class Follower {
public:
   using Take = std::function<void(State& state, const Rp& response)>;

   // Returns once the watch is acknowledged; what comes before that is taken too.
   template <class Stub, class Rq>
   Follower(Stub& stub, std::unique_ptr<grpc::ClientReader<Rp>> (Stub::*rpc)(grpc::ClientContext*, const Rq&),
            const Rq& request, Take take)
        : client_(stub, rpc, request), take_(std::move(take)) {
      for (auto response = client_.next(); response && !response->ack(); response = client_.next())
         take_(state_, *response);
      thread_ = std::thread([this] {
         while (const auto response = client_.next()) {
            const std::lock_guard guard(mutex_);
            take_(state_, *response);
         }
      });
   }
   ~Follower() {
      client_.cancel();
      thread_.join();
   }

   // Calls `call` with the state, while no response is taken.
   template <class Call>
   auto with(Call&& call) {
      const std::lock_guard guard(mutex_);
      return call(state_);
   }

private:
   StreamClient<Rp> client_;
   const Take take_;
   std::mutex mutex_;
   State state_;
   std::thread thread_;
};

}  // namespace orvtest
