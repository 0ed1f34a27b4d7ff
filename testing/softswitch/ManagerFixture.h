// A store in a directory of its own and a main loop that the test runs, for tests of single managers.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "platform/zelt/Anchors.h"
#include "softswitch/managers/context.h"
#include "testing/base/TempDir.h"
#include "testing/sdk/Iterators.h"
#include "testing/sdk/Refusal.h"

namespace softswitch {

using orvtest::listOf;
using orvtest::refusal;

class ManagerFixture : public testing::Test {
protected:
   void SetUp() override { open(); }
   void TearDown() override { close(); }

   // The context of the managers, until the next restart.
   const Context& context() const { return *context_; }

   // Acts like a restart of the process; `forget` destroys the managers.
   template <typename Forget>
   void restart(Forget forget) {
      forget();
      close();
      open();
   }

   // Runs the main loop until it has nothing to do.
   void runLoop() {
      const Zelt::ActivityLockAnchor lock;
      while (scheduler_->hasReady())
         scheduler_->runReady();
   }

   Limits limits_;

private:
   void open() {
      store::StoreOptions options;
      options.directory = directory_.path();
      options.mapBytes = std::size_t{1} << 26;
      store_ = std::make_unique<store::Store>(options);
      scheduler_ = Pavo::makePtr<Gorm::TaskScheduler>("test");
      callbacks_ = std::make_unique<Callbacks>(scheduler_);

      context_.reset(new Context{
           .store = *store_, .callbacks = *callbacks_, .limits = limits_, .scheduler = scheduler_});
   }
   void close() {
      context_.reset();
      callbacks_.reset();
      scheduler_ = nullptr;
      store_.reset();
   }

   const orvtest::TempDir directory_;
   std::unique_ptr<store::Store> store_;
   Pavo::Ptr<Gorm::TaskScheduler> scheduler_;
   std::unique_ptr<Callbacks> callbacks_;
   std::unique_ptr<Context> context_;
};

}  // namespace softswitch
