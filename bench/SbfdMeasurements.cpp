#include "SbfdMeasurements.h"

#include <grpcpp/grpcpp.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <memory>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <thread>

#include "OrvSdkRpcProtos/orvsdk.grpc.pb.h"
#include "Servers.h"
#include "testing/process/Console.h"

namespace bench {

namespace {

namespace pb = OrvSdkRpc::pb;
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using Message = pb::watch_sbfd_echo_session_status_msg;
using OperStatus = pb::sbfd_echo_session_oper_status_msg;

constexpr std::uint32_t intervalMillis = 50;
constexpr std::uint32_t multiplier = 3;

// A daemon whose echo sessions are all up, and a client of it.
class Sessions {
public:
   Sessions(const Setup& setup, std::size_t count, std::size_t ports, bool rttEnabled)
        : daemon_(setup.daemonProgram),
          stub_(pb::orvsdk_service::NewStub(
               grpc::CreateChannel(daemon_.address(), grpc::InsecureChannelCredentials()))),
          console_(daemon_.daemon().consolePath()) {
      {
         grpc::ClientContext context;
         pb::rpc_server_init_status_msg reply;
         require(stub_->rpc_server_init(&context, {}, &reply));
      }
      pb::sbfd_echo_session_bulk_msg bulk;
      for (std::size_t i = 0; i < count; ++i) {
         auto& session = *bulk.add_bulk();
         const char address[] = {10, static_cast<char>(i >> 16), static_cast<char>(i >> 8),
                                 static_cast<char>(i)};
         session.mutable_key()->mutable_nexthop()->set_address(address, sizeof address);
         session.mutable_key()->set_nexthop_intf("Ethernet" + std::to_string(i % ports + 1));
         session.mutable_key()->add_label_stack(static_cast<std::uint32_t>(100'000 + i));
         session.set_rtt_enabled(rttEnabled);
         session.set_track_intf_state(true);
         session.set_min_tx(intervalMillis);
         session.set_detectionmultiplier(multiplier);
      }
      grpc::ClientContext context;
      pb::rpc_status_bulk_msg reply;
      require(stub_->sbfd_echo_session_bulk(&context, bulk, &reply));
      for (const auto& status : reply.statuses()) {
         if (status.status() != pb::RPC_STATUS_OK) throw std::runtime_error(status.debug_string());
      }
      for (const auto end = Clock::now() + 30s; up() != count;) {
         if (Clock::now() > end) throw std::runtime_error("echo sessions do not come up");
         std::this_thread::sleep_for(50ms);
      }
   }

   FreshDaemon& daemon() { return daemon_; }
   orvtest::Console& console() { return console_; }
   pb::orvsdk_service::Stub& stub() { return *stub_; }

   nlohmann::json show() { return nlohmann::json::parse(console_.run("show sbfd json"))["sbfd_sessions"]; }
   std::size_t up() {
      const auto sessions = show();
      return static_cast<std::size_t>(std::count_if(
           sessions.begin(), sessions.end(), [](const auto& session) { return session["status"] == "up"; }));
   }
   std::uint64_t sent() {
      std::uint64_t sum = 0;
      for (const auto& session : show())
         sum += session["sent"].get<std::uint64_t>();
      return sum;
   }

private:
   static void require(const grpc::Status& status) {
      if (!status.ok()) throw std::runtime_error(status.error_message());
   }

   FreshDaemon daemon_;
   std::unique_ptr<pb::orvsdk_service::Stub> stub_;
   orvtest::Console console_;
};

// One stream of updates, which the constructor opens.
class Updates {
public:
   explicit Updates(pb::orvsdk_service::Stub& stub) {
      pb::watch_sbfd_echo_session_config_msg request;
      request.set_send_initial_message(true);
      reader_ = stub.watch_sbfd_echo_session_status_msgs(&context_, request);
      if (!next().initial()) throw std::runtime_error("the stream of echo sessions did not open");
   }
   ~Updates() {
      context_.TryCancel();
      Message ignored;
      while (reader_->Read(&ignored)) {
      }
      reader_->Finish();
   }
   Updates(const Updates&) = delete;
   Updates& operator=(const Updates&) = delete;

   Message next() {
      Message message;
      if (!reader_->Read(&message)) throw std::runtime_error("the stream of echo sessions broke");
      return message;
   }
   bool read(Message& message) { return reader_->Read(&message); }
   void cancel() { context_.TryCancel(); }

private:
   grpc::ClientContext context_;
   std::unique_ptr<grpc::ClientReader<Message>> reader_;
};

// Runs a console command on its own thread and waits for the update that follows.
// RETURNS: the milliseconds from sending the command to reading the update.
double millisUntilTold(Sessions& sessions, Updates& updates, const std::string& command, std::size_t items,
                       OperStatus::oper_status_enum status) {
   const auto began = Clock::now();
   std::thread operation([&] { sessions.console().run(command); });
   const auto message = updates.next();
   const std::chrono::duration<double, std::milli> took = Clock::now() - began;
   operation.join();
   if (static_cast<std::size_t>(message.bulk_size()) != items + 1 || !message.bulk().rbegin()->bulk_end() ||
       message.bulk(0).oper_status().status() != status) {
      throw std::runtime_error("'" + command + "' was not followed by one update of all sessions");
   }
   return took.count();
}

}  // namespace

void measureSbfdSessions(const Setup& setup, Report& report) {
   constexpr std::size_t count = 5000;
   constexpr std::size_t ports = 64;
   Sessions sessions(setup, count, ports, true);
   Updates updates(sessions.stub());
   std::atomic<std::uint64_t> rtts{0};
   std::atomic<std::uint64_t> changes{0};
   std::thread reader([&] {
      Message message;
      while (updates.read(message)) {
         const bool rtt = message.bulk_size() != 0 && message.bulk(0).has_rtt();
         (rtt ? rtts : changes) += static_cast<std::uint64_t>(message.bulk_size());
      }
   });
   std::vector<double> shares;
   std::vector<double> packets;
   for (int round = 0; round < setup.rounds; ++round) {
      const auto sentBefore = sessions.sent();
      const auto before = runSecondsOf(sessions.daemon().pid());
      const auto began = Clock::now();
      std::this_thread::sleep_for(std::chrono::duration<double>(std::max(setup.seconds, 1.0)));
      const std::chrono::duration<double> took = Clock::now() - began;
      shares.push_back((runSecondsOf(sessions.daemon().pid()) - before) / took.count());
      packets.push_back(static_cast<double>(sessions.sent() - sentBefore) / took.count());
   }
   const auto down = count - sessions.up();
   updates.cancel();
   reader.join();
   char note[200];
   std::snprintf(note, sizeof note,
                 "share of a core, %zu sessions at %u ms x %u, RTT on, one reader; %.0f probes/s, %llu RTT "
                 "items, %zu sessions down, %llu status items",
                 count, intervalMillis, multiplier, median(packets),
                 static_cast<unsigned long long>(rtts.load()), down,
                 static_cast<unsigned long long>(changes.load()));
   report.add(Figure{.key = "sbfd_sessions",
                     .ours = median(shares),
                     .floor = std::nullopt,
                     .unit = "cores",
                     .target = Target{.kind = Target::Kind::oursAtMost, .value = 0.5},
                     .note = note});
}

void measureSbfdAliveLatency(const Setup& setup, Report& report) {
   constexpr std::size_t count = 1000;
   Sessions sessions(setup, count, 1, false);
   Updates updates(sessions.stub());
   std::vector<double> millis;
   for (int round = 0; round < 5 * setup.rounds; ++round) {
      millis.push_back(millisUntilTold(sessions, updates, "set link Ethernet1 down", count,
                                       OperStatus::SBFD_OPER_STATUS_DOWN));
      // The link is up again before the sessions themselves time out.
      millisUntilTold(sessions, updates, "set link Ethernet1 up", count, OperStatus::SBFD_OPER_STATUS_UP);
   }
   char note[160];
   std::snprintf(
        note, sizeof note,
        "median from the console's command to the reader, %zu tracked sessions on the link; worst of "
        "%zu %.1f ms",
        count, millis.size(), *std::max_element(millis.begin(), millis.end()));
   report.add(Figure{.key = "sbfd_alive_latency_ms",
                     .ours = median(millis),
                     .floor = std::nullopt,
                     .unit = "ms",
                     .target = Target{.kind = Target::Kind::oursAtMost, .value = 20},
                     .note = note});
}

}  // namespace bench
