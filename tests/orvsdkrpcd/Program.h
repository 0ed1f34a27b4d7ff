// Runs a program to its end and collects its output.
//
// Thread-safety: none needed; everything is local to a call.
#pragma once

#include <string>
#include <vector>

#include "testing/process/Child.h"

namespace orvsdkrpcd::test {

struct Outcome {
   orvtest::Ending ending;
   // Standard output and standard error.
   std::string text;
};

// THROWS: std::runtime_error when the program has not ended after a minute.
Outcome runProgram(std::vector<std::string> argv);

// The daemon and the client of this build.
const std::string& daemonProgram();
const std::string& clientProgram();

}  // namespace orvsdkrpcd::test
