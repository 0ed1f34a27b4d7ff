#include "orvctl/commands/Watch.h"

#include <fmt/format.h>

#include <atomic>
#include <memory>

#include "orvctl/Descriptors.h"
#include "orvctl/EnumWords.h"
#include "orvctl/EventText.h"
#include "orvctl/JsonText.h"
#include "orvctl/StopSignal.h"
#include "orvctl/commands/Commands.h"

namespace orvctl {
namespace {

using google::protobuf::Message;
using google::protobuf::MessageFactory;

constexpr const char* kFooter =
     "One line per event. A line that begins with # is none: it tells that the watch stands (--ack), or that "
     "all that was there has been shown and changes follow (--fields).\n"
     "Ends with 0 on SIGINT or SIGTERM, after --count events, and when --timeout is over; with 1 when the "
     "server refuses the watch, 3 when it goes away, 4 when this reader was too slow: watch again then.";

struct Flags {
   WatchChoice choice;
   bool all = false;
   // 0: no end.
   uint64_t count = 0;
};

class Printer {
public:
   Printer(Context& context, const Flags& flags) : context_(context), flags_(flags) {}

   // False when there is nothing left to do.
   bool print(const Message& reply) {
      if (isAcknowledgement(reply)) {
         const char* words = flags_.choice.fields.empty() ? "# watching" : "# complete, changes follow";
         context_.out << (context_.json ? messageToJson(reply) : words) << std::endl;
         return context_.out.good();
      }
      const bool goOn = forEachEvent(reply, [this](const Message& event) {
         context_.out << (context_.json ? messageToJson(event) : eventText(event)) << '\n';
         return ++events_ != flags_.count && context_.out.good();
      });
      context_.out.flush();
      return goOn && context_.out.good();
   }

private:
   Context& context_;
   const Flags& flags_;
   uint64_t events_ = 0;
};

int watch(Context& context, const WatchRpc& rpc, const Flags& flags) {
   const auto request = watchRequest(rpc, flags.choice);
   const std::unique_ptr<Message> reply(
        MessageFactory::generated_factory()->GetPrototype(rpc.method->output_type())->New());
   auto connection = context.connect();
   grpc::ClientContext call;
   if (context.timeoutGiven) connection.prepare(call);
   std::atomic<bool> stopped{false};
   grpc::Status end;
   {
      const StopSignal stop([&] {
         stopped = true;
         call.TryCancel();
      });
      Printer printer(context, flags);
      bool enough = false;
      end = connection.stream(call, methodPath(*rpc.method), *request, *reply, [&] {
         enough = !printer.print(*reply);
         return !enough;
      });
      if (enough || stopped) return kOk;
   }
   if (context.timeoutGiven && end.error_code() == grpc::StatusCode::DEADLINE_EXCEEDED) return kOk;
   const std::string what = "watch " + rpc.word;
   if (end.error_code() == grpc::StatusCode::RESOURCE_EXHAUSTED) {
      context.err << fmt::format("orvctl: {}: {} closed it: {}\n", what, context.target().text(),
                                 end.error_message());
      return kTooSlow;
   }
   connection.require(what, end);
   throw CallError(fmt::format("{}: {} ended it", what, context.target().text()));
}

void checkSelection(const WatchRpc& rpc, const Flags& flags) {
   const int chosen = flags.all + !flags.choice.name.empty() + !flags.choice.intf.empty();
   if (chosen <= 1) return;
   throw UsageError(
        fmt::format("--all stands beside --{}, expected one or the other", rpc.name ? "name" : "intf"));
}

std::string selectionHelp(const WatchRpc& rpc) {
   if (rpc.name) return "Every " + rpc.word + "; so it is without --name";
   if (rpc.intf) return "Every interface; so it is without --intf";
   return "Everything";
}

}  // namespace

void addWatchOf(CLI::App& parent, Context& context, const WatchRpc& rpc, const std::string& name) {
   auto* command =
        parent.add_subcommand(name, fmt::format("{}/{}", rpc.method->service()->name(), rpc.method->name()));
   command->footer(kFooter);
   auto flags = std::make_shared<Flags>();
   if (rpc.all) command->add_flag("--all", flags->all, selectionHelp(rpc));
   if (rpc.name) {
      command->add_option("--name", flags->choice.name, "One alone; it need not exist yet")
           ->type_name("NAME");
   }
   if (rpc.intf) {
      command->add_option("--intf", flags->choice.intf, "One interface alone; it need not exist yet")
           ->type_name("NAME");
   }
   if (rpc.regex) {
      command
           ->add_option("--regex", flags->choice.regex,
                        "Interfaces whose whole name matches this regular expression (ECMAScript)")
           ->type_name("REGEX");
   }
   if (rpc.field) {
      command
           ->add_option("--fields", flags->choice.fields,
                        "Show these of what is there first, several with commas; numbers are taken too")
           ->expected(1)
           ->take_all()
           ->type_name(enumWords(*rpc.field));
   }
   if (rpc.ack)
      command->add_flag("--ack", flags->choice.ack, "Tell when nothing will be missed from then on");
   addNumber(*command, "-n,--count", flags->count, 1, UINT64_MAX, "End after so many events");
   onChosen(context, *command, [&context, &rpc, flags] {
      checkSelection(rpc, *flags);
      return watch(context, rpc, *flags);
   });
}

void addWatchCommand(CLI::App& app, Context& context) {
   auto* command = app.add_subcommand("watch", "Follow what happens on the switch, one line per event");
   command->require_subcommand(1);
   command->footer("'orvctl watch SERVICE --help' tells what each can select.");
   for (const WatchRpc& rpc : watchRpcs())
      addWatchOf(*command, context, rpc, rpc.word);
}

}  // namespace orvctl
