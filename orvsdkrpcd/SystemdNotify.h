// Tells the service manager how far this process is: one datagram to the socket that NOTIFY_SOCKET names
// (sd_notify(3)). Free function, safe from any thread.
#pragma once

#include <string_view>

namespace orvsdkrpcd {

// Sends "READY=1" and the like. Without NOTIFY_SOCKET, and when nobody takes it, nothing happens.
void notifyServiceManager(std::string_view state) noexcept;

}  // namespace orvsdkrpcd
