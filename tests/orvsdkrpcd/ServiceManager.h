// The socket on which a program reports its progress to its service manager.
//
// Thread-safety: one thread; one object at a time, since NOTIFY_SOCKET of this process and its children names
// it.
#pragma once

#include <string>
#include <vector>

namespace orvsdkrpcd::test {

class ServiceManager {
public:
   // Binds the path. THROWS: std::system_error.
   explicit ServiceManager(const std::string& path);
   ~ServiceManager();
   ServiceManager(const ServiceManager&) = delete;
   ServiceManager& operator=(const ServiceManager&) = delete;

   // The next message, or "nothing within a minute".
   std::string next();
   // All messages that have arrived and were not taken.
   std::vector<std::string> rest();

private:
   std::string receive(int flags);

   int fd_ = -1;
};

}  // namespace orvsdkrpcd::test
