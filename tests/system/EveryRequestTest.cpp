// Random requests of every RPC, by the descriptors, to a daemon: it answers each in words, stays alive, and
// what it has stored it can read again.
#include <google/protobuf/descriptor.h>
#include <google/protobuf/message.h>
#include <grpcpp/grpcpp.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <memory>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "OrvSdkRpcProtos/services.h"
#include "orvctl/Connection.h"
#include "orvctl/Descriptors.h"
#include "orvctl/Target.h"
#include "testing/base/TempDir.h"
#include "testing/process/Console.h"
#include "testing/process/Daemon.h"
#include "testing/process/DurableState.h"

namespace orvtest {
namespace {

using google::protobuf::Descriptor;
using google::protobuf::EnumValueDescriptor;
using google::protobuf::FieldDescriptor;
using google::protobuf::Message;
using google::protobuf::MessageFactory;
using google::protobuf::MethodDescriptor;
using google::protobuf::Reflection;

std::unique_ptr<Message> messageOf(const Descriptor& type) {
   return std::unique_ptr<Message>(MessageFactory::generated_factory()->GetPrototype(&type)->New());
}

// Fills messages with values that often mean something to the switch, and now and then with nonsense. It
// leaves out the inputs of docs/decisions/what-a-client-can-end.md.
class RequestSource {
public:
   explicit RequestSource(std::uint32_t seed) : random_(seed) {}

   void fill(Message& message, int depth = 0) {
      const Reflection& reflection = *message.GetReflection();
      const Descriptor& type = *message.GetDescriptor();
      for (int i = 0; i < type.field_count(); ++i) {
         const FieldDescriptor& field = *type.field(i);
         // A field that is left out has a default, which is worth as much as a value.
         if (oneIn(5)) continue;
         if (!field.is_repeated()) {
            fillOne(message, reflection, field, depth);
            continue;
         }
         for (std::uint32_t element = below(4); element > 0; --element)
            addOne(message, reflection, field, depth);
      }
   }

private:
   // Messages do not nest as deep.
   static constexpr int deepest = 8;

   std::uint32_t below(std::size_t limit) { return random_() % static_cast<std::uint32_t>(limit); }
   bool oneIn(std::uint32_t count) { return below(count) == 0; }
   template <class Values>
   auto anyOf(const Values& values) {
      return values[below(values.size())];
   }
   static bool ofProgramming(const FieldDescriptor& field) {
      return field.file()->package() == "OrvSdkRpc.pb";
   }

   std::uint64_t number(const FieldDescriptor& field) {
      // So many entries of a group are the same one. Thousands of them only cost time.
      if (field.name() == "weight") return below(20);
      static constexpr std::array<std::uint64_t, 8> common{1, 2, 4, 8, 16, 24, 32, 100};
      static constexpr std::array<std::uint64_t, 14> edges{
           0,      3,         63,        64,        128,           255,        256,
           65'535, 1'048'575, 1'048'576, 1'000'000, 4'294'967'295, 2147483648, 18'446'744'073'709'551'615U};
      return oneIn(4) ? anyOf(edges) : anyOf(common);
   }
   std::string text(const FieldDescriptor& field) {
      // The switch keeps the redirects of the programming service under this name, and nobody else's map.
      if (field.name() == "cbf_nexthop_group_redirect_policy_map_name") return oneIn(2) ? "" : "redirects";
      if (field.name().find("regex") != std::string::npos) {
         static const std::array<std::string, 5> regexes{"", ".*", "Ethernet[12]", "(", "a{2,1}"};
         return anyOf(regexes);
      }
      static const std::array<std::string, 10> names{"a",       "b",   "c",   "Ethernet1", "Ethernet2",
                                                     "default", "all", "red", "",          "Loopback0"};
      if (!ofProgramming(field) && oneIn(20)) return std::string(300, 'n');
      return anyOf(names);
   }
   std::string bytes() {
      static const std::array<std::string, 9> addresses{
           std::string("\x0a\0\0\0", 4),
           std::string("\x0a\0\x01\x02", 4),
           std::string("\xc0\0\x02\x01", 4),
           std::string("\x20\x01\x0d\xb8", 4) + std::string(12, '\0'),
           std::string("\x02\0\0\0\0\x01", 6),
           std::string(4, '\0'),
           std::string(16, '\xff'),
           "12345",
           ""};
      return anyOf(addresses);
   }
   int enumeration(const FieldDescriptor& field) {
      const auto& type = *field.enum_type();
      if (!ofProgramming(field) && oneIn(15)) return oneIn(2) ? 99 : -1;
      return type.value(static_cast<int>(below(static_cast<std::size_t>(type.value_count()))))->number();
   }

   void fillOne(Message& message, const Reflection& reflection, const FieldDescriptor& field, int depth) {
      switch (field.cpp_type()) {
         case FieldDescriptor::CPPTYPE_INT32:
            return reflection.SetInt32(&message, &field, static_cast<std::int32_t>(number(field)));
         case FieldDescriptor::CPPTYPE_INT64:
            return reflection.SetInt64(&message, &field, static_cast<std::int64_t>(number(field)));
         case FieldDescriptor::CPPTYPE_UINT32:
            return reflection.SetUInt32(&message, &field, static_cast<std::uint32_t>(number(field)));
         case FieldDescriptor::CPPTYPE_UINT64:
            return reflection.SetUInt64(&message, &field, number(field));
         case FieldDescriptor::CPPTYPE_DOUBLE:
            return reflection.SetDouble(&message, &field, static_cast<double>(number(field)));
         case FieldDescriptor::CPPTYPE_FLOAT:
            return reflection.SetFloat(&message, &field, static_cast<float>(number(field)));
         case FieldDescriptor::CPPTYPE_BOOL:
            return reflection.SetBool(&message, &field, oneIn(2));
         case FieldDescriptor::CPPTYPE_ENUM:
            return reflection.SetEnumValue(&message, &field, enumeration(field));
         case FieldDescriptor::CPPTYPE_STRING:
            return reflection.SetString(&message, &field,
                                        field.type() == FieldDescriptor::TYPE_BYTES ? bytes() : text(field));
         case FieldDescriptor::CPPTYPE_MESSAGE:
            if (depth < deepest) fill(*reflection.MutableMessage(&message, &field), depth + 1);
      }
   }
   void addOne(Message& message, const Reflection& reflection, const FieldDescriptor& field, int depth) {
      switch (field.cpp_type()) {
         case FieldDescriptor::CPPTYPE_INT32:
            return reflection.AddInt32(&message, &field, static_cast<std::int32_t>(number(field)));
         case FieldDescriptor::CPPTYPE_UINT32:
            return reflection.AddUInt32(&message, &field, static_cast<std::uint32_t>(number(field)));
         case FieldDescriptor::CPPTYPE_UINT64:
            return reflection.AddUInt64(&message, &field, number(field));
         case FieldDescriptor::CPPTYPE_ENUM:
            return reflection.AddEnumValue(&message, &field, enumeration(field));
         case FieldDescriptor::CPPTYPE_STRING:
            return reflection.AddString(&message, &field,
                                        field.type() == FieldDescriptor::TYPE_BYTES ? bytes() : text(field));
         case FieldDescriptor::CPPTYPE_MESSAGE:
            if (depth < deepest) fill(*reflection.AddMessage(&message, &field), depth + 1);
            return;
         default:
            FAIL() << field.full_name() << " is of a type that no list had";
      }
   }

   std::mt19937 random_;
};

class EveryRequest : public testing::TestWithParam<std::uint32_t> {
protected:
   EveryRequest() {
      daemon_.start();
      connect();
      for (const auto* service : OrvSdkRpc::pb::services()) {
         for (int i = 0; i < service->method_count(); ++i) {
            // The alive watch says nothing until the server ends.
            if (service->method(i)->name() != "watch_rpc_server_alive")
               methods_.push_back(service->method(i));
         }
      }
   }
   void connect() {
      connection_ = std::make_unique<orvctl::Connection>(
           orvctl::parseTarget("daemon", "unix:" + daemon_.socketPath()), 30);
   }

   // Makes a watch answer at once, so that it need not be waited for. A dump of one object may come only with
   // the object's next event.
   static void askForAnswer(Message& request) {
      const Reflection& reflection = *request.GetReflection();
      const auto* const all = request.GetDescriptor()->FindFieldByName("all");
      const auto* const dump = request.GetDescriptor()->FindFieldByName("fields_control");
      if (all != nullptr && dump != nullptr && !reflection.GetBool(request, all))
         reflection.ClearField(&request, dump);
      for (const char* name : {"ack", "first_message", "send_initial_message"}) {
         const auto* const field = request.GetDescriptor()->FindFieldByName(name);
         if (field != nullptr) reflection.SetBool(&request, field, true);
      }
   }
   grpc::Status send(const MethodDescriptor& method, Message& request) {
      const auto response = messageOf(*method.output_type());
      if (!method.server_streaming())
         return connection_->unary(orvctl::methodPath(method), request, *response);
      askForAnswer(request);
      const bool watches =
           method.name().find("watch") != std::string::npos || method.name().ends_with("_stream");
      return connection_->stream(
           orvctl::methodPath(method), request, *response, [&] { return !watches; }, true);
   }
   std::string state() {
      Console console(daemon_.consolePath());
      return durableState(console);
   }

   TempDir directory_{"orv-every-"};
   Daemon daemon_{programPath("orvsdkrpcd"), directory_.path(), {"--fib"}};
   std::unique_ptr<orvctl::Connection> connection_;
   std::vector<const MethodDescriptor*> methods_;
};

TEST_P(EveryRequest, isAnsweredAndLeavesADaemonThatCanReadWhatItStored) {
   // What the handlers say; none of these is the transport's or that of an exception without words.
   const std::set<grpc::StatusCode> answers{
        grpc::StatusCode::OK,           grpc::StatusCode::INVALID_ARGUMENT,
        grpc::StatusCode::OUT_OF_RANGE, grpc::StatusCode::INTERNAL,
        grpc::StatusCode::NOT_FOUND,    grpc::StatusCode::FAILED_PRECONDITION,
        grpc::StatusCode::UNIMPLEMENTED};
   RequestSource source(GetParam());
   std::mt19937 order(GetParam());
   std::size_t done = 0;
   constexpr std::size_t callsPerMethod = 25;
   for (std::size_t call = 0; call < callsPerMethod * methods_.size(); ++call) {
      const MethodDescriptor& method = *methods_[order() % methods_.size()];
      const auto request = messageOf(*method.input_type());
      source.fill(*request);
      const grpc::Status status = send(method, *request);
      ASSERT_TRUE(daemon_.child().running())
           << method.full_name() << " " << request->ShortDebugString() << "\n"
           << daemon_.child().log();
      ASSERT_TRUE(answers.contains(status.error_code()))
           << method.full_name() << " " << request->ShortDebugString() << ": " << status.error_code() << " "
           << status.error_message();
      EXPECT_EQ(status.ok(), status.error_message().empty()) << method.full_name();
      done += status.ok() ? 1 : 0;
   }
   EXPECT_GT(done, methods_.size()) << "hardly a request means something to the switch";
   const std::string before = state();
   daemon_.kill();
   daemon_.start();
   EXPECT_EQ(state(), before);
}

INSTANTIATE_TEST_SUITE_P(Seed, EveryRequest, testing::Values(1U, 2U, 3U));

}  // namespace
}  // namespace orvtest
