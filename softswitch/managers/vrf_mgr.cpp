#include "softswitch/managers/vrf_mgr.h"

#include <algorithm>
#include <cctype>

#include "orv/error.h"
#include "orv/value.h"

namespace softswitch {
namespace {

constexpr std::size_t maxNameBytes = 63;

void checkName(const std::string& name) {
   const auto plain = [](unsigned char c) { return std::isalnum(c) || c == '.' || c == '_' || c == '-'; };
   const bool reserved = name == orv::default_vrf_name || name == "all";
   if (name.empty() || name.size() > maxNameBytes || reserved ||
       !std::all_of(name.begin(), name.end(), plain)) {
      throw orv::invalid_argument_error(fmt::format(
           "VRF name '{}', expected 1 to {} letters, digits, '.', '_' or '-', and neither default nor all",
           orv::detail::quotable(name), maxNameBytes));
   }
}

}  // namespace

VrfMgr::VrfMgr(const Context& context) : config_(context.store, "vrf", context.limits.vrfs) {}

orv::vrf_iter_t VrfMgr::vrf_iter() const {
   orv::sdk_lock_check();
   const auto name = [](const Config::Item& item) { return std::optional(*item.key); };
   return makeTableIter<orv::vrf_iter_t>(config_, name);
}

bool VrfMgr::exists(const std::string& vrf_name) const {
   orv::sdk_lock_check();
   return vrf_name == orv::default_vrf_name || config_.contains(vrf_name);
}

void VrfMgr::require(const std::string& name) const {
   if (!exists(name)) {
      throw orv::invalid_argument_error(fmt::format("unknown VRF {}", orv::detail::quotable(name)));
   }
}

void VrfMgr::vrfSet(const std::string& name) {
   orv::sdk_lock_check();
   checkName(name);
   config_.set(name, {});
}

void VrfMgr::vrfDel(const std::string& name) {
   orv::sdk_lock_check();
   checkName(name);
   require(name);
   for (const auto& usage : usages_) {
      if (const auto words = usage(name); !words.empty()) {
         throw orv::invalid_argument_error(fmt::format("VRF {} cannot be removed, it has {}", name, words));
      }
   }
   config_.erase(name);
}

}  // namespace softswitch
