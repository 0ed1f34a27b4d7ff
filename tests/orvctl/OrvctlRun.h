// Runs the whole of orvctl in a test: one command line, and its output.
//
// Thread-safety: runWith from any thread; the fixture belongs to its test.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "FakeServer.h"
#include "testing/base/TempDir.h"

namespace orvctl::test {

struct Result {
   int code = -1;
   std::string out;
   std::string err;
};

Result runWith(const std::vector<std::string>& arguments, const std::string& input = "");

// orvctl with a fake server that the test starts.
class Orvctl : public testing::Test {
protected:
   Result orvctl(std::vector<std::string> arguments, const std::string& input = "");
   // A file that holds the text; the next one replaces it.
   std::string file(const std::string& text) const;
   static pb::rpc_status_msg status(pb::rpc_status_value_enum value, const std::string& words = "");

   orvtest::TempDir directory_;
   FakeServer server_;
};

}  // namespace orvctl::test
