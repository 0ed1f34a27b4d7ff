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
namespace WatchCommands {

using google::protobuf::Message;
using google::protobuf::MessageFactory;

std::string footer(const WatchRpc& rpc) {
   return fmt::format(
        "One line per event. Lines that begin with # are comments: {}.\n"
        "Ends with 0 on SIGINT or SIGTERM, after --count events, and when --timeout is over; with 1 when the "
        "server refuses the watch, 3 when it goes away, 4 when this reader was too slow: watch again then.",
        rpc.snapshot ? "the present state is complete and changes follow"
        : rpc.field  ? "the watch is active (--ack), or the dump is complete and changes follow (--fields)"
                     : "the watch is active (--ack)");
}

struct Flags {
   WatchChoice choice;
   bool all = false;
   // 0: no limit.
   uint64_t count = 0;
};

class Printer {
public:
   // `dumps`: the server first dumps the current state, and acknowledges the end of the dump.
   Printer(Context& context, const Flags& flags, bool dumps)
        : context_(context), flags_(flags), dumps_(dumps) {}

   // RETURNS: false if the watch should end.
   bool print(const Message& reply) {
      if (isAcknowledgement(reply)) {
         const char* words = dumps_ ? "# complete, changes follow" : "# watching";
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
   const bool dumps_;
   uint64_t events_ = 0;
};

// RETURNS: the name of the option that selects one object.
const char* selector(const WatchRpc& rpc) {
   return rpc.name ? "name" : rpc.label ? "label" : "intf";
}

std::string& selected(const WatchRpc& rpc, WatchChoice& choice) {
   return rpc.name ? choice.name : rpc.label ? choice.label : choice.intf;
}

// RETURNS: the command that reads the state of one object.
std::string reading(const WatchRpc& rpc, const std::string& name) {
   if (rpc.label) return fmt::format("orvctl {} get {}", rpc.word, name);
   return fmt::format("orvctl {} show {}", rpc.word, name);
}

// The server continues a dump only after a write, and writes nothing for objects that are not selected. The
// entry of the selected object may therefore wait for its next event.
void tellThatADumpMayWait(Context& context, const WatchRpc& rpc, const std::string& name) {
   context.err << fmt::format(
        "orvctl: watch {}: the current state of {} may come only with its next event; "
        "'{}' shows it at once\n",
        rpc.word, name, reading(rpc, name));
}

int watch(Context& context, const WatchRpc& rpc, const Flags& flags) {
   const auto request = watchRequest(rpc, flags.choice);
   const bool dumps = asksForDump(rpc, *request);
   WatchChoice choice = flags.choice;
   const std::string one = selected(rpc, choice);
   if (dumps && !one.empty()) tellThatADumpMayWait(context, rpc, one);
   Printer printer(context, flags, dumps);
   return runWatch(context, rpc, *request, [&](const Message& reply) { return printer.print(reply); });
}

void checkSelection(const WatchRpc& rpc, const Flags& flags) {
   const int chosen =
        flags.all + !flags.choice.name.empty() + !flags.choice.intf.empty() + !flags.choice.label.empty();
   if (chosen <= 1) return;
   throw UsageError(fmt::format("--all is given with --{}, expected one or the other", selector(rpc)));
}

// Adds the option that selects one object. No event has an empty name, so an empty name is refused.
void addSelector(CLI::App& command, const WatchRpc& rpc, std::string& name) {
   const std::string option = fmt::format("--{}", selector(rpc));
   command
        .add_option_function<std::string>(
             option,
             [&name, &rpc, option](const std::string& text) {
                if (text.empty())
                   throw UsageError(fmt::format("{} is '', expected the name of one {}", option, rpc.kind));
                name = text;
             },
             fmt::format("One {} alone; it need not exist yet", rpc.kind))
        ->type_name("NAME");
}

std::string fieldsHelp(const WatchRpc& rpc) {
   return fmt::format(
        "Dump these fields first; separate several with commas. Numbers are accepted, unknown ones are "
        "ignored. With --{} the dump may come only with the next event: '{}' shows it at once",
        selector(rpc), reading(rpc, "NAME"));
}

}  // namespace WatchCommands

int runWatch(Context& context, const WatchRpc& rpc, const google::protobuf::Message& request,
             const std::function<bool(const google::protobuf::Message& reply)>& each) {
   using namespace WatchCommands;
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
      bool enough = false;
      end = connection.stream(call, methodPath(*rpc.method), request, *reply, [&] {
         enough = !each(*reply);
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

void addWatchOf(CLI::App& parent, Context& context, const WatchRpc& rpc, const std::string& name) {
   using namespace WatchCommands;
   auto* command =
        parent.add_subcommand(name, fmt::format("{}/{}", rpc.method->service()->name(), rpc.method->name()));
   command->footer(footer(rpc));
   auto flags = std::make_shared<Flags>();
   if (rpc.all) {
      command->add_flag("--all", flags->all,
                        fmt::format("Every {}; the default without --{}", rpc.kind, selector(rpc)));
   }
   if (rpc.name || rpc.intf || rpc.label) addSelector(*command, rpc, selected(rpc, flags->choice));
   if (rpc.regex) {
      command
           ->add_option("--regex", flags->choice.regex,
                        "Interfaces whose whole name matches this regular expression (ECMAScript)")
           ->type_name("REGEX");
   }
   if (rpc.field) {
      command->add_option("--fields", flags->choice.fields, fieldsHelp(rpc))
           ->expected(1)
           ->take_all()
           ->type_name(enumWords(*rpc.field));
   }
   if (rpc.ack) command->add_flag("--ack", flags->choice.ack, "Report when the watch is active");
   addNumber(*command, "-n,--count", flags->count, 1, UINT64_MAX, "End after this many events");
   onChosen(context, *command, [&context, &rpc, flags] {
      checkSelection(rpc, *flags);
      return watch(context, rpc, *flags);
   });
}

void addWatchCommand(CLI::App& app, Context& context) {
   using namespace WatchCommands;
   auto* command = app.add_subcommand("watch", "Follow what happens on the switch, one line per event");
   command->require_subcommand(1);
   command->footer("'orvctl watch SERVICE --help' shows what each can select.");
   for (const WatchRpc& rpc : watchRpcs())
      addWatchOf(*command, context, rpc, rpc.word);
}

}  // namespace orvctl
