#include "OrvctlRun.h"

#include <fstream>
#include <sstream>

#include "orvctl/Run.h"

namespace orvctl::test {

Result runWith(const std::vector<std::string>& arguments, const std::string& input) {
   std::istringstream in(input);
   std::ostringstream out, err;
   Result result;
   result.code = run(arguments, {.in = in, .out = out, .err = err});
   result.out = out.str();
   result.err = err.str();
   return result;
}

Result Orvctl::orvctl(std::vector<std::string> arguments, const std::string& input) {
   arguments.insert(arguments.begin(), {"--target", server_.target()});
   return runWith(arguments, input);
}

std::string Orvctl::file(const std::string& text) const {
   const std::string path = directory_ / "input";
   std::ofstream(path) << text;
   return path;
}

pb::rpc_status_msg Orvctl::status(pb::rpc_status_value_enum value, const std::string& words) {
   pb::rpc_status_msg message;
   message.set_status(value);
   message.set_debug_string(words);
   return message;
}

}  // namespace orvctl::test
