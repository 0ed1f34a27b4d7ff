#include "softswitch/console/server.h"

#include <fmt/format.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <system_error>

#include "platform/zelt/Anchors.h"

namespace softswitch::console {
namespace {

// Waits until `fd` is ready for `events` or closed.
// THROWS: OutputClosed once `stopFd` is readable.
void waitFor(int fd, short events, int stopFd) {
   std::array<pollfd, 2> fds{pollfd{fd, events, 0}, pollfd{stopFd, POLLIN, 0}};
   while (::poll(fds.data(), fds.size(), -1) < 0) {
      if (errno != EINTR) throw OutputClosed("poll failed");
   }
   if (fds[1].revents != 0) throw OutputClosed("the console stops");
}

void sendAll(int fd, int stopFd, std::string_view bytes) {
   while (!bytes.empty()) {
      const auto sent = ::send(fd, bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
      if (sent >= 0) {
         bytes.remove_prefix(static_cast<std::size_t>(sent));
      } else if (errno == EAGAIN || errno == EWOULDBLOCK) {
         waitFor(fd, POLLOUT, stopFd);
      } else if (errno != EINTR) {
         throw OutputClosed("the client is gone");
      }
   }
}

std::string errorAnswer(std::string_view words) {
   return fmt::format("ERR {}\n{}", words.size(), words);
}

bool isReadable(int fd) {
   pollfd ready{fd, POLLIN, 0};
   return ::poll(&ready, 1, 0) > 0;
}

}  // namespace

// One connection and its thread.
struct Server::Client final : Output {
   Client(Server& server, int socket)
        : handler(server.handler_), fd(socket), stopFd(server.stopFd_), thread([this] { serve(); }) {}

   ~Client() override {
      thread.join();
      ::close(fd);
   }

   void write(std::string_view text) override {
      // Waiting for a reader with the lock held would block the switch.
      if (Zelt::activityLock().ownedByMe())
         throw std::logic_error("console output written with the lock held");
      // A stop ends a command with much output even if the reader keeps up.
      if (isReadable(stopFd)) throw OutputClosed("the console stops");
      while (!text.empty()) {
         const auto chunk = text.substr(0, maxChunkBytes);
         sendAll(fd, stopFd, fmt::format("OUT {}\n{}", chunk.size(), chunk));
         text.remove_prefix(chunk.size());
      }
   }

   void serve() {
      try {
         serveLines();
      } catch (const OutputClosed&) {
      }
      // The peer sees the end of the stream now. The descriptor is closed only after the thread is joined, so
      // that its number is not reused before.
      ::shutdown(fd, SHUT_RDWR);
      done = true;
   }

   void serveLines() {
      std::string pending;
      std::array<char, 16 * 1024> block;
      while (true) {
         std::size_t from = 0;
         for (auto end = pending.find('\n'); end != std::string::npos; end = pending.find('\n', from)) {
            auto line = std::string_view(pending).substr(from, end - from);
            from = end + 1;
            if (line.size() > maxLineBytes) return refuseLongLine();
            if (line.ends_with('\r')) line.remove_suffix(1);
            answer(line);
         }
         pending.erase(0, from);
         if (pending.size() > maxLineBytes) return refuseLongLine();

         waitFor(fd, POLLIN, stopFd);
         const auto got = ::recv(fd, block.data(), block.size(), MSG_DONTWAIT);
         if (got == 0) return;
         if (got > 0) {
            pending.append(block.data(), static_cast<std::size_t>(got));
         } else if (errno != EAGAIN && errno != EWOULDBLOCK && errno != EINTR) {
            return;
         }
      }
   }

   void answer(std::string_view line) {
      try {
         handler(line, *this);
         sendAll(fd, stopFd, "OK\n");
      } catch (const OutputClosed&) {
         throw;
      } catch (const std::exception& e) {
         sendAll(fd, stopFd, errorAnswer(e.what()));
      }
   }

   void refuseLongLine() {
      sendAll(fd, stopFd, errorAnswer(fmt::format("command line longer than {} bytes", maxLineBytes)));
      // Unread input makes close() reset the connection, which would discard the answer.
      ::shutdown(fd, SHUT_WR);
      std::array<char, 16 * 1024> block;
      std::size_t drained = 0;
      while (drained < 16 * maxLineBytes) {
         waitFor(fd, POLLIN, stopFd);
         const auto got = ::recv(fd, block.data(), block.size(), MSG_DONTWAIT);
         if (got == 0 || (got < 0 && errno != EAGAIN && errno != EINTR)) return;
         drained += got > 0 ? static_cast<std::size_t>(got) : 0;
      }
   }

   const Handler& handler;
   const int fd;
   const int stopFd;
   std::atomic<bool> done = false;
   std::thread thread;  // last: it uses all members above
};

Server::Server(Address address, Handler handler)
     : handler_(std::move(handler)), listener_(std::make_unique<Listener>(std::move(address))) {
   address_ = listener_->address();
   stopFd_ = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
   if (stopFd_ < 0) throw std::system_error(errno, std::generic_category(), "console: eventfd");
   acceptor_ = std::thread([this] { acceptLoop(); });
}

Server::~Server() {
   stop();
   ::close(stopFd_);
}

void Server::stop() {
   // A caller that only waits for another thread's stop() releases the lock too.
   const Zelt::UnlockAnchor unlocked(Zelt::activityLock());
   std::call_once(stopped_, [this] {
      ::eventfd_write(stopFd_, 1);
      acceptor_.join();
      listener_.reset();
   });
}

void Server::acceptLoop() {
   std::array<pollfd, 2> fds{pollfd{listener_->fd(), POLLIN, 0}, pollfd{stopFd_, POLLIN, 0}};
   while (true) {
      if (::poll(fds.data(), fds.size(), -1) < 0 && errno != EINTR) break;
      if (isReadable(stopFd_)) break;
      const int fd = ::accept4(listener_->fd(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
      if (fd >= 0) {
         admit(fd);
      } else if (errno == EMFILE || errno == ENFILE || errno == ENOBUFS || errno == ENOMEM) {
         // The connection stays in the backlog and the listener readable: wait, do not spin.
         ::poll(&fds[1], 1, 100);
      }
   }
   clients_.clear();
}

void Server::admit(int fd) {
   std::erase_if(clients_, [](const auto& client) { return client->done.load(); });
   const auto turnAway = [fd](std::string_view words) {
      const auto answer = errorAnswer(words);
      ::send(fd, answer.data(), answer.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
      ::close(fd);
   };
   if (clients_.size() >= maxClients) {
      turnAway(fmt::format("{} console clients are connected, expected fewer; try again later", maxClients));
      return;
   }
   try {
      clients_.push_back(std::make_unique<Client>(*this, fd));
   } catch (const std::system_error&) {
      turnAway("the switch has no thread left for a console client; try again later");
   }
}

}  // namespace softswitch::console
