// The commands class-map, policy-map and traffic-policy.
#include <fmt/format.h>

#include <map>
#include <memory>

#include "OrvSdkRpcProtos/class_map.pb.h"
#include "OrvSdkRpcProtos/policy_map.pb.h"
#include "orvctl/Definitions.h"
#include "orvctl/EnumWords.h"
#include "orvctl/JsonText.h"
#include "orvctl/Mirror.h"
#include "orvctl/PolicyText.h"
#include "orvctl/Rows.h"
#include "orvctl/commands/Commands.h"
#include "orvctl/commands/Watch.h"

namespace orvctl {
namespace rpc = orv::remote;

namespace PolicyCommands {

struct Flags {
   std::vector<std::string> names;
   // Empty: the command's default.
   std::string feature;
   std::string file, name, intf, side;
   bool remove = false;
};

rpc::PolicyFeature parseFeature(const std::string& text) {
   return static_cast<rpc::PolicyFeature>(parseEnum("--feature", text, *rpc::PolicyFeature_descriptor()));
}

rpc::PolicyMapKey keyOf(const Flags& flags, const std::string& name) {
   rpc::PolicyMapKey key;
   key.set_name(name);
   key.set_feature(flags.feature.empty() ? rpc::POLICY_FEATURE_PBR : parseFeature(flags.feature));
   return key;
}

// RETURNS: the features to list: the one given, or else all.
std::vector<rpc::PolicyFeature> featuresOf(const Flags& flags) {
   if (!flags.feature.empty()) return {parseFeature(flags.feature)};
   std::vector<rpc::PolicyFeature> features;
   const auto& type = *rpc::PolicyFeature_descriptor();
   for (int i = 0; i < type.value_count(); ++i) {
      const auto feature = static_cast<rpc::PolicyFeature>(type.value(i)->number());
      if (feature != rpc::POLICY_FEATURE_NONE) features.push_back(feature);
   }
   return features;
}

// What differs between the three kinds: their messages and RPCs, and what names one of them.

// Names one by name and feature.
struct KeyedByFeature {
   template <typename Request>
   static void select(Request& request, const Flags& flags, const std::string& name) {
      *request.mutable_key() = keyOf(flags, name);
   }
   template <typename Map>
   static std::string nameOf(const Map& map) {
      return map.key().name();
   }
   template <typename Map>
   static std::string headOf(const Map& map) {
      return fmt::format("{}: {}", map.key().name(), enumWord(map.key().feature()));
   }
};

struct ClassMaps : KeyedByFeature {
   using Map = rpc::ClassMap;
   using GetRequest = rpc::ClassMapRequest;
   using GetReply = rpc::ClassMapResponse;
   using ListRequest = rpc::ClassMapsRequest;
   using ListReply = rpc::ClassMapsResponse;
   using SetRequest = rpc::BulkClassMapIsRequest;
   using SetReply = rpc::BulkClassMapIsResponse;
   using DelRequest = rpc::BulkClassMapDelRequest;
   using DelReply = rpc::BulkClassMapDelResponse;
   static constexpr const char* kind = "class map";
   static constexpr const char* get = "ClassMapMgrService/class_map";
   static constexpr const char* list = "ClassMapMgrService/class_maps";
   static constexpr const char* set = "ClassMapMgrService/bulk_class_map_is";
   static constexpr const char* del = "ClassMapMgrService/bulk_class_map_del";
   static const Map& of(const GetReply& reply) { return reply.class_map(); }
   static Map& add(SetRequest& request) { return *request.add_requests()->mutable_class_map(); }
};

struct PolicyMaps : KeyedByFeature {
   using Map = rpc::PolicyMap;
   using GetRequest = rpc::PolicyMapRequest;
   using GetReply = rpc::PolicyMapResponse;
   using ListRequest = rpc::PolicyMapsRequest;
   using ListReply = rpc::PolicyMapsResponse;
   using SetRequest = rpc::BulkPolicyMapIsRequest;
   using SetReply = rpc::BulkPolicyMapIsResponse;
   using DelRequest = rpc::BulkPolicyMapDelRequest;
   using DelReply = rpc::BulkPolicyMapDelResponse;
   static constexpr const char* kind = "policy map";
   static constexpr const char* get = "PolicyMapMgrService/policy_map";
   static constexpr const char* list = "PolicyMapMgrService/policy_maps";
   static constexpr const char* set = "PolicyMapMgrService/bulk_policy_map_is";
   static constexpr const char* del = "PolicyMapMgrService/bulk_policy_map_del";
   static const Map& of(const GetReply& reply) { return reply.policy_map(); }
   static Map& add(SetRequest& request) { return *request.add_requests()->mutable_policy_map(); }
};

struct TrafficPolicies {
   using Map = rpc::TrafficPolicy;
   using GetRequest = rpc::TrafficPolicyRequest;
   using GetReply = rpc::TrafficPolicyResponse;
   using SetRequest = rpc::BulkTrafficPolicyIsRequest;
   using SetReply = rpc::BulkTrafficPolicyIsResponse;
   using DelRequest = rpc::BulkTrafficPolicyDelRequest;
   using DelReply = rpc::BulkTrafficPolicyDelResponse;
   static constexpr const char* kind = "traffic policy";
   static constexpr const char* get = "PolicyMapMgrService/traffic_policy";
   static constexpr const char* set = "PolicyMapMgrService/bulk_traffic_policy_is";
   static constexpr const char* del = "PolicyMapMgrService/bulk_traffic_policy_del";
   static const Map& of(const GetReply& reply) { return reply.traffic_policy(); }
   static Map& add(SetRequest& request) { return *request.add_requests()->mutable_traffic_policy(); }
   template <typename Request>
   static void select(Request& request, const Flags&, const std::string& name) {
      request.set_name(name);
   }
   static std::string nameOf(const Map& map) { return map.key(); }
   static std::string headOf(const Map& map) {
      if (map.named_counters().empty()) return map.key();
      return fmt::format("{}: counters {}", map.key(), fmt::join(map.named_counters(), ", "));
   }
};

template <typename Kind>
int listMaps(Context& context, const Flags& flags) {
   const auto features = featuresOf(flags);
   auto connection = context.connect();
   Rows rows(context, {"name", "feature"});
   for (const auto feature : features) {
      typename Kind::ListRequest request;
      request.set_feature(feature);
      listMirror<typename Kind::ListReply>(
           context, connection, Kind::list, request, [&](const typename Kind::ListReply& reply) {
              return rows.add({{"name", reply.key().name()}, {"feature", enumWord(reply.key().feature())}});
           });
   }
   rows.finish();
   return kOk;
}

int listTrafficPolicies(Context& context) {
   auto connection = context.connect();
   Rows rows(context, {"name"});
   listMirror<rpc::TrafficPoliciesResponse>(context, connection, "PolicyMapMgrService/traffic_policies",
                                            rpc::TrafficPoliciesRequest(),
                                            [&](const rpc::TrafficPoliciesResponse& reply) {
                                               return rows.add({{"name", reply.key().name()}});
                                            });
   rows.finish();
   return kOk;
}

template <typename Map>
void printMap(Context& context, const std::string& head, const Map& map) {
   context.out << head << '\n';
   std::map<uint32_t, std::string> rules;
   for (const auto& [sequence, rule] : map.rules())
      rules.emplace(sequence, ruleText(rule));
   for (const auto& [sequence, text] : rules)
      context.out << fmt::format("  {}: {}\n", sequence, text);
}

template <typename Kind>
int show(Context& context, const Flags& flags) {
   std::vector<typename Kind::GetRequest> requests(flags.names.size());
   for (size_t i = 0; i < requests.size(); ++i)
      Kind::select(requests[i], flags, flags.names[i]);
   auto connection = context.connect();
   int code = kOk;
   for (size_t i = 0; i < requests.size(); ++i) {
      const std::string& name = flags.names[i];
      const auto reply = ask<typename Kind::GetReply>(connection, Kind::get, name, requests[i]);
      const auto& map = Kind::of(reply);
      if (Kind::nameOf(map).empty()) {
         context.err << fmt::format("{}: there is no such {}\n", name, Kind::kind);
         code = kRefused;
      } else if (context.json) {
         context.out << messageToJson(map) << '\n';
      } else {
         printMap(context, Kind::headOf(map), map);
      }
   }
   return code;
}

template <typename Kind>
int set(Context& context, const Flags& flags) {
   typename Kind::SetRequest request;
   std::vector<std::string> names;
   for (auto& definition : readDefinitions(context, "FILE", flags.file)) {
      auto& map = Kind::add(request);
      messageFromTree(definition.where, std::move(definition.tree), map);
      names.push_back(fmt::format("{} '{}' ({})", Kind::kind, Kind::nameOf(map), definition.where));
   }
   auto connection = context.connect();
   const auto reply = ask<typename Kind::SetReply>(connection, Kind::set, flags.file, request);
   return reportMirrorBulk(context, reply.status(), reply.count(), names.size(),
                           [&](uint64_t index) { return names[index]; });
}

template <typename Kind>
int del(Context& context, const Flags& flags) {
   typename Kind::DelRequest request;
   for (const auto& name : flags.names)
      Kind::select(*request.add_requests(), flags, name);
   auto connection = context.connect();
   const auto reply = ask<typename Kind::DelReply>(connection, Kind::del, "", request);
   return reportMirrorBulk(context, reply.status(), reply.count(), flags.names.size(), [&](uint64_t index) {
      return fmt::format("{} '{}'", Kind::kind, flags.names[index]);
   });
}

template <typename Request>
void placeIs(Request& request, const Flags& flags) {
   *request.mutable_intf_id() = intfId(flags.intf);
   request.set_apply(!flags.remove);
}

int applyPolicyMap(Context& context, const Flags& flags) {
   rpc::PolicyMapApplyRequest request;
   *request.mutable_key() = keyOf(flags, flags.name);
   placeIs(request, flags);
   request.set_direction(
        static_cast<rpc::AclDirection>(parseEnum("SIDE", flags.side, *rpc::AclDirection_descriptor())));
   auto connection = context.connect();
   ask<rpc::PolicyMapApplyResponse>(connection, "PolicyMapMgrService/policy_map_apply", flags.name, request);
   return kOk;
}

int applyTrafficPolicy(Context& context, const Flags& flags) {
   rpc::TrafficPolicyApplyRequest request;
   request.set_name(flags.name);
   placeIs(request, flags);
   request.set_direction(static_cast<rpc::TrafficPolicyDirection>(
        parseEnum("SIDE", flags.side, *rpc::TrafficPolicyDirection_descriptor())));
   auto connection = context.connect();
   ask<rpc::TrafficPolicyApplyResponse>(connection, "PolicyMapMgrService/traffic_policy_apply", flags.name,
                                        request);
   return kOk;
}

// RETURNS: the keys of those named, or else of all that have a hardware status.
std::vector<rpc::PolicyMapKey> keysWithStatus(Context& context, Connection& connection, const Flags& flags) {
   std::vector<rpc::PolicyMapKey> keys;
   for (const auto& name : flags.names)
      keys.push_back(keyOf(flags, name));
   if (!keys.empty()) return keys;
   for (const auto feature : featuresOf(flags)) {
      rpc::PolicyMapHwStatusesRequest request;
      request.set_feature(feature);
      listMirror<rpc::PolicyMapHwStatusesResponse>(context, connection,
                                                   "PolicyMapMgrService/policy_map_hw_statuses", request,
                                                   [&](const rpc::PolicyMapHwStatusesResponse& reply) {
                                                      keys.push_back(reply.key());
                                                      return true;
                                                   });
   }
   return keys;
}

int status(Context& context, const Flags& flags) {
   if (!flags.feature.empty()) parseFeature(flags.feature);
   auto connection = context.connect();
   Rows rows(context, {"name", "feature", "intf", "direction", "status"});
   for (const auto& key : keysWithStatus(context, connection, flags)) {
      rpc::PolicyMapHwStatusRequest request;
      *request.mutable_key() = key;
      const auto reply = ask<rpc::PolicyMapHwStatusResponse>(connection, "PolicyMapMgrService/hw_status",
                                                             key.name(), request);
      for (const auto& place : reply.statuses().intf_statuses()) {
         rows.add({{"name", key.name()},
                   {"feature", enumWord(key.feature())},
                   {"intf", place.key().intf_id().name()},
                   {"direction", enumWord(place.key().direction())},
                   {"status", enumWord(place.status())}});
      }
   }
   rows.finish();
   return kOk;
}

void addFeature(CLI::App& command, Flags& flags, const std::string& otherwise) {
   command.add_option("--feature", flags.feature, fmt::format("Feature that it belongs to [{}]", otherwise))
        ->type_name(enumWords(*rpc::PolicyFeature_descriptor()));
}

CLI::Option* addNames(CLI::App& command, Flags& flags) {
   return command.add_option("names", flags.names, "Names")->type_name("NAME");
}

// Adds show, set and del.
template <typename Kind>
void addEditing(CLI::App& command, Context& context, const std::shared_ptr<Flags>& flags, bool featured) {
   auto* showCommand = command.add_subcommand("show", "Rules of those given");
   addNames(*showCommand, *flags)->required();
   onChosen(context, *showCommand, [&context, flags] { return show<Kind>(context, *flags); });

   const std::string& message = Kind::Map::descriptor()->name();
   auto* setCommand = command.add_subcommand("set", "Set or replace those that a file defines");
   setCommand
        ->add_option("file", flags->file,
                     fmt::format("One {0} or a list of them, in JSON or YAML; - for stdin", message))
        ->required()
        ->type_name("FILE");
   setCommand->footer(fmt::format(
        "The fields are those of the message {0}, as in its JSON form and as "
        "'--json {1} show' prints them.\n"
        "A file that begins with {{ or [ is JSON, any other is YAML. Rules that a definition leaves "
        "out are removed.",
        message, command.get_name()));
   onChosen(context, *setCommand, [&context, flags] { return set<Kind>(context, *flags); });

   auto* delCommand = command.add_subcommand("del", "Delete those given");
   addNames(*delCommand, *flags)->required();
   onChosen(context, *delCommand, [&context, flags] { return del<Kind>(context, *flags); });

   if (!featured) return;
   addFeature(*showCommand, *flags, "pbr");
   addFeature(*delCommand, *flags, "pbr");
}

CLI::App* addApply(CLI::App& command, Flags& flags) {
   auto* applyCommand = command.add_subcommand("apply", "Apply it to an interface, or remove it from there");
   applyCommand->add_option("name", flags.name, "Name")->required()->type_name("NAME");
   applyCommand->add_option("intf", flags.intf, "Interface")->required()->type_name("INTF");
   applyCommand->add_option("side", flags.side, "Packets that enter or leave")
        ->required()
        ->type_name("in|out");
   applyCommand->add_flag("--remove", flags.remove, "Remove it");
   return applyCommand;
}

// Adds list for the kinds that have features.
template <typename Kind>
void addFeaturedList(CLI::App& command, Context& context, const std::shared_ptr<Flags>& flags) {
   auto* listCommand = command.add_subcommand("list", "Names and features");
   addFeature(*listCommand, *flags, "all");
   onChosen(context, *listCommand, [&context, flags] { return listMaps<Kind>(context, *flags); });
}

}  // namespace PolicyCommands

void addClassMapCommand(CLI::App& app, Context& context) {
   using namespace PolicyCommands;
   auto* command = app.add_subcommand("class-map", "Classes of packets, which policy maps refer to");
   command->require_subcommand(1);
   auto flags = std::make_shared<Flags>();
   addFeaturedList<ClassMaps>(*command, context, flags);
   addEditing<ClassMaps>(*command, context, flags, true);
}

void addPolicyMapCommand(CLI::App& app, Context& context) {
   using namespace PolicyCommands;
   auto* command = app.add_subcommand("policy-map", "What happens to classes of packets, and where");
   command->require_subcommand(1);
   auto flags = std::make_shared<Flags>();
   addFeaturedList<PolicyMaps>(*command, context, flags);
   addEditing<PolicyMaps>(*command, context, flags, true);

   auto* applyCommand = addApply(*command, *flags);
   addFeature(*applyCommand, *flags, "pbr");
   onChosen(context, *applyCommand, [&context, flags] { return applyPolicyMap(context, *flags); });

   auto* statusCommand = command->add_subcommand(
        "status", "How hardware has them on each interface, of all or of those given");
   addNames(*statusCommand, *flags);
   addFeature(*statusCommand, *flags, "all, or pbr with NAME");
   onChosen(context, *statusCommand, [&context, flags] { return status(context, *flags); });

   addWatchOf(*command, context, watchRpc("policy-map"), "watch");
}

void addTrafficPolicyCommand(CLI::App& app, Context& context) {
   using namespace PolicyCommands;
   auto* command = app.add_subcommand("traffic-policy", "Traffic policies: matches and actions in one list");
   command->require_subcommand(1);
   auto flags = std::make_shared<Flags>();
   auto* listCommand = command->add_subcommand("list", "Names");
   onChosen(context, *listCommand, [&context] { return listTrafficPolicies(context); });
   addEditing<TrafficPolicies>(*command, context, flags, false);
   auto* applyCommand = addApply(*command, *flags);
   onChosen(context, *applyCommand, [&context, flags] { return applyTrafficPolicy(context, *flags); });
}

}  // namespace orvctl
