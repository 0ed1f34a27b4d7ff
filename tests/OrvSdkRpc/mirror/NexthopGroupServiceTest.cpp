#include "OrvSdkRpc/mirror/NexthopGroupService.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <initializer_list>
#include <memory>
#include <optional>
#include <regex>
#include <string>
#include <vector>

#include "PanicCapture.h"
#include "orv/error.h"
#include "testing/base/Eventually.h"
#include "testing/mock/MockNexthopGroupMgr.h"
#include "testing/sdk/Iterators.h"
#include "testing/server/MainLoop.h"
#include "testing/server/MirrorFixture.h"

namespace OrvSdkRpc {
namespace {

namespace remote = orv::remote;
using orvtest::iterOver;
using testing::An;
using testing::InSequence;
using testing::Property;
using testing::Return;
using testing::Throw;
using HwState = orv::nexthop_group_programmed_hw_state_t;
using CounterState = orv::nexthop_group_counter_state_t;
using ProgrammedIter = orv::programmed_nexthop_group_iter_t;

orv::nexthop_group_t group(const std::string& name, std::uint16_t version = 0) {
   orv::nexthop_group_t made(name, orv::nexthop_group_encap_t::mpls);
   made.nexthop_set(3, orv::nexthop_group_entry_t(orv::ip_addr_t("10.0.0.3")));
   made.version_id_is(version);
   return made;
}
auto named(const std::string& name) {
   return Property(&orv::nexthop_group_t::name, name);
}
template <class Rq>
Rq ofGroup(const std::string& name) {
   Rq request;
   request.set_name(name);
   return request;
}
remote::NexthopGroupSetRequest groupSet(const std::string& name, std::optional<std::uint32_t> version = {}) {
   remote::NexthopGroupSetRequest request;
   request.mutable_nexthop_group()->set_name(name);
   request.mutable_nexthop_group()->set_type(remote::NEXTHOP_GROUP_ENCAP_TYPES_MPLS);
   if (version) request.set_version_id(*version);
   return request;
}

class NexthopGroupServiceTest
     : public MainLoop,
       public orvtest::MirrorFixture<NexthopGroupService, remote::NexthopGroupMgrService,
                                     orvtest::MockNexthopGroupMgr> {
protected:
   ~NexthopGroupServiceTest() override {
      running_.stop();
      const orv::sdk_scoped_lock lock;
      running_.destroy();
   }

   static remote::WatchNexthopGroupRequest withFields(remote::WatchNexthopGroupRequest request,
                                                      const std::vector<int>& fields) {
      for (const int field : fields)
         request.mutable_fields_control()->add_fields(static_cast<remote::NexthopGroupField>(field));
      return request;
   }
   static remote::WatchNexthopGroupRequest all(const std::vector<int>& fields = {}, bool value = true) {
      remote::WatchNexthopGroupRequest request;
      request.set_all(value);
      return withFields(request, fields);
   }
   static remote::WatchNexthopGroupRequest one(const std::string& name, const std::vector<int>& fields = {}) {
      return withFields(ofGroup<remote::WatchNexthopGroupRequest>(name), fields);
   }
   void activeIs(const std::string& name, bool active) {
      callBack([&](auto& handler) { handler.on_nexthop_group_active(name, active); });
   }
   void programmed(const std::string& name, std::uint16_t version, HwState hw = HwState::success,
                   CounterState counter = CounterState::success) {
      callBack([&](auto& handler) { handler.on_nexthop_group_programmed(name, version, {hw, counter}); });
   }

   // What hardware has: groups of version 7, active, programmed with success and without counters.
   void hardwareHas(std::vector<std::string> names) {
      EXPECT_CALL(mgr_, programmed_nexthop_group_iter()).WillRepeatedly([names] {
         EXPECT_TRUE(locked());
         return iterOver<ProgrammedIter>(names);
      });
      EXPECT_CALL(mgr_, programmed_nexthop_group).WillRepeatedly([](const std::string& name) {
         EXPECT_TRUE(locked());
         return group(name, 7);
      });
      EXPECT_CALL(mgr_, active(An<const std::string&>())).WillRepeatedly(Return(true));
      EXPECT_CALL(mgr_, get_nexthop_group_programmed_hw_state).WillRepeatedly(Return(HwState::success));
      EXPECT_CALL(mgr_, counter_state).WillRepeatedly(Return(CounterState::failure));
   }
   // A message in short form: "a active=1 programmed version=7 group hw=1/2", "ack".
   static std::string shown(const std::optional<remote::WatchNexthopGroupResponse>& response) {
      if (!response) return "end";
      if (response->ack()) return "ack";
      std::string text = response->name();
      if (response->active_status_present_case() == remote::WatchNexthopGroupResponse::kActive) {
         text += response->active() ? " active=1" : " active=0";
      }
      if (response->nhg_programmed()) text += " programmed";
      if (response->version_id() != 0) text += " version=" + std::to_string(response->version_id());
      if (response->has_nexthop_group()) {
         text += " group " + std::to_string(response->nexthop_group().nexthops_size());
      }
      if (response->has_on_nexthop_group_programmed()) {
         const auto& status = response->on_nexthop_group_programmed();
         text += " hw=" + std::to_string(status.hw_state()) + "/" + std::to_string(status.counter_state());
      }
      return text;
   }

   std::vector<std::string> countedGroups(const remote::NexthopGroupCountersRequest& request) {
      std::vector<std::string> names;
      for (const auto& response : list(&Stub::nhg_counters, request))
         names.push_back(response.name() + " " + std::to_string(response.counters_size()));
      return names;
   }
};

using Names = std::vector<std::string>;

TEST_F(NexthopGroupServiceTest, whatAGroupIsReadsAsTheSwitchSaysIt) {
   EXPECT_CALL(mgr_, active("g")).WillOnce([](const std::string&) {
      EXPECT_TRUE(locked());
      return true;
   });
   EXPECT_TRUE(ok(&Stub::active, ofGroup<remote::NexthopGroupActiveRequest>("g")).active());
   EXPECT_CALL(mgr_, exists("g")).WillOnce(Return(true)).WillOnce(Return(false));
   EXPECT_TRUE(ok(&Stub::exists, ofGroup<remote::NexthopGroupExistsRequest>("g")).exists());
   EXPECT_FALSE(ok(&Stub::exists, ofGroup<remote::NexthopGroupExistsRequest>("g")).exists());
   EXPECT_CALL(mgr_, nexthop_group("g")).WillOnce(Return(group("g", 5)));
   const auto configured = ok(&Stub::nexthop_group, ofGroup<remote::NexthopGroupRequest>("g"));
   EXPECT_EQ(configured.nexthop_group().name(), "g");
   EXPECT_EQ(configured.nexthop_group().version_id(), 5U);
   EXPECT_EQ(configured.nexthop_group().nexthops().count(3), 1U);
   EXPECT_CALL(mgr_, programmed_nexthop_group("g")).WillOnce(Return(group("g", 4)));
   EXPECT_EQ(ok(&Stub::programmed_nexthop_group, ofGroup<remote::ProgrammedNexthopGroupRequest>("g"))
                  .nexthop_group()
                  .version_id(),
             4U);
}

TEST_F(NexthopGroupServiceTest, theSwitchChoosesAVersionWhereNoneIsNamed) {
   EXPECT_CALL(mgr_, nexthop_group_set(named("g"), An<std::uint16_t&>()))
        .WillOnce([](const orv::nexthop_group_t&, std::uint16_t& version) {
           EXPECT_TRUE(locked());
           EXPECT_EQ(version, 0U);
           version = 65535;
        })
        .WillOnce(Return());
   EXPECT_EQ(ok(&Stub::nexthop_group_set, groupSet("g")).version_id(), 65535U);
   EXPECT_EQ(ok(&Stub::nexthop_group_set, groupSet("g")).version_id(), 0U);
}

TEST_F(NexthopGroupServiceTest, backupsReachTheSwitchAndAreNotReadBack) {
   auto request = groupSet("g");
   auto& wire = *request.mutable_nexthop_group();
   (*wire.mutable_nexthops())[3].set_child_nexthop_group("first");
   (*wire.mutable_backup_nexthops())[3].set_child_nexthop_group("second");
   orv::nexthop_group_t kept;
   EXPECT_CALL(mgr_, nexthop_group_set(named("g"), An<std::uint16_t&>()))
        .WillOnce([&](const orv::nexthop_group_t& group, std::uint16_t&) { kept = group; });
   ok(&Stub::nexthop_group_set, request);
   ASSERT_EQ(kept.backup_nexthops().size(), 1U);
   EXPECT_CALL(mgr_, nexthop_group("g")).WillOnce(Return(kept));
   const auto read = ok(&Stub::nexthop_group, ofGroup<remote::NexthopGroupRequest>("g")).nexthop_group();
   EXPECT_EQ(read.nexthops_size(), 1);
   EXPECT_EQ(read.backup_nexthops_size(), 0);
}

TEST_F(NexthopGroupServiceTest, aNamedVersionGoesWithTheGroupAndIsNotAnswered) {
   EXPECT_CALL(mgr_, nexthop_group_set_with_version_id(named("g"), 1));
   EXPECT_CALL(mgr_, nexthop_group_set_with_version_id(named("g"), 65535));
   EXPECT_EQ(ok(&Stub::nexthop_group_set, groupSet("g", 1)).version_id(), 0U);
   EXPECT_EQ(ok(&Stub::nexthop_group_set, groupSet("g", 65535)).version_id(), 0U);
}

TEST_F(NexthopGroupServiceTest, aVersionOutOfRangeIsReportedAsAPanicBeforeAnythingChanges) {
   // The mock is strict.
   const std::string words = "version_id is out of range, expected 1 to 65535";
   const PanicCapture panics;
   for (const std::uint32_t version : {0U, 65536U, 4294967295U})
      fails(&Stub::nexthop_group_set, groupSet("g", version), grpc::StatusCode::OUT_OF_RANGE, words);
   // The group is not even checked.
   auto request = groupSet("g", 0);
   request.mutable_nexthop_group()->set_source_ip("123");
   fails(&Stub::nexthop_group_set, request, grpc::StatusCode::OUT_OF_RANGE, words);
   EXPECT_EQ(panics.words, Names(4, words));
}

TEST_F(NexthopGroupServiceTest, aBadGroupNeverReachesTheSwitch) {
   auto request = groupSet("g");
   request.mutable_nexthop_group()->set_source_ip("123");
   fails(&Stub::nexthop_group_set, request, grpc::StatusCode::INVALID_ARGUMENT,
         "bytes length 3 does not match IPv4(4) or IPv6(16)");
   request.set_version_id(1);
   fails(&Stub::nexthop_group_set, request, grpc::StatusCode::INVALID_ARGUMENT,
         "bytes length 3 does not match IPv4(4) or IPv6(16)");
}

TEST_F(NexthopGroupServiceTest, aBulkSetDoesWhatTheUnaryFormDoesUpToTheFirstFailure) {
   const InSequence order;
   EXPECT_CALL(mgr_, nexthop_group_set(named("one"), An<std::uint16_t&>()));
   EXPECT_CALL(mgr_, nexthop_group_set_with_version_id(named("two"), 9));
   remote::BulkNexthopGroupSetRequest bulk;
   *bulk.add_requests() = groupSet("one");
   *bulk.add_requests() = groupSet("two", 9);
   *bulk.add_requests() = groupSet("three", 65536);
   *bulk.add_requests() = groupSet("four");
   const auto response = ok(&Stub::bulk_nexthop_group_set, bulk);
   EXPECT_EQ(response.count(), 2U);
   EXPECT_EQ(response.status().code(), remote::RPC_RESPONSE_STATUS_CODE_INVALID_RANGE);
   EXPECT_EQ(response.status().message(), "version_id is out of range, expected 1 to 65535");
}

TEST_F(NexthopGroupServiceTest, groupsAreDeletedOneOrMany) {
   const InSequence order;
   EXPECT_CALL(mgr_, nexthop_group_del("g"));
   ok(&Stub::nexthop_group_del, ofGroup<remote::NexthopGroupDelRequest>("g"));
   EXPECT_CALL(mgr_, nexthop_group_del("one"));
   EXPECT_CALL(mgr_, nexthop_group_del("two")).WillOnce(Throw(orv::error("in use")));
   remote::BulkNexthopGroupDelRequest bulk;
   for (const char* name : {"one", "two", "three"})
      bulk.add_requests()->set_name(name);
   const auto response = ok(&Stub::bulk_nexthop_group_del, bulk);
   EXPECT_EQ(response.count(), 1U);
   EXPECT_EQ(response.status().message(), "in use");
}

TEST_F(NexthopGroupServiceTest, aCounterIsAskedForByTheLowHalfOfTheEntryAndDoesNotNameIt) {
   EXPECT_CALL(mgr_, counter("g", 5)).WillOnce(Return(orv::nexthop_group_entry_counter_t(10, 20, true)));
   auto request = ofGroup<remote::CounterRequest>("g");
   request.set_entry(0x10005);
   const auto counter = ok(&Stub::counter, request).counter();
   EXPECT_EQ(counter.packets(), 10U);
   EXPECT_EQ(counter.bytes(), 20U);
   EXPECT_TRUE(counter.valid());
   EXPECT_EQ(counter.entry(), 0U);
}

TEST_F(NexthopGroupServiceTest, groupsAreListed) {
   EXPECT_CALL(mgr_, nexthop_group_iter())
        .WillOnce(Return(iterOver<orv::nexthop_group_iter_t>({group("a", 1), group("b", 2)})));
   const auto groups = list(&Stub::nexthop_groups, remote::NexthopGroupsRequest());
   ASSERT_EQ(groups.size(), 2U);
   EXPECT_EQ(groups[0].nexthop_group().name(), "a");
   EXPECT_EQ(groups[1].nexthop_group().version_id(), 2U);

   EXPECT_CALL(mgr_, programmed_nexthop_group_iter()).WillOnce(Return(iterOver<ProgrammedIter>({"a", "c"})));
   const auto programmed = list(&Stub::programmed_nexthop_groups, remote::ProgrammedNexthopGroupsRequest());
   ASSERT_EQ(programmed.size(), 2U);
   EXPECT_EQ(programmed[0].name(), "a");
   EXPECT_EQ(programmed[1].name(), "c");
}

TEST_F(NexthopGroupServiceTest, aReplayIsTheSwitchesBusiness) {
   const InSequence order;
   EXPECT_CALL(mgr_, resync_init());
   EXPECT_CALL(mgr_, resync_complete()).WillOnce(Return()).WillOnce(Throw(orv::error("not begun")));
   ok(&Stub::resync_init, remote::ResyncNexthopGroupInitRequest());
   ok(&Stub::resync_complete, remote::ResyncNexthopGroupCompleteRequest());
   fails(&Stub::resync_complete, remote::ResyncNexthopGroupCompleteRequest(), grpc::StatusCode::INTERNAL,
         "not begun");
}

// ---------------------------------------------------------------- counters of whole groups

TEST_F(NexthopGroupServiceTest, countersOfAllGroupsByAnExpressionOrByName) {
   hardwareHas({"ab", "abc", "abcd", "b"});
   EXPECT_CALL(mgr_, counter(An<const std::string&>(), 3))
        .WillRepeatedly([](const std::string&, std::uint16_t) {
           EXPECT_TRUE(locked());
           return orv::nexthop_group_entry_counter_t(10, 20, true);
        });
   remote::NexthopGroupCountersRequest request;
   request.set_all(true);
   EXPECT_EQ(countedGroups(request), (Names{"ab 1", "abc 1", "abcd 1", "b 1"}));
   request.set_regex("abc");
   EXPECT_EQ(countedGroups(request), Names{"abc 1"});
   request.set_regex("abc?|b");
   EXPECT_EQ(countedGroups(request), (Names{"ab 1", "abc 1", "b 1"}));
   request.set_regex("nothing like it");
   EXPECT_EQ(countedGroups(request), Names{});
   request.set_name("abc");
   EXPECT_EQ(countedGroups(request), Names{"abc 1"});
   request.set_name("a.c");
   const auto responses = list(&Stub::nhg_counters, request);
   ASSERT_EQ(responses.size(), 1U) << "a name is no expression";
   EXPECT_EQ(responses[0].counters(0).entry(), 3U);
   EXPECT_EQ(responses[0].counters(0).packets(), 10U);
   EXPECT_EQ(responses[0].counters(0).bytes(), 20U);
   EXPECT_TRUE(responses[0].counters(0).valid());
}

TEST_F(NexthopGroupServiceTest, countersOfNothingAreNoMessages) {
   // The mock is strict: the manager is not called.
   remote::NexthopGroupCountersRequest request;
   EXPECT_EQ(countedGroups(request), Names{});
   request.set_all(false);
   EXPECT_EQ(countedGroups(request), Names{});
   request.set_name("");
   EXPECT_EQ(countedGroups(request), Names{});
   request.set_regex("");
   EXPECT_EQ(countedGroups(request), Names{});
}

// An endless list of groups, none of which was asked for.
class EndlessIter final : public ProgrammedIter::impl_type {
public:
   explicit EndlessIter(std::shared_ptr<const int> alive) : alive_(std::move(alive)) {}

   bool next(std::string& name) override {
      name = "group";
      return true;
   }
   std::unique_ptr<orv::iter_impl<std::string>> clone() const override {
      return std::make_unique<EndlessIter>(*this);
   }

private:
   const std::shared_ptr<const int> alive_;
};

class SearchTest : public NexthopGroupServiceTest {
protected:
   using Client = orvtest::StreamClient<remote::NexthopGroupCountersResponse>;

   // Opens a list call that has begun to search.
   std::unique_ptr<Client> search() {
      auto alive = std::make_shared<const int>();
      searching_ = alive;
      std::atomic<bool> begun = false;
      EXPECT_CALL(mgr_, programmed_nexthop_group_iter()).WillOnce([&, alive] {
         begun = true;
         return ProgrammedIter(std::make_unique<EndlessIter>(alive));
      });
      alive.reset();
      remote::NexthopGroupCountersRequest request;
      request.set_regex("something else");
      auto client = std::make_unique<Client>(*stub_, &Stub::nhg_counters, request);
      EXPECT_TRUE(orvtest::eventually([&] { return begun.load(); }));
      testing::Mock::VerifyAndClearExpectations(&mgr_);
      return client;
   }
   [[nodiscard]] bool over() const { return searching_.expired(); }

private:
   std::weak_ptr<const int> searching_;
};

TEST_F(SearchTest, aSearchLeavesThePumpToOthers) {
   const auto client = search();
   EXPECT_CALL(mgr_, exists("g")).Times(20).WillRepeatedly(Return(true));
   for (int i = 0; i < 20; ++i)
      EXPECT_TRUE(ok(&Stub::exists, ofGroup<remote::NexthopGroupExistsRequest>("g")).exists());
   EXPECT_FALSE(over());
}

TEST_F(SearchTest, aSearchEndsWithItsClient) {
   const auto client = search();
   const auto begin = std::chrono::steady_clock::now();
   client->cancel();
   EXPECT_TRUE(orvtest::eventually([this] { return over(); }));
   // gRPC itself checks sockets that no thread polls every 10 seconds.
   EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(8));
}

TEST_F(SearchTest, aStopDoesNotWaitForASearch) {
   const auto client = search();
   running_.stop();
   EXPECT_FALSE(client->finish().ok());
   EXPECT_TRUE(over());
}

TEST_F(NexthopGroupServiceTest, aStateThatTheWireDoesNotKnowCostsItsEventAndATrace) {
   const auto client = watch(all());
   const orvtest::TraceCapture traces("nexthop_group/0");
   const auto programmed = [&](const std::string& name, HwState hwState, CounterState counterState) {
      orv::nexthop_group_programmed_status_t status;
      status.hw_state_is(hwState);
      status.counter_state_is(counterState);
      callBack([&](auto& handler) { handler.on_nexthop_group_programmed(name, 1, status); });
   };
   programmed("a", static_cast<HwState>(7), CounterState{});
   programmed("a", HwState{}, static_cast<CounterState>(8));
   EXPECT_EQ(traces.texts(),
             (std::vector<std::string>{"on_nexthop_group_programmed is not told: Unknown value for "
                                       "nexthop_group_programmed_hw_state_t: 7",
                                       "on_nexthop_group_programmed is not told: Unknown value for "
                                       "NexthopGroupCounterState: 8"}));
   programmed("b", HwState{}, CounterState{});
   runLoop();
   const auto response = client->next();
   ASSERT_TRUE(response);
   EXPECT_EQ(response->name(), "b") << "nothing was left behind for the other";
}

TEST_F(NexthopGroupServiceTest, anIllFormedExpressionFailsTheStreamWithItsWords) {
   for (const char* expression : {"(", "[a", "*"}) {
      std::string words;
      try {
         const std::regex regex(expression);
      } catch (const std::regex_error& e) {
         words = e.what();
      }
      ASSERT_NE(words, "");
      remote::NexthopGroupCountersRequest request;
      request.set_regex(expression);
      listFails(&Stub::nhg_counters, request, grpc::StatusCode::INVALID_ARGUMENT, words);
   }
}

TEST_F(NexthopGroupServiceTest, aGroupWithoutValidCountersIsItsNameAlone) {
   hardwareHas({"g"});
   EXPECT_CALL(mgr_, counter("g", 3)).WillRepeatedly(Return(orv::nexthop_group_entry_counter_t(1, 1, false)));
   remote::NexthopGroupCountersRequest request;
   request.set_all(true);
   EXPECT_EQ(countedGroups(request), Names{"g 0"});
   // The same holds for a group that does not exist.
   EXPECT_CALL(mgr_, programmed_nexthop_group("absent")).WillOnce(Return(orv::nexthop_group_t()));
   request.set_name("absent");
   EXPECT_EQ(countedGroups(request), Names{"absent 0"});
}

// ---------------------------------------------------------------- watch

TEST_F(NexthopGroupServiceTest, twoActivationsBeforeATurnOfTheLoopAreOneEventWithTheLast) {
   const auto client = watch(all());
   activeIs("g", true);
   activeIs("g", false);
   runLoop();
   activeIs("g", true);
   runLoop();
   EXPECT_EQ(shown(client->next()), "g active=0");
   EXPECT_EQ(shown(client->next()), "g active=1");
}

TEST_F(NexthopGroupServiceTest, theLastAnswerOfHardwareIsTheOneThatIsTold) {
   const auto client = watch(all());
   programmed("g", 65535, HwState::failure, CounterState::unknown);
   runLoop();
   programmed("g", 1, HwState::failure);
   programmed("g", 2, HwState::success, CounterState::failure);
   runLoop();
   EXPECT_EQ(shown(client->next()), "g programmed version=65535 hw=2/0");
   EXPECT_EQ(shown(client->next()), "g programmed version=2 hw=1/2");
}

TEST_F(NexthopGroupServiceTest, activationsAndAnswersOfHardwareAreMessagesOfTheirOwn) {
   const auto client = watch(all());
   activeIs("g", true);
   programmed("g", 3);
   runLoop();
   std::vector<std::string> messages{shown(client->next()), shown(client->next())};
   EXPECT_THAT(messages, testing::UnorderedElementsAre("g active=1", "g programmed version=3 hw=1/1"));
}

TEST_F(NexthopGroupServiceTest, aWatchOfOneGroupHearsNothingOfOthers) {
   const auto client = watch(one("b"));
   activeIs("a", true);
   activeIs("bb", true);
   runLoop();
   activeIs("b", true);
   runLoop();
   EXPECT_EQ(shown(client->next()), "b active=1");
}

TEST_F(NexthopGroupServiceTest, withoutASelectionOnlyWhatHasNoNameIsSent) {
   const orvtest::TraceCapture traces("nexthop_group/9");
   std::size_t enqueued = 0;
   for (const auto& request : {all({}, false), remote::WatchNexthopGroupRequest(), one("")}) {
      auto client = watch(request);
      activeIs("g", true);
      runLoop();
      EXPECT_EQ(orvtest::tracesWith(traces, "Enqueue "), enqueued);
      activeIs("", true);
      runLoop();
      EXPECT_EQ(shown(client->next()), " active=1");
      ++enqueued;
      client.reset();
      ASSERT_TRUE(orvtest::eventually([&] { return watchers() == 0; }));
   }
}

TEST_F(NexthopGroupServiceTest, withoutFieldsThereAreEventsButNoDump) {
   // The mock is strict: the table is not read.
   const orvtest::TraceCapture traces("nexthop_group/9");
   auto emptyControl = all();
   emptyControl.mutable_fields_control();
   for (const auto& request : {all(), emptyControl, all({6, -1})}) {
      auto client = watch(request);
      activeIs("g", true);
      runLoop();
      EXPECT_EQ(shown(client->next()), "g active=1");
      client.reset();
      ASSERT_TRUE(orvtest::eventually([&] { return watchers() == 0; }));
   }
   EXPECT_EQ(traces.count("Not performing a dump as no fields have been requested"), 3U);
   auto acknowledged = all();
   acknowledged.set_ack(true);
   EXPECT_EQ(shown(open(acknowledged)->next()), "ack");
}

TEST_F(NexthopGroupServiceTest, theTableComesFirstThenTheAcknowledgementThenEvents) {
   hardwareHas({"a", "b"});
   const auto client = open(all({remote::NEXTHOP_GROUP_FIELD_ALL}));
   EXPECT_EQ(shown(client->next()), "a active=1 programmed version=7 group 1 hw=1/2");
   EXPECT_EQ(shown(client->next()), "b active=1 programmed version=7 group 1 hw=1/2");
   EXPECT_EQ(shown(client->next()), "ack");
   activeIs("c", false);
   runLoop();
   EXPECT_EQ(shown(client->next()), "c active=0");
}

TEST_F(NexthopGroupServiceTest, fieldsSelectWhatIsShownAndNothingElse) {
   hardwareHas({"a"});
   const std::vector<std::pair<std::vector<int>, std::string>> selections{
        {{1}, "a active=1"},
        {{2}, "a programmed"},
        {{3}, "a version=7"},
        {{4}, "a group 1"},
        {{5}, "a hw=1/2"},
        {{5, 1, 9}, "a active=1 hw=1/2"},
        {{3, 0, 9}, "a active=1 programmed version=7 group 1 hw=1/2"},
   };
   for (const auto& [fields, expected] : selections) {
      const auto client = open(all(fields));
      EXPECT_EQ(shown(client->next()), expected);
      EXPECT_EQ(shown(client->next()), "ack");
   }
   // Events are complete, whatever fields were requested.
   const auto client = open(all({3}));
   EXPECT_EQ(shown(client->next()), "a version=7");
   EXPECT_EQ(shown(client->next()), "ack");
   programmed("a", 8);
   runLoop();
   EXPECT_EQ(shown(client->next()), "a programmed version=8 hw=1/1");
}

TEST_F(NexthopGroupServiceTest, aDumpOfOneGroupGoesOnWithTheEventsThatAreWritten) {
   hardwareHas({"a", "b"});
   const auto client = watch(one("a", {1}));
   EXPECT_EQ(shown(client->next()), "a active=1");
   // The element of b was rejected, so nothing is written and the dump pauses.
   activeIs("a", false);
   runLoop();
   EXPECT_EQ(shown(client->next()), "a active=0");
   EXPECT_EQ(shown(client->next()), "ack");
}

TEST_F(NexthopGroupServiceTest, aGroupThatGoesWhileItIsShownComesWithoutAName) {
   hardwareHas({"a", "b"});
   EXPECT_CALL(mgr_, programmed_nexthop_group("a")).WillOnce(Return(orv::nexthop_group_t()));
   EXPECT_CALL(mgr_, active("a")).WillOnce(Return(false));
   EXPECT_CALL(mgr_, get_nexthop_group_programmed_hw_state("a")).WillOnce(Return(HwState::unknown));
   EXPECT_CALL(mgr_, counter_state("a")).WillOnce(Return(CounterState::unknown));
   const auto client = open(all({remote::NEXTHOP_GROUP_FIELD_ALL}));
   EXPECT_EQ(shown(client->next()), " active=0 programmed group 0 hw=0/0");
   EXPECT_EQ(shown(client->next()), "b active=1 programmed version=7 group 1 hw=1/2");
   EXPECT_EQ(shown(client->next()), "ack");
}

TEST_F(NexthopGroupServiceTest, aFieldThatTheWireDoesNotKnowIsLeftOutOfTheDump) {
   hardwareHas({"a"});
   EXPECT_CALL(mgr_, get_nexthop_group_programmed_hw_state("a")).WillOnce(Return(static_cast<HwState>(7)));
   EXPECT_CALL(mgr_, programmed_nexthop_group("a")).WillOnce([] {
      orv::nexthop_group_t unknown("a", static_cast<orv::nexthop_group_encap_t>(99));
      unknown.version_id_is(7);
      return unknown;
   });
   const orvtest::TraceCapture traces("nexthop_group/0");
   const auto client = open(all({remote::NEXTHOP_GROUP_FIELD_ALL}));
   EXPECT_EQ(shown(client->next()), "a active=1 programmed version=7");
   EXPECT_EQ(shown(client->next()), "ack");
   EXPECT_EQ(traces.texts(),
             (std::vector<std::string>{"nexthop_group is not told: Unknown value for "
                                       "nexthop_group_encap_t: 99",
                                       "on_nexthop_group_programmed is not told: Unknown value for "
                                       "nexthop_group_programmed_hw_state_t: 7"}));
}

TEST_F(NexthopGroupServiceTest, theSwitchIsWatchedWhileSomebodyListens) {
   EXPECT_FALSE(sdkWatched());
   {
      const auto first = watch(all());
      EXPECT_TRUE(sdkWatched());
      { const auto second = watch(one("g")); }
      EXPECT_TRUE(orvtest::eventually([&] { return watchers() == 1; }));
      EXPECT_TRUE(sdkWatched());
   }
   EXPECT_TRUE(orvtest::eventually([&] { return !sdkWatched(); }));
}

// Changes are not reported while nobody watches, so no later event would correct an old one.
TEST_F(NexthopGroupServiceTest, whatWaitsWhenTheLastOneLeavesReachesNobody) {
   {
      const auto first = watch(all());
      activeIs("g", false);
      programmed("g", 7);
   }
   ASSERT_TRUE(orvtest::eventually([&] { return !sdkWatched(); }));
   const auto late = watch(all());
   runLoop();
   activeIs("other", true);
   runLoop();
   programmed("other", 8);
   runLoop();
   EXPECT_EQ(shown(late->next()), "other active=1");
   EXPECT_EQ(shown(late->next()), "other programmed version=8 hw=1/1");
}

TEST_F(NexthopGroupServiceTest, eachRpcHasOneHandlerThatWaits) {
   expectOneHandlerPerRpc();
}

}  // namespace
}  // namespace OrvSdkRpc
