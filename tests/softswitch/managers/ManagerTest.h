// A store in a directory of its own and a main loop that runs when told, for tests of single managers.
#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "orv/error.h"
#include "platform/zelt/Anchors.h"
#include "softswitch/managers/context.h"

namespace softswitch {

class ManagerTest : public testing::Test {
protected:
   void SetUp() override {
      char pattern[] = "/tmp/managers.XXXXXX";
      ASSERT_NE(::mkdtemp(pattern), nullptr);
      directory_ = pattern;
      open();
   }
   void TearDown() override {
      close();
      std::filesystem::remove_all(directory_);
   }

   // What managers of this start are built on.
   const Context& context() const { return *context_; }

   // As a restart of the process: `forget` drops the managers.
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

   // The words of the refusal, "" when there was none.
   template <typename Call>
   static std::string refusal(Call call) {
      try {
         call();
      } catch (const orv::error& e) {
         return e.what();
      }
      return "";
   }

   template <typename Iter>
   static std::vector<typename Iter::value_type> all(Iter iter) {
      std::vector<typename Iter::value_type> rows;
      for (; iter; ++iter)
         rows.push_back(*iter);
      return rows;
   }

   Limits limits_;

private:
   void open() {
      store::StoreOptions options;
      options.directory = directory_;
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

   std::filesystem::path directory_;
   std::unique_ptr<store::Store> store_;
   Pavo::Ptr<Gorm::TaskScheduler> scheduler_;
   std::unique_ptr<Callbacks> callbacks_;
   std::unique_ptr<Context> context_;
};

}  // namespace softswitch
