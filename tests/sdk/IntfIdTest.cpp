#include "orv/intf_id.h"

#include <gtest/gtest.h>

#include <map>
#include <thread>
#include <unordered_set>

#include "Regular.h"
#include "orv/error.h"

namespace {

using orv::intf_id_t;
using orv::host::intf_name_known;

TEST(IntfIdTest, theEmptyNameIsTheNullInterface) {
   EXPECT_TRUE(!intf_id_t());
   EXPECT_FALSE(intf_id_t());
   EXPECT_EQ(intf_id_t(), intf_id_t(""));
   EXPECT_EQ(intf_id_t().hash(), intf_id_t("").hash());
   EXPECT_EQ(intf_name_known(""), intf_id_t());
   sdk_test::expectText(intf_id_t(), "");
   EXPECT_NE(intf_id_t(), intf_id_t("Ethernet1"));
}

TEST(IntfIdTest, aNameThatNobodyKnowsIsHeldByValue) {
   intf_id_t a("Unheard1");
   EXPECT_TRUE(a);
   sdk_test::expectText(a, "Unheard1");
   const intf_id_t b("Unheard1");
   EXPECT_EQ(a, b);
   EXPECT_EQ(a.hash(), b.hash());
   EXPECT_NE(a.name().data(), b.name().data()) << "nothing remembers the name";

   intf_id_t copy = a;
   EXPECT_EQ(copy.name().data(), a.name().data());
   a = intf_id_t("Unheard2");
   EXPECT_EQ(copy, b);
   EXPECT_NE(a, b);
   copy = std::move(a);
   EXPECT_EQ(copy.name(), "Unheard2");
   const intf_id_t& self = copy;
   copy = self;
   EXPECT_EQ(copy.name(), "Unheard2");
}

TEST(IntfIdTest, knownNamesAreNumberedInTheirOrder) {
   static int run = 0;
   const std::string name = "Numbered" + std::to_string(++run);
   const intf_id_t early(name);
   EXPECT_EQ(intf_id_t().index(), intf_id_t::no_index);
   EXPECT_EQ(early.index(), intf_id_t::no_index);
   const intf_id_t first = intf_name_known(name + "a");
   const intf_id_t second = intf_name_known(name);
   EXPECT_EQ(second.index(), first.index() + 1);
   EXPECT_EQ(intf_name_known(name).index(), second.index());
   EXPECT_EQ(intf_id_t(name).index(), second.index());
   EXPECT_EQ(early.index(), second.index()) << "also of an id that was made before the name was known";
}

TEST(IntfIdTest, aKnownNameStandsOnce) {
   // Known names are kept until the process ends, so each run of this test uses a new one.
   static int run = 0;
   const std::string name = "IntfIdTest" + std::to_string(++run);
   const intf_id_t before(name);
   const intf_id_t known = intf_name_known(name);
   const intf_id_t after(name);
   EXPECT_EQ(known.name().data(), after.name().data());
   EXPECT_EQ(known.name().data(), intf_name_known(name).name().data());
   EXPECT_NE(before.name().data(), known.name().data());
   EXPECT_EQ(before, known) << "an id made before the name was known is still equal";
   EXPECT_EQ(before.hash(), known.hash());
   EXPECT_EQ(before <=> known, std::strong_ordering::equal);
   EXPECT_EQ(before.index(), known.index());
   EXPECT_NE(known, intf_name_known(name + "x"));
}

TEST(IntfIdTest, theTableGrows) {
   std::vector<intf_id_t> ids;
   for (int i = 0; i < 2000; ++i)
      ids.push_back(intf_name_known("Grow" + std::to_string(i)));
   for (int i = 0; i < 2000; ++i) {
      const intf_id_t again("Grow" + std::to_string(i));
      ASSERT_EQ(again.name().data(), ids[static_cast<std::size_t>(i)].name().data()) << i;
   }
}

TEST(IntfIdTest, looksUpWhileOthersIntern) {
   std::atomic<bool> stop{false};
   std::thread reader([&] {
      int n = 0;
      while (!stop) {
         const std::string name = "Busy" + std::to_string(n++ % 3000);
         const intf_id_t id(name);
         intf_id_t copy;
         copy = id;
         ASSERT_EQ(copy.name(), name);
      }
   });
   for (int i = 0; i < 3000; ++i)
      intf_name_known("Busy" + std::to_string(i));
   stop = true;
   reader.join();
}

TEST(IntfIdTest, copiesOfOneIdMayBeUsedByManyThreads) {
   const intf_id_t shared("SharedUnknown");
   const auto work = [&] {
      for (int i = 0; i < 2000; ++i) {
         intf_id_t copy;
         copy = shared;
         ASSERT_EQ(copy.name(), "SharedUnknown");
      }
   };
   std::thread first(work);
   std::thread second(work);
   first.join();
   second.join();
   EXPECT_EQ(shared.name(), "SharedUnknown");
}

TEST(IntfIdTest, takesTheFormsOfInterfaceNames) {
   for (const char* name : {"Ethernet1", "Ethernet1/2/3", "Ethernet1.100", "Port-Channel5", "Management1",
                            "et1_1", "lo", "a:b", "1"}) {
      EXPECT_EQ(intf_id_t(name).name(), name);
   }
   EXPECT_EQ(intf_id_t(std::string(64, 'a')).name().size(), 64U);
}

TEST(IntfIdTest, refusesOtherFormsAndNamesThem) {
   for (const char* name : {"Ethernet 1", "Ethernet1\n", "Eth\xc3\xa4", "a*b", "'x'", "a,b"}) {
      for (int way = 0; way < 2; ++way) {
         const std::string text = sdk_test::errorText<orv::invalid_argument_error>([&] {
            if (way == 0) {
               intf_id_t{std::string_view(name)};
            } else {
               intf_name_known(name);
            }
         });
         EXPECT_EQ(text, "invalid interface name '" + orv::detail::quotable(name) +
                              "': expected at most 64 letters, digits and characters of './-_:'");
      }
   }
   EXPECT_THROW(intf_id_t(std::string(65, 'a')), orv::invalid_argument_error);
   EXPECT_THROW(intf_id_t(std::string_view("a\0b", 3)), orv::invalid_argument_error);
}

TEST(IntfIdTest, ordersNumbersByTheirValue) {
   intf_name_known("Ethernet2");
   std::vector<intf_id_t> ids;
   for (const char* name :
        {"", "1", "2", "10", "Ethernet", "Ethernet01", "Ethernet1", "Ethernet1.5", "Ethernet1.10",
         "Ethernet1/1", "Ethernet1/2", "Ethernet1/10", "Ethernet2", "Ethernet10", "Ethernet10/1",
         "Ethernet100", "Ethernet99999999999999999999", "Loopback0", "Management1"}) {
      ids.emplace_back(name);
   }
   sdk_test::expectRising(ids);
   const std::map<intf_id_t, int> table{{intf_id_t("Ethernet10"), 10}, {intf_id_t("Ethernet2"), 2}};
   EXPECT_EQ(table.begin()->second, 2);
}

}  // namespace
