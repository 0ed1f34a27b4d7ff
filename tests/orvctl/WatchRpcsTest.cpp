#include "orvctl/WatchRpcs.h"

#include <gtest/gtest.h>

#include "OrvSdkRpcProtos/services.h"
#include "orvctl/Descriptors.h"
#include "orvctl/ExitCode.h"
#include "orvctl/JsonText.h"

namespace orvctl {
namespace {

std::string requestJson(const std::string& word, const WatchChoice& choice) {
   return messageToJson(*watchRequest(watchRpc(word), choice));
}

TEST(WatchRpcs, everyWatchThatDeliversSomething) {
   std::vector<std::string> words;
   for (const auto& watch : watchRpcs())
      words.push_back(watch.word);
   EXPECT_EQ(words, (std::vector<std::string>{"sbfd", "acl", "agent", "phy", "fib", "intf", "counters",
                                              "mpls", "mpls-acks", "nhg", "policy-map", "policy-counters"}));
}

TEST(WatchRpcs, noServerStreamWithWatchInItsNameIsMissing) {
   size_t streams = 0;
   for (const auto* service : OrvSdkRpc::pb::services()) {
      for (int i = 0; i < service->method_count(); ++i) {
         const std::string& name = service->method(i)->name();
         streams += name.find("watch") != std::string::npos || name.find("stream") != std::string::npos
                         ? service->method(i)->server_streaming()
                         : 0;
      }
   }
   // The alive watch has a command of its own.
   EXPECT_EQ(watchRpcs().size(), streams - 1);
}

TEST(WatchRpcs, whatCanBeSelected) {
   EXPECT_TRUE(watchRpc("intf").all && watchRpc("intf").intf && watchRpc("intf").field);
   EXPECT_FALSE(watchRpc("intf").name);
   EXPECT_TRUE(watchRpc("nhg").all && watchRpc("nhg").name && watchRpc("nhg").field);
   EXPECT_TRUE(watchRpc("phy").all && watchRpc("phy").intf);
   EXPECT_FALSE(watchRpc("phy").field);
   EXPECT_TRUE(watchRpc("counters").regex);
   EXPECT_TRUE(watchRpc("mpls").all && watchRpc("mpls").label && watchRpc("mpls").field);
   EXPECT_FALSE(watchRpc("mpls-acks").all || watchRpc("mpls-acks").label);
   EXPECT_FALSE(watchRpc("acl").all || watchRpc("acl").name || watchRpc("acl").field);
   EXPECT_FALSE(watchRpc("fib").all || watchRpc("fib").name || watchRpc("fib").field);
   // A snapshot ends with an empty response, so it needs no acknowledgement.
   for (const auto& watch : watchRpcs())
      EXPECT_EQ(watch.ack == nullptr, watch.snapshot) << watch.word;
   EXPECT_TRUE(watchRpc("policy-counters").snapshot);
}

TEST(WatchRpcs, whatCanBeSelectedHasAWordOfItsKind) {
   EXPECT_EQ(watchRpc("intf").kind, "interface");
   EXPECT_EQ(watchRpc("phy").kind, "physical interface");
   EXPECT_EQ(watchRpc("nhg").kind, "next-hop group");
   for (const auto& watch : watchRpcs()) {
      const bool one = watch.name || watch.intf || watch.label;
      EXPECT_EQ(watch.kind.empty(), !one) << watch.word;
      EXPECT_EQ(watch.all != nullptr, one) << watch.word;
   }
}

TEST(WatchRpcs, onlyAKnownFieldAsksForADump) {
   const auto asks = [](const std::string& word, const WatchChoice& choice) {
      return asksForDump(watchRpc(word), *watchRequest(watchRpc(word), choice));
   };
   for (const char* fields : {"0", "3", "9,3", "all", "oper_status"})
      EXPECT_TRUE(asks("intf", {.fields = {fields}})) << fields;
   for (const char* fields : {"4", "9,77"})
      EXPECT_FALSE(asks("intf", {.fields = {fields}})) << fields;
   EXPECT_TRUE(asks("nhg", {.fields = {"5"}}));
   EXPECT_FALSE(asks("nhg", {.fields = {"6"}}));
   EXPECT_FALSE(asks("intf", {.ack = true}));
   EXPECT_FALSE(asks("acl", {.ack = true}));
   EXPECT_TRUE(asks("policy-counters", {}));
}

TEST(WatchRpcs, nothingChosenIsEverything) {
   EXPECT_EQ(requestJson("intf", {}), R"({"ack":false,"all":true})");
   EXPECT_EQ(requestJson("acl", {}), R"({"ack":false})");
   EXPECT_EQ(requestJson("counters", {}), R"({"intf_name_regex":"","first_message":false})");
}

TEST(WatchRpcs, theChoiceIsInTheRequest) {
   EXPECT_EQ(requestJson("intf", {.intf = "Ethernet1", .fields = {"oper_status,3", "admin-enabled"}}),
             R"({"intf":{"name":"Ethernet1"},"fields_control":{"fields":["INTF_FIELD_OPER_STATUS",)"
             R"("INTF_FIELD_DESCRIPTION","INTF_FIELD_ADMIN_ENABLED"]},"ack":false})");
   EXPECT_EQ(requestJson("nhg", {.name = "g1", .ack = true}), R"({"ack":true,"name":"g1"})");
   EXPECT_EQ(requestJson("nhg", {.fields = {"77"}}),
             R"({"fields_control":{"fields":[77]},"ack":false,"all":true})");
   EXPECT_EQ(requestJson("mpls", {.label = "1048575", .fields = {"vias"}}),
             R"({"route_key":{"labels":[{"label":1048575}],"metric":0},)"
             R"("fields_control":{"fields":["MPLS_ROUTE_FIELD_VIAS"]},"ack":false})");
   EXPECT_EQ(requestJson("mpls", {}), R"({"ack":false,"all":true})");
   EXPECT_EQ(requestJson("mpls-acks", {.ack = true}), R"({"ack":true})");
   EXPECT_EQ(requestJson("counters", {.regex = "Ethernet.*", .ack = true}),
             R"({"intf_name_regex":"Ethernet.*","first_message":true})");
   EXPECT_EQ(requestJson("sbfd", {.ack = true}),
             R"({"send_initial_message":true,"send_current_status":false})");
}

TEST(WatchRpcs, aFieldThatIsNoneIsRefused) {
   EXPECT_THROW(watchRequest(watchRpc("intf"), {.fields = {"speed"}}), UsageError);
   EXPECT_THROW(watchRequest(watchRpc("intf"), {.fields = {"all,"}}), UsageError);
   for (const char* label : {"1048576", "-1", "x"})
      EXPECT_THROW(watchRequest(watchRpc("mpls"), {.label = label}), UsageError) << label;
}

}  // namespace
}  // namespace orvctl
