// crash_rounds N: kills a daemon N times in the middle of bulks and checks after each restart that everything
// it had acknowledged exists and that nothing is half done.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <random>

#include "CrashRounds.h"

int main(int argc, char** argv) {
   CLI::App app("Kills a daemon again and again while bulks run and looks at what is left");
   int rounds = 100;
   std::uint64_t seed = std::random_device()();
   bool verbose = false;
   app.add_option("rounds", rounds, "Number of kills")->check(CLI::PositiveNumber);
   app.add_option("--seed", seed, "Seed of the bulks and of the moments");
   app.add_flag("--verbose", verbose, "One line per round");
   CLI11_PARSE(app, argc, argv);

   std::printf("%d rounds, seed %llu\n", rounds, static_cast<unsigned long long>(seed));
   std::fflush(stdout);
   int round = 0;
   std::string directory;
   try {
      orvtest::CrashRounds crash(orvtest::programPath("orvsdkrpcd"), seed);
      directory = crash.directory();
      crash.keepDirectory(true);
      for (round = 1; round <= rounds; ++round) {
         const auto told = crash.round();
         if (verbose || round % 20 == 0) std::printf("round %d: %s\n", round, told.c_str());
         std::fflush(stdout);
      }
      crash.keepDirectory(false);
   } catch (const std::exception& error) {
      std::fprintf(stderr, "round %d: %s\n", round, error.what());
      if (!directory.empty()) std::fprintf(stderr, "log and state are kept in %s\n", directory.c_str());
      return 1;
   }
   std::printf("%d rounds: nothing acknowledged was lost, nothing was half there\n", rounds);
   return 0;
}
