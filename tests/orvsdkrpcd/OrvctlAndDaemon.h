// A daemon, and orvctl as an operator runs it.
//
// Thread-safety: the fixture belongs to its test.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Program.h"
#include "testing/base/TempDir.h"
#include "testing/process/Child.h"
#include "testing/process/Daemon.h"

namespace orvsdkrpcd::test {

class OrvctlAndDaemon : public testing::Test {
protected:
   OrvctlAndDaemon();
   ~OrvctlAndDaemon() override;

   Outcome orvctl(std::vector<std::string> arguments) const;
   // Runs a command that must exit with `code`. RETURNS: its output.
   std::string expect(int code, std::vector<std::string> arguments) const;
   std::string file(const std::string& name, const std::string& text) const;

   orvtest::TempDir directory_;
   orvtest::Daemon daemon_;
};

// An orvctl that runs beside the test.
class Running {
public:
   Running(const orvtest::Daemon& daemon, const orvtest::TempDir& directory, const std::string& logName,
           std::vector<std::string> arguments);

   // Waits until the command has printed `text`. RETURNS: its output so far.
   // THROWS: std::runtime_error when the command ends first.
   std::string waitFor(const std::string& text);
   orvtest::Child& child() { return child_; }

private:
   orvtest::Child child_;
};

}  // namespace orvsdkrpcd::test
