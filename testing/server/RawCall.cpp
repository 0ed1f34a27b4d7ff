#include "testing/server/RawCall.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string_view>

namespace orvtest {
namespace {

constexpr std::uint8_t frameData = 0;
constexpr std::uint8_t frameHeaders = 1;
constexpr std::uint8_t frameSettings = 4;
constexpr std::uint8_t frameWindowUpdate = 8;
constexpr std::uint8_t endStream = 1;
constexpr std::uint8_t endHeaders = 4;

// RFC 7540, 4.1: length, type, flags, stream.
std::string frame(std::uint8_t type, std::uint8_t flags, std::uint8_t stream, std::string_view payload) {
   std::string out{static_cast<char>(payload.size() >> 16),
                   static_cast<char>(payload.size() >> 8),
                   static_cast<char>(payload.size()),
                   static_cast<char>(type),
                   static_cast<char>(flags),
                   0,
                   0,
                   0,
                   static_cast<char>(stream)};
   return out.append(payload);
}

// RFC 7541, 6.2.2: a literal without indexing, with a new name.
std::string header(std::string_view name, std::string_view value) {
   std::string out(1, 0);
   out.push_back(static_cast<char>(name.size()));
   out.append(name);
   out.push_back(static_cast<char>(value.size()));
   return out.append(value);
}

}  // namespace

RawCall::RawCall(const std::string& socketPath, const std::string& method, const std::string& request) {
   socket_ = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
   sockaddr_un address{};
   address.sun_family = AF_UNIX;
   if (socketPath.size() >= sizeof(address.sun_path))
      throw std::runtime_error("path too long: " + socketPath);
   std::memcpy(address.sun_path, socketPath.data(), socketPath.size());
   if (connect(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) {
      throw std::runtime_error("cannot connect to " + socketPath);
   }
   const std::string headers = header(":method", "POST") + header(":scheme", "http") +
                               header(":path", method) + header(":authority", "localhost") +
                               header("content-type", "application/grpc") + header("te", "trailers");
   // gRPC's frame of a message: not compressed, four bytes of length.
   const std::string message =
        std::string(4, '\0').append(1, static_cast<char>(request.size())).append(request);
   // SETTINGS_INITIAL_WINDOW_SIZE, and the connection's own window.
   const std::string windows("\0\4\x7f\xff\xff\xff", 6);
   const std::string increment("\x7f\xfe\0\0", 4);
   const std::string all = "PRI * HTTP/2.0\r\n\r\nSM\r\n\r\n" + frame(frameSettings, 0, 0, windows) +
                           frame(frameWindowUpdate, 0, 0, increment) +
                           frame(frameHeaders, endHeaders, 1, headers) +
                           frame(frameData, endStream, 1, message);
   if (send(socket_, all.data(), all.size(), MSG_NOSIGNAL) != static_cast<ssize_t>(all.size())) {
      throw std::runtime_error("cannot send to " + socketPath);
   }
}

RawCall::~RawCall() {
   vanish();
}

void RawCall::vanish() {
   if (socket_ >= 0) close(socket_);
   socket_ = -1;
}

}  // namespace orvtest
