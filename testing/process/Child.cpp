#include "testing/process/Child.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/syscall.h>

#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <iterator>
#include <system_error>
#include <utility>

namespace orvtest {

namespace {

[[noreturn]] void fail(const std::string& what) {
   throw std::system_error(errno, std::generic_category(), what);
}

}  // namespace

std::string to_string(const Ending& ending) {
   if (ending.signal) return std::string("killed by signal ") + std::to_string(ending.signal);
   return "exit code " + std::to_string(ending.exitCode);
}

Child::Child(std::vector<std::string> argv, std::string logPath) : logPath_(std::move(logPath)) {
   std::vector<char*> arguments;
   for (auto& argument : argv)
      arguments.push_back(argument.data());
   arguments.push_back(nullptr);

   // The child reports a failed exec through this pipe; a successful one closes it.
   int report[2];
   if (::pipe2(report, O_CLOEXEC) != 0) fail("pipe");
   const pid_t parent = ::getpid();
   pid_ = ::fork();
   if (pid_ < 0) fail("fork");
   if (pid_ == 0) {
      // Only async-signal-safe calls from here to exec.
      ::prctl(PR_SET_PDEATHSIG, SIGKILL);
      if (::getppid() != parent) ::_exit(127);
      sigset_t none;
      ::sigemptyset(&none);
      ::sigprocmask(SIG_SETMASK, &none, nullptr);
      if (!logPath_.empty()) {
         const int log = ::open(logPath_.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
         if (log >= 0) {
            ::dup2(log, STDOUT_FILENO);
            ::dup2(log, STDERR_FILENO);
         }
      }
      ::execv(arguments[0], arguments.data());
      const int error = errno;
      [[maybe_unused]] const auto written = ::write(report[1], &error, sizeof error);
      ::_exit(127);
   }
   ::close(report[1]);
   int error = 0;
   const auto got = ::read(report[0], &error, sizeof error);
   ::close(report[0]);
   if (got == static_cast<ssize_t>(sizeof error)) {
      ::waitpid(pid_, nullptr, 0);
      errno = error;
      fail("exec " + argv[0]);
   }
   // Straight to the system call: the C library of Debian 12 declares its wrapper without C linkage.
   pidFd_ = static_cast<int>(::syscall(SYS_pidfd_open, pid_, 0));
   if (pidFd_ < 0) fail("pidfd_open");
}

Child::Child(Child&& other) noexcept
     : pid_(std::exchange(other.pid_, -1)),
       pidFd_(std::exchange(other.pidFd_, -1)),
       logPath_(std::move(other.logPath_)),
       ending_(std::move(other.ending_)) {}

Child::~Child() {
   if (pid_ > 0 && !ending_) kill();
   if (pidFd_ >= 0) ::close(pidFd_);
}

void Child::signal(int number) const {
   if (!ending_) ::kill(pid_, number);
}

std::optional<Ending> Child::waitFor(std::chrono::milliseconds limit) {
   if (ending_) return ending_;
   pollfd waited{.fd = pidFd_, .events = POLLIN, .revents = 0};
   const auto deadline = std::chrono::steady_clock::now() + limit;
   for (;;) {
      const auto left =
           std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
      const int ready = ::poll(&waited, 1, static_cast<int>(std::max<long>(0, left.count())));
      if (ready == 0) return std::nullopt;
      if (ready > 0) return wait();
      if (errno != EINTR) fail("poll");
   }
}

Ending Child::wait() {
   if (ending_) return *ending_;
   int status = 0;
   while (::waitpid(pid_, &status, 0) < 0) {
      if (errno != EINTR) fail("waitpid");
   }
   ending_ = WIFSIGNALED(status) ? Ending{.exitCode = -1, .signal = WTERMSIG(status)}
                                 : Ending{.exitCode = WEXITSTATUS(status), .signal = 0};
   return *ending_;
}

void Child::kill() {
   signal(SIGKILL);
   wait();
}

std::string Child::log() const {
   std::ifstream file(logPath_);
   return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace orvtest
