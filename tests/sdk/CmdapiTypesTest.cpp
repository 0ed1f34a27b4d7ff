#include "orv/cmdapi_types.h"

#include <gtest/gtest.h>

#include "Regular.h"

namespace {

using orv::cmdapi_response_t;

TEST(CmdapiTypesTest, anAnswerAndARefusal) {
   const cmdapi_response_t answer({"{}", "{\"a\": 1}"});
   EXPECT_TRUE(answer.success());
   EXPECT_EQ(answer.error_code(), 0U);
   EXPECT_EQ(answer.responses().size(), 2U);
   const cmdapi_response_t refusal(1002, "invalid command");
   EXPECT_FALSE(refusal.success());
   sdk_test::expectText(refusal,
                        "cmdapi_response_t(success=false, error_code=1002, error_message='invalid command', "
                        "responses=[], raw_response='')");
}

TEST(CmdapiTypesTest, everyFieldCounts) {
   sdk_test::expectEveryFieldCounts<cmdapi_response_t>(
        {}, {[](auto& r) { r.success_is(true); }, [](auto& r) { r.error_code_is(1); },
             [](auto& r) { r.error_message_is("a"); }, [](auto& r) { r.responses_is({"a"}); },
             [](auto& r) { r.raw_response_is("a"); }});
}

}  // namespace
