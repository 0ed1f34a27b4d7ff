#include "orvctl/WatchRpcs.h"

#include <map>
#include <stdexcept>

#include "OrvSdkRpcProtos/services.h"
#include "OrvSdkRpcProtos/types.pb.h"
#include "orvctl/Descriptors.h"
#include "orvctl/EnumWords.h"
#include "orvctl/Values.h"

namespace orvctl {
namespace {

using google::protobuf::Descriptor;
using google::protobuf::FieldDescriptor;
using google::protobuf::Message;
using google::protobuf::MessageFactory;
using google::protobuf::MethodDescriptor;

bool isWatch(const MethodDescriptor& method) {
   if (!method.server_streaming() || method.name() == "watch_rpc_server_alive") return false;
   return method.name().starts_with("watch") || method.name().ends_with("_stream");
}

struct Words {
   std::string word;
   std::string kind;
};

// The words that the console and the other commands use; an RPC without one uses its own name.
Words wordsOf(const MethodDescriptor& method) {
   static const std::map<std::string, Words> words = {
        {"orv.remote.AclMgrService.watch", {"acl", ""}},
        {"orv.remote.AgentService.watch", {"agent", ""}},
        {"orv.remote.EthPhyIntfMgrService.watch", {"phy", "physical interface"}},
        {"orv.remote.FibMgrService.watch", {"fib", ""}},
        {"orv.remote.IntfMgrService.watch", {"intf", "interface"}},
        {"orv.remote.IntfCounterMgrService.intf_traffic_rates_stream", {"counters", ""}},
        {"orv.remote.MplsRouteMgrService.watch", {"mpls", "label"}},
        {"orv.remote.MplsRouteMgrService.watch_mpls_integrated", {"mpls-acks", ""}},
        {"orv.remote.NexthopGroupMgrService.watch", {"nhg", "next-hop group"}},
        {"orv.remote.PolicyMapMgrService.watch", {"policy-map", ""}},
        {"orv.remote.PolicyMapCountersService.watch_policy_map_counters", {"policy-counters", ""}},
        {"OrvSdkRpc.pb.orvsdk_service.watch_sbfd_echo_session_status_msgs", {"sbfd", ""}},
   };
   const auto known = words.find(method.full_name());
   if (known != words.end()) return known->second;
   const std::string name = method.service()->name() + "/" + method.name();
   return {name, name};
}

const FieldDescriptor* fieldOf(const Descriptor& type, std::initializer_list<const char*> names) {
   for (const char* name : names) {
      if (const FieldDescriptor* field = type.FindFieldByName(name)) return field;
   }
   return nullptr;
}

WatchRpc describe(const MethodDescriptor& method) {
   const Descriptor& request = *method.input_type();
   Words words = wordsOf(method);
   WatchRpc watch{.word = std::move(words.word),
                  .kind = std::move(words.kind),
                  .method = &method,
                  .all = fieldOf(request, {"all"}),
                  .name = fieldOf(request, {"name"}),
                  .intf = fieldOf(request, {"intf"}),
                  .label = fieldOf(request, {"route_key"}),
                  .regex = fieldOf(request, {"intf_name_regex"}),
                  .fieldsControl = fieldOf(request, {"fields_control"}),
                  .ack = fieldOf(request, {"ack", "first_message", "send_initial_message"}),
                  .snapshot = fieldOf(request, {"compress_keys"}) != nullptr};
   if (watch.label && watch.label->message_type() != orv::remote::MplsRouteKey::descriptor())
      watch.label = nullptr;
   if (watch.fieldsControl) {
      watch.field = watch.fieldsControl->message_type()->FindFieldByName("fields")->enum_type();
   }
   return watch;
}

// Calls `each` with every comma-separated part of the words.
template <typename Each>
void forEachPart(const std::vector<std::string>& words, Each each) {
   for (const std::string& word : words) {
      for (size_t from = 0; from <= word.size();) {
         const size_t end = std::min(word.find(',', from), word.size());
         each(word.substr(from, end - from));
         from = end + 1;
      }
   }
}

}  // namespace

const std::vector<WatchRpc>& watchRpcs() {
   static const std::vector<WatchRpc> all = [] {
      std::vector<WatchRpc> found;
      for (const auto* service : OrvSdkRpc::pb::services()) {
         for (int i = 0; i < service->method_count(); ++i) {
            if (isWatch(*service->method(i))) found.push_back(describe(*service->method(i)));
         }
      }
      return found;
   }();
   return all;
}

const WatchRpc& watchRpc(const std::string& word) {
   for (const WatchRpc& watch : watchRpcs()) {
      if (watch.word == word) return watch;
   }
   throw std::logic_error("no watch is called " + word);
}

std::unique_ptr<Message> watchRequest(const WatchRpc& watch, const WatchChoice& choice) {
   std::unique_ptr<Message> request(
        MessageFactory::generated_factory()->GetPrototype(watch.method->input_type())->New());
   const auto& reflection = *request->GetReflection();
   if (watch.name && !choice.name.empty()) {
      reflection.SetString(request.get(), watch.name, choice.name);
   } else if (watch.intf && !choice.intf.empty()) {
      Message* intf = reflection.MutableMessage(request.get(), watch.intf);
      intf->GetReflection()->SetString(intf, intf->GetDescriptor()->FindFieldByName("name"), choice.intf);
   } else if (watch.label && !choice.label.empty()) {
      constexpr std::uint64_t labelMax = 0xfffff;
      orv::remote::MplsRouteKey key;
      key.add_labels()->set_label(
           static_cast<std::uint32_t>(parseNumber("--label", choice.label, 0, labelMax)));
      reflection.MutableMessage(request.get(), watch.label)->CopyFrom(key);
   } else if (watch.all) {
      reflection.SetBool(request.get(), watch.all, true);
   }
   if (watch.regex) reflection.SetString(request.get(), watch.regex, choice.regex);
   if (watch.ack && choice.ack) reflection.SetBool(request.get(), watch.ack, true);
   if (watch.fieldsControl && !choice.fields.empty()) {
      Message* control = reflection.MutableMessage(request.get(), watch.fieldsControl);
      const FieldDescriptor* fields = control->GetDescriptor()->FindFieldByName("fields");
      forEachPart(choice.fields, [&](const std::string& part) {
         control->GetReflection()->AddEnumValue(control, fields, parseEnum("--fields", part, *watch.field));
      });
   }
   return request;
}

bool asksForDump(const WatchRpc& watch, const Message& request) {
   if (watch.snapshot) return true;
   if (!watch.fieldsControl) return false;
   const Message& control = request.GetReflection()->GetMessage(request, watch.fieldsControl);
   const FieldDescriptor* fields = control.GetDescriptor()->FindFieldByName("fields");
   for (int i = 0; i < control.GetReflection()->FieldSize(control, fields); ++i) {
      const int number = control.GetReflection()->GetRepeatedEnumValue(control, fields, i);
      if (watch.field->FindValueByNumber(number)) return true;
   }
   return false;
}

}  // namespace orvctl
