#include "platform/state/EthIntfCounter.h"

#include <gtest/gtest.h>

namespace Interface {
namespace {

class EthIntfCounterTest : public ::testing::Test {
protected:
   const Pavo::Ptr<ZeltSharedMem::EntityManager> manager = Pavo::makePtr<ZeltSharedMem::EntityManager>();
   EthIntfCounterMountHelper helper{manager};
};

TEST_F(EthIntfCounterTest, findsTheWritersTable) {
   EXPECT_FALSE(helper.doMountNotifying("Linecard3", "current"));
   const auto writer = Pavo::makePtr<ZeltSharedMem::MountGroup>(manager);
   const auto path = EthIntfCounterMountHelper::path("Linecard3", "current");
   EXPECT_EQ(path, "interface/counter/eth/Linecard3/current");
   writer->mount<AllEthIntfCounterRillo>(path, Tessel::MountMode::write, path);
   const auto table = manager->entity<AllEthIntfCounterRillo>(path);
   table->rowIs(Lumic::IntfId("Ethernet1"), {.statistics = {}, .rates = {.inPktsRate = 5}});
   const auto mounted = helper.doMountNotifying("Linecard3", "current");
   ASSERT_EQ(mounted, table);
   EXPECT_EQ(mounted->row(Lumic::IntfId("Ethernet1"))->rates.inPktsRate, 5);
   EXPECT_FALSE(helper.doMountNotifying("Linecard3", "snapshot"));
   EXPECT_FALSE(helper.doMountNotifying("Linecard4", "current"));
   helper.unmount("Linecard3");
   helper.unmount("Linecard3");
   EXPECT_TRUE(helper.doMountNotifying("Linecard3", "current"));
}

TEST_F(EthIntfCounterTest, anotherTypeIsNoTable) {
   const auto writer = Pavo::makePtr<ZeltSharedMem::MountGroup>(manager);
   writer->mount<Rillo::Interface::AllIntfCounterDir>(EthIntfCounterMountHelper::path("a", "current"),
                                                      Tessel::MountMode::write, "lag");
   EXPECT_FALSE(helper.doMountNotifying("a", "current"));
}

TEST_F(EthIntfCounterTest, withoutSharedMemoryThereIsNothing) {
   EthIntfCounterMountHelper none(nullptr);
   EXPECT_FALSE(none.doMountNotifying("a", "current"));
}

}  // namespace
}  // namespace Interface
