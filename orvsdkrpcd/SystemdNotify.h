// Tells the service manager how far this process is: one datagram to the socket that NOTIFY_SOCKET names
// (sd_notify(3)).
//
// Thread-safety: any thread.
#pragma once

#include <mutex>
#include <string_view>

namespace orvsdkrpcd {

// Sends "READY=1" and the like. Without NOTIFY_SOCKET, and when nobody takes it, nothing happens.
void notifyServiceManager(std::string_view state) noexcept;

// What the service manager is told over the life of the process, in an order that it can trust.
class ServiceStatus {
public:
   // "READY=1", unless the process is stopping.
   void ready() noexcept;
   // "STOPPING=1", at the first call.
   void stopping() noexcept;

private:
   // Held while a message is sent, so that messages leave in the order of the calls.
   std::mutex mutex_;
   bool stopping_ = false;
};

}  // namespace orvsdkrpcd
