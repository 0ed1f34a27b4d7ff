#include "OrvSdkRpc/handlers/DumpFields.h"

#include <gtest/gtest.h>

#include <vector>

#include "testing/server/StreamProbe.h"
#include "testing/server/TraceCapture.h"

namespace OrvSdkRpc {
namespace {

using Texts = std::vector<std::string>;

// What WatchTable reads from a request with these fields.
class Selection : public orvtest::WatchTable {
public:
   explicit Selection(std::initializer_list<int> fields) {
      orvtest::StreamProbe service;
      test::WatchRequest request;
      for (const int field : fields)
         request.mutable_fields_control()->add_fields(static_cast<test::WatchField>(field));
      any = dumpEnabled(service, request);
      number = selected<test::WATCH_FIELD_NUMBER>();
      payload = selected<test::WATCH_FIELD_PAYLOAD>();
   }
   bool any = false;
   bool number = false;
   bool payload = false;
};

TEST(DumpFields, aListedFieldIsSelectedAndNoOther) {
   const Selection selection({test::WATCH_FIELD_PAYLOAD});
   EXPECT_TRUE(selection.any);
   EXPECT_FALSE(selection.number);
   EXPECT_TRUE(selection.payload);
}

TEST(DumpFields, zeroSelectsAllAndTheRestIsNotRead) {
   const orvtest::TraceCapture traces("stream-probe/0-9");
   const Selection selection({test::WATCH_FIELD_ALL, 7});
   EXPECT_TRUE(selection.any);
   EXPECT_TRUE(selection.number);
   EXPECT_TRUE(selection.payload);
   EXPECT_EQ(traces.texts(), Texts());
}

TEST(DumpFields, aNumberThatIsNoFieldIsTracedAndPassedOver) {
   const orvtest::TraceCapture traces("stream-probe/0-9");
   const Selection selection({7, -1, test::WATCH_FIELD_NUMBER});
   EXPECT_TRUE(selection.any);
   EXPECT_TRUE(selection.number);
   EXPECT_FALSE(selection.payload);
   EXPECT_EQ(traces.texts(), (Texts{"No field 7 of the table", "No field -1 of the table"}));
   EXPECT_EQ(traces.countAt(orvtest::tableTraces.level), 2U);
}

TEST(DumpFields, withoutAFieldThereIsNoDump) {
   const orvtest::TraceCapture traces("stream-probe/0-9");
   EXPECT_FALSE(Selection({}).any);
   EXPECT_FALSE(Selection({3}).any);
   EXPECT_EQ(traces.texts(),
             (Texts{"No fields of the table", "No field 3 of the table", "No fields of the table"}));
}

}  // namespace
}  // namespace OrvSdkRpc
