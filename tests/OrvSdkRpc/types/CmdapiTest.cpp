#include "OrvSdkRpc/types/Cmdapi.h"

#include "Conversions.h"
#include "testing/values/GenerateStatus.h"

namespace {

using namespace types_test;
using namespace OrvSdkRpc::types;
namespace remote = orv::remote;

TEST(CmdapiTest, fieldsGoWhereTheyBelong) {
   orv::cmdapi_response_t response({"b", "a", "b"});
   response.error_code_is(4294967295U);
   response.error_message_is("e");
   response.raw_response_is("r");
   EXPECT_TRUE(same(convert(response), parsed<remote::CmdapiResponse>(R"(
      success: true error_code: 4294967295 error_message: "e"
      responses: "b" responses: "a" responses: "b" raw_response: "r")")));
   EXPECT_TRUE(same(convert(orv::cmdapi_response_t()), remote::CmdapiResponse()));
}

TEST(CmdapiTest, everyFieldOfAResponseArrives) {
   for (std::uint64_t seed = 1; seed <= roundTripSeeds; ++seed) {
      SCOPED_TRACE(seed);
      orvtest::ValueSource source(seed);
      const auto response = orvtest::generate<orv::cmdapi_response_t>(source);
      const remote::CmdapiResponse message = convert(response);
      EXPECT_EQ(message.success(), response.success());
      EXPECT_EQ(message.error_code(), response.error_code());
      EXPECT_EQ(message.error_message(), response.error_message());
      EXPECT_EQ(std::vector<std::string>(message.responses().begin(), message.responses().end()),
                response.responses());
      EXPECT_EQ(message.raw_response(), response.raw_response());
   }
}

}  // namespace
