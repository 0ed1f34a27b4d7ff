// Reports the state of this process to the service manager, in one datagram to the socket that NOTIFY_SOCKET
// names (sd_notify(3)).
//
// Thread-safety: any thread.
#pragma once

#include <mutex>
#include <string_view>

namespace orvsdkrpcd {

// Sends `state`, such as "READY=1". A no-op without NOTIFY_SOCKET; failures are ignored.
void notifyServiceManager(std::string_view state) noexcept;

// Reports the state changes of the process to the service manager, in order.
class ServiceStatus {
public:
   // Sends "READY=1", unless the process is stopping.
   void ready() noexcept;
   // Sends "STOPPING=1" at the first call.
   void stopping() noexcept;

private:
   // Held while a message is sent, so that messages leave in the order of the calls.
   std::mutex mutex_;
   bool stopping_ = false;
};

}  // namespace orvsdkrpcd
