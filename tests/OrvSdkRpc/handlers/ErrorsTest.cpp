#include "OrvSdkRpc/handlers/Errors.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>

namespace OrvSdkRpc {
namespace {

struct Row {
   std::function<void()> raise;
   int code;
   int bulk;
   const char* words;
};

TEST(Errors, everyRowHasItsTwoCodesAndTheExceptionsText) {
   const Row rows[] = {
        {[] { throw orv::invalid_range_error("range"); }, 11, 12, "range"},
        {[] { throw orv::invalid_argument_error("argument"); }, 3, 3, "argument"},
        {[] { throw orv::configuration_error("configuration"); }, 9, 10, "configuration"},
        {[] { throw orv::unsupported_error("unsupported"); }, 12, 13, "unsupported"},
        {[] { throw orv::error("error"); }, 13, 14, "error"},
        {[] { throw orv::no_scoped_lock_obtained_error(); }, 13, 14,
         "orv::sdk_scoped_lock not grabbed when calling an api while multithreaded"},
        {[] { throw unauthenticated_error("who"); }, 16, 8, "who"},
        {[] { throw std::runtime_error("anything"); }, 2, 2, "anything"},
        {[] { throw out_of_resources("full"); }, 2, 2, "full"},
        {[] { throw orv::error(""); }, 13, 14, ""},
   };
   for (const Row& row : rows) {
      grpc::Status status;
      translateErrors(row.raise, [&](const auto& e) { status = grpcStatus(e); });
      EXPECT_EQ(status.error_code(), row.code) << row.words;
      EXPECT_EQ(status.error_message(), row.words);
      EXPECT_EQ(status.error_details(), "");
      orv::remote::RpcResponseStatus bulk;
      translateErrors(row.raise, [&](const auto& e) { bulkStatus(e, bulk); });
      EXPECT_EQ(bulk.code(), row.bulk) << row.words;
      EXPECT_EQ(bulk.message(), row.words);
   }
}

TEST(Errors, whatIsNoExceptionPasses) {
   EXPECT_THROW(translateErrors([] { throw 7; }, [](const auto&) { FAIL(); }), int);
}

TEST(Errors, nothingThrownIsNoError) {
   bool ran = false;
   translateErrors([&] { ran = true; }, [](const auto&) { FAIL(); });
   EXPECT_TRUE(ran);
}

}  // namespace
}  // namespace OrvSdkRpc
