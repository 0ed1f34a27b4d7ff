#include "OrvSdkRpc/programming/OpaqueProgrammer.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "orv/error.h"
#include "orv/lock.h"
#include "testing/server/Contract.h"
#include "testing/server/TraceCapture.h"
#include "testing/server/WatchedLock.h"

namespace OrvSdkRpc {
namespace {

using testing::_;
using testing::InSequence;
using testing::Return;
using testing::Throw;

class OpaqueProgrammerTest : public testing::Test {
protected:
   pb::rpc_status_msg set(const pb::rpc_server_state_config_msg& request) {
      pb::rpc_status_msg response;
      opaque_.processOpaqueStateSetRequest(request, response);
      return response;
   }
   pb::rpc_server_state_status_msg get(std::initializer_list<const char*> keys) {
      pb::rpc_server_state_status_msg request;
      for (const char* key : keys)
         request.add_key_value_pairs()->set_key(key);
      pb::rpc_server_state_status_msg response;
      opaque_.processOpaqueStateGetRequest(request, response);
      return response;
   }
   static void add(pb::rpc_server_state_config_msg& request, const char* key, const char* value) {
      auto& pair = *request.add_key_value_pairs();
      pair.set_key(key);
      pair.set_value(value);
   }

   orvtest::Contract contract_;
   testing::NiceMock<orvtest::MockAgentMgr>& mgr_ = contract_.host.agentMgr;
   OpaqueProgrammer opaque_{contract_.client, &mgr_};
};

TEST_F(OpaqueProgrammerTest, beforeInitAGetIsServedAndASetIsNot) {
   EXPECT_CALL(mgr_, status_set(_, _)).Times(0);
   EXPECT_CALL(mgr_, status("note")).WillOnce(Return("kept"));
   const auto pairs = get({"note"});
   ASSERT_EQ(pairs.key_value_pairs_size(), 1);
   EXPECT_EQ(pairs.key_value_pairs(0).key(), "note");
   EXPECT_EQ(pairs.key_value_pairs(0).value(), "kept");
   pb::rpc_server_state_config_msg request;
   add(request, "a", "b");
   const auto response = set(request);
   EXPECT_EQ(response.status(), pb::RPC_STATUS_NOT_INITIALIZED);
   EXPECT_TRUE(response.debug_string().starts_with("Error: no prior rpc_server_init call, request "));
}

TEST_F(OpaqueProgrammerTest, setsRunBeforeDeletesInOrder) {
   contract_.init();
   pb::rpc_server_state_config_msg request;
   add(request, "b", "1");
   add(request, "a", "2");
   request.add_deletes()->set_key("b");
   request.mutable_deletes(0)->set_value("not read");
   orvtest::TraceCapture traces("OrvSdkRpc/1");
   {
      InSequence order;
      EXPECT_CALL(mgr_, status_set("b", "1"));
      EXPECT_CALL(mgr_, status_set("a", "2"));
      EXPECT_CALL(mgr_, status_del("b"));
   }
   const auto response = set(request);
   EXPECT_EQ(response.status(), pb::RPC_STATUS_OK);
   EXPECT_EQ(response.debug_string(), "");
   EXPECT_EQ(traces.texts(),
             (std::vector<std::string>{"Opaque set for 2 key/value pairs and 1 deletes",
                                       "Opaque set key='b' value='1'", "Opaque set key='a' value='2'",
                                       "Opaque del key='b'"}));
}

TEST_F(OpaqueProgrammerTest, anEmptySetIsDone) {
   contract_.init();
   EXPECT_EQ(set({}).status(), pb::RPC_STATUS_OK);
}

TEST_F(OpaqueProgrammerTest, anErrorStopsASetAndWhatWasSetStays) {
   contract_.init();
   pb::rpc_server_state_config_msg request;
   add(request, "a", "1");
   add(request, "b", "2");
   add(request, "c", "3");
   request.add_deletes()->set_key("a");
   EXPECT_CALL(mgr_, status_set("a", "1"));
   EXPECT_CALL(mgr_, status_set("b", "2")).WillOnce(Throw(orv::error("full")));
   EXPECT_CALL(mgr_, status_set("c", _)).Times(0);
   EXPECT_CALL(mgr_, status_del(_)).Times(0);
   orvtest::TraceCapture traces("OrvSdkRpc/0");
   const auto response = set(request);
   EXPECT_EQ(response.status(), pb::RPC_STATUS_ERROR);
   EXPECT_TRUE(response.debug_string().starts_with("Error: request key_value_pairs {"));
   EXPECT_TRUE(response.debug_string().ends_with("exception full"));
   EXPECT_EQ(traces.count(response.debug_string()), 1U);
}

TEST_F(OpaqueProgrammerTest, anUnsetKeyHasAnEmptyValue) {
   orvtest::TraceCapture traces("OrvSdkRpc/1");
   const auto pairs = get({"unset", ""});
   ASSERT_EQ(pairs.key_value_pairs_size(), 2);
   EXPECT_EQ(pairs.key_value_pairs(0).key(), "unset");
   EXPECT_EQ(pairs.key_value_pairs(0).value(), "");
   EXPECT_EQ(traces.count("Opaque get for 2 keys"), 1U);
   EXPECT_EQ(traces.count("Opaque get key='unset' value=''"), 1U);
}

TEST_F(OpaqueProgrammerTest, anErrorCutsAGetShortAndIsOnlyTraced) {
   EXPECT_CALL(mgr_, status("a")).WillOnce(Return("1"));
   EXPECT_CALL(mgr_, status("b")).WillOnce(Throw(orv::error("gone")));
   EXPECT_CALL(mgr_, status("c")).Times(0);
   orvtest::TraceCapture traces("OrvSdkRpc/0");
   const auto pairs = get({"a", "b", "c"});
   ASSERT_EQ(pairs.key_value_pairs_size(), 1);
   EXPECT_EQ(pairs.key_value_pairs(0).value(), "1");
   ASSERT_EQ(traces.texts().size(), 1U);
   EXPECT_TRUE(traces.texts()[0].starts_with("Error: request key_value_pairs {"));
   EXPECT_TRUE(traces.texts()[0].ends_with("exception gone"));
}

// A few kilobytes of equal keys would otherwise ask for more than there is.
TEST_F(OpaqueProgrammerTest, aGetEndsInFrontOfThePairThatIsTooMuch) {
   constexpr int mebibyte = 1 << 20;
   EXPECT_CALL(mgr_, status(_)).Times(65).WillRepeatedly([](const std::string&) {
      return std::string(mebibyte - 3, 'v');
   });
   pb::rpc_server_state_status_msg request;
   for (int i = 0; i < 200; ++i)
      request.add_key_value_pairs()->set_key("key");
   pb::rpc_server_state_status_msg response;
   orvtest::TraceCapture traces("OrvSdkRpc/0");
   opaque_.processOpaqueStateGetRequest(request, response);
   EXPECT_EQ(response.key_value_pairs_size(), 64);
   ASSERT_EQ(traces.texts().size(), 1U);
   EXPECT_TRUE(traces.texts()[0].ends_with("exception the reply has room for 67108864 bytes"))
        << traces.texts()[0];
}

// So that a kill finds all of a request in the switch or nothing of it.
TEST_F(OpaqueProgrammerTest, oneLockSpansARequest) {
   contract_.init();
   orvtest::WatchedLock lock;
   pb::rpc_server_state_config_msg request;
   add(request, "a", "1");
   add(request, "b", "2");
   request.add_deletes()->set_key("c");
   std::vector<int> seen;
   const auto see = [&] { seen.push_back(orv::detail::this_thread_lock.depth == 1 ? lock.taken() : -1); };
   ON_CALL(mgr_, status_set(_, _)).WillByDefault([&](const auto&, const auto&) { see(); });
   ON_CALL(mgr_, status_del(_)).WillByDefault([&](const auto&) { see(); });
   ON_CALL(mgr_, status(_)).WillByDefault([&](const auto&) {
      see();
      return std::string();
   });
   EXPECT_EQ(set(request).status(), pb::RPC_STATUS_OK);
   EXPECT_EQ(orv::detail::this_thread_lock.depth, 0U);
   get({"a", "b"});
   EXPECT_EQ(orv::detail::this_thread_lock.depth, 0U);
   EXPECT_EQ(seen, (std::vector<int>{1, 1, 1, 2, 2}));
}

TEST_F(OpaqueProgrammerTest, thePolicyMapsNameOfInitIsAmongTheNotes) {
   std::map<std::string, std::string> statuses;
   ON_CALL(mgr_, status_set(_, _)).WillByDefault([&](const std::string& key, const std::string& value) {
      statuses[key] = value;
   });
   ON_CALL(mgr_, status(_)).WillByDefault([&](const std::string& key) { return statuses[key]; });
   contract_.init(0, "redirects");
   EXPECT_EQ(get({"OrvSdkRpc-cbfNexthopGroupRedirectPolicyMapName"}).key_value_pairs(0).value(), "redirects");
}

}  // namespace
}  // namespace OrvSdkRpc
