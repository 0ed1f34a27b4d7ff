#include "StreamClient.h"

#include <grpc/grpc.h>
#include <grpcpp/create_channel.h>
#include <grpcpp/security/credentials.h>
#include <grpcpp/support/channel_arguments.h>
#include <sys/resource.h>
#include <unistd.h>

#include <stdexcept>

namespace bench {
namespace {

using Clock = std::chrono::steady_clock;

double cpuSeconds() {
   rusage usage{};
   ::getrusage(RUSAGE_SELF, &usage);
   const auto seconds = [](const timeval& time) {
      return static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_usec);
   };
   return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

double secondsSince(Clock::time_point start) {
   return std::chrono::duration<double>(Clock::now() - start).count();
}

void toString(const grpc::ByteBuffer& buffer, std::string& bytes) {
   bytes.clear();
   std::vector<grpc::Slice> slices;
   if (!buffer.Dump(&slices).ok()) return;
   for (const auto& slice : slices)
      bytes.append(reinterpret_cast<const char*>(slice.begin()), slice.size());
}

// Keeps gRPC initialised as long as the process lives: a shutdown with its last object may wait ten seconds
// for a thread that polls.
void keepGrpc() {
   [[maybe_unused]] static const bool kept = (grpc_init(), true);
}

// An open stream on a queue.
class Stream {
public:
   Stream(grpc::GenericStub& stub, grpc::CompletionQueue& queue, const std::string& path,
          const std::string& request)
        : queue_(queue), call_(stub.PrepareCall(&context_, path, &queue)) {
      call_->StartCall(nullptr);
      const grpc::Slice slice(request);
      if (next()) {
         call_->WriteLast(grpc::ByteBuffer(&slice, 1), grpc::WriteOptions(), nullptr);
         next();
      }
   }
   // Starts a read into message(), with this object as the tag.
   void read() { call_->Read(&message_, this); }
   const grpc::ByteBuffer& message() const { return message_; }
   void cancel() { context_.TryCancel(); }
   // REQUIRES: no read is outstanding.
   grpc::Status finish() {
      grpc::Status status;
      call_->Finish(&status, nullptr);
      next();
      return status;
   }
   bool next() {
      void* tag = nullptr;
      bool ok = false;
      return queue_.Next(&tag, &ok) && ok;
   }

private:
   grpc::CompletionQueue& queue_;
   grpc::ClientContext context_;
   std::unique_ptr<grpc::GenericClientAsyncReaderWriter> call_;
   grpc::ByteBuffer message_;
};

}  // namespace

std::uint64_t entriesOf(const std::string& batch) {
   std::uint64_t entries = 0;
   for (std::size_t at = 0; at < batch.size(); ++entries) {
      if (batch[at++] != '\x0a') throw std::runtime_error("the batch holds something else than entries");
      std::size_t size = 0;
      for (unsigned shift = 0; at < batch.size(); shift += 7) {
         const auto byte = static_cast<unsigned char>(batch[at++]);
         size |= static_cast<std::size_t>(byte & 0x7fU) << shift;
         if (byte < 0x80) break;
      }
      at += size;
   }
   return entries;
}

StreamClient::StreamClient(const std::string& target, std::chrono::milliseconds patience)
     : channel_([&] {
          keepGrpc();
          grpc::ChannelArguments arguments;
          arguments.SetInt(GRPC_ARG_MAX_RECONNECT_BACKOFF_MS, 100);
          arguments.SetMaxReceiveMessageSize(-1);
          return grpc::CreateCustomChannel(target, grpc::InsecureChannelCredentials(), arguments);
       }()),
       stub_(channel_) {
   if (!channel_->WaitForConnected(std::chrono::system_clock::now() + patience)) {
      throw std::runtime_error("cannot reach " + target);
   }
}

StreamResult StreamClient::readPasses(const std::string& path, const std::string& request,
                                      const std::string& last, std::chrono::duration<double> duration) {
   StreamResult result;
   std::string bytes;
   const double cpuBefore = cpuSeconds();
   const auto start = Clock::now();
   do {
      grpc::CompletionQueue queue;
      Stream stream(stub_, queue, path, request);
      const auto passStart = Clock::now();
      std::uint64_t elements = 0;
      bool ended = false;
      for (;;) {
         stream.read();
         if (!stream.next()) break;
         const grpc::ByteBuffer& message = stream.message();
         if (message.Length() == last.size() && !last.empty()) {
            toString(message, bytes);
            if (bytes == last) {
               ended = true;
               break;
            }
         }
         result.bytes += message.Length();
         if (++elements == 1000) toString(message, result.sample);
      }
      result.passSeconds.push_back(secondsSince(passStart));
      if (ended) stream.cancel();
      const grpc::Status status = stream.finish();
      queue.Shutdown();
      stream.next();
      if (!ended && (!status.ok() || !last.empty())) {
         throw std::runtime_error(path + " ended: " + status.error_message());
      }
      if (result.elements != 0 && elements != result.elements) {
         throw std::runtime_error(path + " returned a different number of elements than before");
      }
      result.elements = elements;
      result.items += elements;
   } while (secondsSince(start) < duration.count());
   result.seconds = secondsSince(start);
   result.clientCpuSeconds = cpuSeconds() - cpuBefore;
   return result;
}

StreamResult StreamClient::readFor(const std::string& path, const std::string& request, std::size_t streams,
                                   std::chrono::duration<double> duration,
                                   const std::function<std::uint64_t(const std::string&)>& itemsOf,
                                   const std::function<bool(const std::string&)>& begins) {
   grpc::CompletionQueue queue;
   std::vector<std::unique_ptr<Stream>> open;
   for (std::size_t i = 0; i < streams; ++i)
      open.push_back(std::make_unique<Stream>(stub_, queue, path, request));
   for (const auto& stream : open)
      stream->read();
   StreamResult result;
   std::string bytes;
   std::size_t reading = streams;
   std::size_t silent = streams;
   bool over = false;
   double cpuBefore = cpuSeconds();
   auto start = Clock::now();
   std::vector<bool> delivered(streams, false);
   while (reading > 0) {
      void* tag = nullptr;
      bool ok = false;
      if (!queue.Next(&tag, &ok)) throw std::runtime_error("the completion queue is down");
      auto& stream = *static_cast<Stream*>(tag);
      if (!ok) {
         --reading;
         if (!over) throw std::runtime_error(path + " ended: " + stream.finish().error_message());
         continue;
      }
      if (silent > 0) {
         bool first = true;
         if (begins) {
            toString(stream.message(), bytes);
            first = begins(bytes);
         }
         for (std::size_t i = 0; i < streams; ++i) {
            if (first && open[i].get() == &stream && !delivered[i]) {
               delivered[i] = true;
               --silent;
            }
         }
         if (silent == 0) {
            cpuBefore = cpuSeconds();
            start = Clock::now();
         }
      } else if (!over) {
         result.bytes += stream.message().Length();
         if (itemsOf) {
            toString(stream.message(), bytes);
            result.items += itemsOf(bytes);
            if (bytes.size() > result.sample.size()) result.sample = bytes;
         } else if (result.items++ == 0) {
            toString(stream.message(), result.sample);
         }
         if (secondsSince(start) >= duration.count()) {
            over = true;
            result.seconds = secondsSince(start);
            result.clientCpuSeconds = cpuSeconds() - cpuBefore;
            for (const auto& each : open)
               each->cancel();
         }
      }
      stream.read();
   }
   for (const auto& stream : open)
      stream->finish();
   queue.Shutdown();
   open.front()->next();
   return result;
}

void StreamClient::read(const std::string& path, const std::string& request,
                        const std::function<bool(const std::string&)>& each) {
   grpc::CompletionQueue queue;
   Stream stream(stub_, queue, path, request);
   std::string bytes;
   bool enough = false;
   while (!enough) {
      stream.read();
      if (!stream.next()) break;
      toString(stream.message(), bytes);
      enough = !each(bytes);
   }
   if (enough) stream.cancel();
   const grpc::Status status = stream.finish();
   queue.Shutdown();
   stream.next();
   if (!enough) throw std::runtime_error(path + " ended: " + status.error_message());
}

void StreamClient::stall(const std::string& path, const std::string& request, std::size_t streams) {
   grpc::CompletionQueue queue;
   std::vector<std::unique_ptr<Stream>> open;
   for (std::size_t i = 0; i < streams; ++i)
      open.push_back(std::make_unique<Stream>(stub_, queue, path, request));
   for (;;)
      ::pause();
}

}  // namespace bench
