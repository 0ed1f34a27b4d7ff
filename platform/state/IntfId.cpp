#include "platform/state/IntfId.h"

#include <algorithm>
#include <deque>
#include <mutex>
#include <unordered_map>

namespace Lumic {
namespace {

// Whether `text` consists of digits; with `slashes`, of groups of digits separated by single slashes.
bool isNumber(std::string_view text, bool slashes) {
   if (text.empty() || text.front() == '/' || text.back() == '/') return false;
   if (text.find("//") != std::string_view::npos) return false;
   return std::all_of(text.begin(), text.end(),
                      [&](char c) { return (c >= '0' && c <= '9') || (slashes && c == '/'); });
}

IntfId::Kind kindOf(std::string_view name) {
   const auto is = [&](std::string_view prefix, bool slashes) {
      return name.starts_with(prefix) && isNumber(name.substr(prefix.size()), slashes);
   };
   if (is("Internal", false)) return IntfId::Kind::internal;
   if (is("PeerEthernet", true)) return IntfId::Kind::peerEth;
   if (is("PeerLag", false)) return IntfId::Kind::peerPortChannel;
   return IntfId::Kind::ordinary;
}

class Names {
public:
   const IntfId::Entry* entry(std::string_view name) {
      const std::lock_guard lock(mutex_);
      const auto known = byName_.find(name);
      if (known != byName_.end()) return known->second;
      entries_.push_back({.name = std::string(name), .kind = kindOf(name), .index = entries_.size()});
      const IntfId::Entry* made = &entries_.back();
      byName_.emplace(made->name, made);
      return made;
   }

private:
   std::mutex mutex_;
   std::deque<IntfId::Entry> entries_;  // a deque, because ids point into it
   std::unordered_map<std::string_view, const IntfId::Entry*> byName_;
};

Names& names() {
   static auto* const instance = new Names;  // never destroyed: ids outlive every static
   return *instance;
}

}  // namespace

IntfId::IntfId(std::string_view name) : entry_(name.empty() ? nullptr : names().entry(name)) {}

}  // namespace Lumic
