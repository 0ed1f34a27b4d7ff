#include "platform/state/EthIntfCounter.h"

#include <fmt/format.h>

namespace Interface {

Pavo::Ptr<const AllEthIntfCounterRillo> EthIntfCounterMountHelper::doMountNotifying(
     const std::string& writer, const std::string& table) {
   if (!manager_) return nullptr;
   auto& mount = mounts_[writer] = manager_->mount(path(writer, table), Tessel::MountMode::read);
   return mount.entity<AllEthIntfCounterRillo>();
}

std::string EthIntfCounterMountHelper::path(std::string_view writer, std::string_view table) {
   return fmt::format("interface/counter/eth/{}/{}", writer, table);
}

}  // namespace Interface
