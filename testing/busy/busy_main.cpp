// Runs a command beside more spinning processes than the machine has processors, and exits as the command
// did.
//
//    run_busy COMMAND [ARGUMENT...]
//
// A thread that waits for a wake-up then wakes late, and a thread that holds a lock is preempted. The command
// finds ORV_BUSY in its environment, and test fixtures lengthen their timeouts by it.
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace {

constexpr int exitNotStarted = 126;

[[noreturn]] void spin(pid_t parent) {
   // Ends this process too when a timeout kills the parent.
   prctl(PR_SET_PDEATHSIG, SIGKILL);
   volatile bool forEver = getppid() == parent;
   while (forEver) {
   }
   _exit(0);
}

}  // namespace

int main(int argc, char** argv) {
   if (argc < 2) {
      std::fputs("usage: run_busy COMMAND [ARGUMENT...]\n", stderr);
      return exitNotStarted;
   }
   const pid_t self = getpid();
   const long processors = sysconf(_SC_NPROCESSORS_ONLN);
   std::vector<pid_t> spinning;
   for (long i = 0; i < processors + 2; ++i) {
      const pid_t child = fork();
      if (child == 0) spin(self);
      if (child > 0) spinning.push_back(child);
   }
   const pid_t command = fork();
   if (command == 0) {
      setenv("ORV_BUSY", "1", 1);
      prctl(PR_SET_PDEATHSIG, SIGKILL);
      execvp(argv[1], argv + 1);
      std::fprintf(stderr, "run_busy: %s: %s\n", argv[1], std::strerror(errno));
      _exit(exitNotStarted);
   }
   int status = 0;
   const bool ended = command > 0 && waitpid(command, &status, 0) == command;
   for (const pid_t child : spinning) {
      kill(child, SIGKILL);
      waitpid(child, nullptr, 0);
   }
   if (!ended) return exitNotStarted;
   if (WIFSIGNALED(status)) {
      std::fprintf(stderr, "run_busy: %s ended by signal %d\n", argv[1], WTERMSIG(status));
      return 128 + WTERMSIG(status);
   }
   return WEXITSTATUS(status);
}
