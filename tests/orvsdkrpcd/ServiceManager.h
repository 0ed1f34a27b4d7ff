// The socket on which a program tells its service manager how far it is.
//
// Thread-safety: one thread; one object at a time, since NOTIFY_SOCKET of this process and its children names
// it.
#pragma once

#include <string>
#include <vector>

namespace orvsdkrpcd::test {

class ServiceManager {
public:
   // Binds the path. Throws std::system_error.
   explicit ServiceManager(const std::string& path);
   ~ServiceManager();
   ServiceManager(const ServiceManager&) = delete;
   ServiceManager& operator=(const ServiceManager&) = delete;

   // The next message; waits a minute at most and says so where there is none.
   std::string next();
   // All messages that have come and were not taken.
   std::vector<std::string> rest();

private:
   std::string receive(int flags);

   int fd_ = -1;
};

}  // namespace orvsdkrpcd::test
