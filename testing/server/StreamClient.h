// A stream as its client sees it, and the traces of the stream handlers.
#pragma once

#include <grpcpp/client_context.h>
#include <grpcpp/support/sync_stream.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "testing/server/TraceCapture.h"

namespace orvtest {

template <class Rp>
class StreamClient {
public:
   // StreamClient<WatchResponse> c(*stub, &Stub::watch, request);
   template <class Stub, class Rq>
   StreamClient(Stub& stub,
                std::unique_ptr<grpc::ClientReader<Rp>> (Stub::*call)(grpc::ClientContext*, const Rq&),
                const Rq& request)
        : reader_((stub.*call)(&context_, request)) {}
   ~StreamClient() {
      if (!reader_) return;
      context_.TryCancel();
      finish();
   }
   StreamClient(const StreamClient&) = delete;
   StreamClient& operator=(const StreamClient&) = delete;

   // The next response, or nothing at the end of the stream.
   std::optional<Rp> next() {
      Rp response;
      if (!reader_->Read(&response)) return std::nullopt;
      return response;
   }
   // Reads to the end.
   std::vector<Rp> rest() {
      std::vector<Rp> all;
      while (auto response = next())
         all.push_back(std::move(*response));
      return all;
   }
   void cancel() { context_.TryCancel(); }
   // Reads the rest of the stream. RETURNS: the status of the call.
   grpc::Status finish() {
      Rp ignored;
      while (reader_->Read(&ignored)) {
      }
      const grpc::Status status = reader_->Finish();
      reader_.reset();
      return status;
   }

private:
   grpc::ClientContext context_;
   std::unique_ptr<grpc::ClientReader<Rp>> reader_;
};

// How many traces begin with the text.
inline std::size_t tracesWith(const TraceCapture& traces, std::string_view begin) {
   const std::vector<std::string> texts = traces.texts();
   return static_cast<std::size_t>(std::count_if(
        texts.begin(), texts.end(), [&](const std::string& text) { return text.starts_with(begin); }));
}

}  // namespace orvtest
