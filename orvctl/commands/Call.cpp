#include <fmt/format.h>
#include <google/protobuf/dynamic_message.h>

#include <fstream>
#include <memory>
#include <sstream>

#include "orvctl/Descriptors.h"
#include "orvctl/InBand.h"
#include "orvctl/JsonText.h"
#include "orvctl/commands/Commands.h"

namespace orvctl {
namespace CallCommands {

using google::protobuf::Message;
using google::protobuf::MessageFactory;

std::string slurp(std::istream& source) {
   std::ostringstream text;
   text << source.rdbuf();
   return text.str();
}

std::string requestText(Context& context, const std::string& data, const std::string& dataFile) {
   if (!data.empty() && !dataFile.empty())
      throw UsageError("--data-file is given with JSON, expected one or the other");
   if (data == "-" || dataFile == "-") return slurp(context.in);
   if (dataFile.empty()) return data.empty() ? "{}" : data;
   std::ifstream file(dataFile);
   if (!file) throw UsageError(fmt::format("--data-file is '{}', expected a readable file", dataFile));
   return slurp(file);
}

std::unique_ptr<Message> makeMessage(const google::protobuf::Descriptor& type) {
   return std::unique_ptr<Message>(MessageFactory::generated_factory()->GetPrototype(&type)->New());
}

int call(Context& context, const std::string& name, const std::string& json) {
   const auto& method = findMethod(name);
   if (method.client_streaming()) {
      throw UsageError(fmt::format("the RPC is '{}', expected one without a stream of requests", name));
   }
   auto request = makeMessage(*method.input_type());
   auto reply = makeMessage(*method.output_type());
   messageFromJson("JSON", json, *request);
   auto connection = context.connect();
   if (!method.server_streaming()) {
      connection.require(method.name(), connection.unary(methodPath(method), *request, *reply));
      context.out << messageToJson(*reply) << '\n';
      return hasInBandFailure(*reply) ? kRefused : kOk;
   }
   bool failed = false;
   const auto each = [&] {
      context.out << messageToJson(*reply) << std::endl;
      failed = failed || hasInBandFailure(*reply);
      return context.out.good();
   };
   const auto status = connection.stream(methodPath(method), *request, *reply, each, context.timeoutGiven);
   const bool timeIsUp = context.timeoutGiven && status.error_code() == grpc::StatusCode::DEADLINE_EXCEEDED;
   if (!timeIsUp) connection.require(method.name(), status);
   return failed ? kRefused : kOk;
}

}  // namespace CallCommands

void addCallCommand(CLI::App& app, Context& context) {
   using namespace CallCommands;
   auto* command =
        app.add_subcommand("call", "Call any RPC with a JSON request; a stream prints one JSON per line");
   struct Flags {
      std::string name, data, dataFile;
   };
   auto flags = std::make_shared<Flags>();
   command->footer(
        "Addresses and prefixes may be text: {\"prefix\":\"192.0.2.0/24\"}. The exit code is 1 where the "
        "call is refused or the reply holds a failure.");
   command
        ->add_option("rpc", flags->name,
                     "SERVICE/METHOD, or METHOD of the programming service or where only one has it")
        ->required()
        ->type_name("RPC");
   command->add_option("json", flags->data, "Request; - for stdin, nothing for an empty one")
        ->type_name("JSON");
   command->add_option("-f,--data-file", flags->dataFile, "File that holds the request; - for stdin")
        ->type_name("FILE");
   onChosen(context, *command, [&context, flags] {
      return call(context, flags->name, requestText(context, flags->data, flags->dataFile));
   });
}

}  // namespace orvctl
