// Lists and streams that overwrite the response before: no element shows anything of another.
#include <gtest/gtest.h>

#include <algorithm>
#include <future>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "OrvSdkRpc/hardware/IntfTrafficRatesWatcher.h"
#include "OrvSdkRpc/mirror/IntfCounterService.h"
#include "OrvSdkRpc/mirror/NexthopGroupService.h"
#include "OrvSdkRpc/types/NexthopGroup.h"
#include "platform/zelt/ActivityLock.h"
#include "platform/zelt/Anchors.h"
#include "testing/base/Eventually.h"
#include "testing/mock/MockIntfCounterMgr.h"
#include "testing/mock/MockNexthopGroupMgr.h"
#include "testing/sdk/Iterators.h"
#include "testing/server/CounterTables.h"
#include "testing/server/MainLoop.h"
#include "testing/server/MirrorFixture.h"

namespace OrvSdkRpc {
namespace {

namespace remote = orv::remote;

class ReusedListTest : public MainLoop,
                       public orvtest::MirrorFixture<NexthopGroupService, remote::NexthopGroupMgrService,
                                                     orvtest::MockNexthopGroupMgr> {
protected:
   ~ReusedListTest() override {
      running_.stop();
      const orv::sdk_scoped_lock lock;
      running_.destroy();
   }
};

TEST_F(ReusedListTest, everyGroupOfAListIsItsOwn) {
   std::vector<orv::nexthop_group_t> groups;
   for (int i = 0; i < 8; ++i) {
      orv::nexthop_group_t group("group" + std::to_string(i), orv::nexthop_group_encap_t::mpls);
      // Every other group has fewer entries than the one before.
      for (int slot = 0; slot < (i % 2 == 0 ? 8 - i : 0); ++slot) {
         orv::nexthop_group_entry_t entry(orv::ip_addr_t("10.0.0.1"));
         entry.child_nexthop_group_is("child");
         entry.intf_is(orv::intf_id_t("Ethernet1"));
         group.nexthop_set(static_cast<std::uint16_t>(slot + i), entry);
         group.destination_ip_set(static_cast<std::uint16_t>(slot), orv::ip_addr_t("10.0.0.2"));
      }
      if (i % 2 == 0) group.source_ip_is(orv::ip_addr_t("10.0.0.3"));
      groups.push_back(group);
   }
   EXPECT_CALL(mgr_, nexthop_group_iter()).WillRepeatedly([&] {
      return orvtest::iterOver<orv::nexthop_group_iter_t>(groups);
   });
   for (int calls = 0; calls < 2; ++calls) {
      orvtest::StreamClient<remote::NexthopGroupsResponse> client(*stub_, &Stub::nexthop_groups,
                                                                  remote::NexthopGroupsRequest());
      const auto listed = client.rest();
      EXPECT_TRUE(client.finish().ok());
      ASSERT_EQ(listed.size(), groups.size());
      for (std::size_t i = 0; i < groups.size(); ++i) {
         // Compares as SDK values, since a map in a message has no order.
         EXPECT_EQ(types::convert(listed[i].nexthop_group()), groups[i]) << i;
         EXPECT_EQ(listed[i].nexthop_group().nexthops_size(), static_cast<int>(groups[i].nexthops().size()));
      }
   }
}

class ReusedBatchesTest : public MainLoop, public CounterTables {
protected:
   class Server : public orvtest::MirrorFixture<IntfCounterService, remote::IntfCounterMgrService,
                                                orvtest::MockIntfCounterMgr> {
   public:
      using Client = orvtest::StreamClient<remote::IntfTrafficRatesStreamResponse>;

      explicit Server(IntfTrafficRatesWatcher* watcher) : MirrorFixture({.internalServer = true}, watcher) {}
      std::unique_ptr<Client> stream() {
         meetPump();
         auto client = std::make_unique<Client>(*stub_, &Stub::intf_traffic_rates_stream,
                                                remote::IntfTrafficRatesStreamRequest());
         EXPECT_TRUE(orvtest::eventually([&] { return watchers() == 1; }));
         return client;
      }

   private:
      void TestBody() override {}
   };

   ReusedBatchesTest() {
      const orv::sdk_scoped_lock lock;
      watcher_.initialized_is(true);
      watcher_.onMountsComplete(state_, shared_);
   }

   // Publishes one batch with these rows; all rates of a row are its number.
   void write(const std::vector<std::pair<std::string, double>>& rows) {
      {
         const orv::sdk_scoped_lock lock;
         for (const auto& [name, rate] : rows)
            lags_->rowIs(id(name), {.statistics = {},
                                    .rates = {.outPktsRate = rate,
                                              .inPktsRate = rate,
                                              .outBitsRate = rate,
                                              .inBitsRate = rate,
                                              .sampleTime = 1 + rate}});
      }
      MainLoop::runLoop();
   }

   IntfTrafficRatesWatcher watcher_{nullptr};
   Server server_{&watcher_};
};

TEST_F(ReusedBatchesTest, everyBatchHasItsOwnEntriesAndRates) {
   const auto client = server_.stream();
   const std::vector<std::vector<std::pair<std::string, double>>> batches = {
        {{"Lag1", 5}, {"Lag2", 6}, {"Lag3000000000000", 7}}, {{"Lag2", 0}}, {{"Lag1", 0}, {"Lag4", 8}}};
   for (const auto& rows : batches) {
      write(rows);
      std::size_t entries = 0;
      while (entries < rows.size()) {
         const auto response = client->next();
         ASSERT_TRUE(response);
         for (const auto& entry : response->data()) {
            const auto row = std::find_if(rows.begin(), rows.end(), [&](const auto& each) {
               return each.first == entry.intf_id().name();
            });
            ASSERT_NE(row, rows.end()) << entry.intf_id().name();
            EXPECT_EQ(entry.rates().out_pkts_rate(), row->second);
            EXPECT_EQ(entry.rates().in_pkts_rate(), row->second);
            EXPECT_EQ(entry.rates().out_bits_rate(), row->second);
            EXPECT_EQ(entry.rates().in_bits_rate(), row->second);
            EXPECT_EQ(entry.rates().sample_time(), 1 + row->second);
            ++entries;
         }
      }
   }
}

}  // namespace
}  // namespace OrvSdkRpc
