#include "OrvSdkRpc/server/TagManager.h"

#include <algorithm>
#include <utility>

namespace OrvSdkRpc {

TagManager::~TagManager() {
   clear();
}

OpaqueId TagManager::nextId() noexcept {
   return reinterpret_cast<OpaqueId>(lastId_.fetch_add(1, std::memory_order_relaxed) + 1);
}

void TagManager::add(std::size_t serviceId, std::shared_ptr<RequestHandler> handler) {
   const OpaqueId tag = handler->tag();
   const OpaqueId done = handler->doneTag();
   MutexLock lock(mutex_);
   if (done) tags_.insert_or_assign(done, Tag{serviceId, handler, {}});
   tags_.insert_or_assign(tag, Tag{serviceId, std::move(handler), {}});
}

OpaqueId TagManager::addExtra(std::size_t serviceId, const std::shared_ptr<RequestHandler>& handler) {
   const OpaqueId tag = nextId();
   MutexLock lock(mutex_);
   tags_.insert_or_assign(tag, Tag{serviceId, handler, {}});
   handler->extraTags_.push_back(tag);
   return tag;
}

std::shared_ptr<RequestHandler> TagManager::find(OpaqueId tag) const {
   MutexLock lock(mutex_);
   const auto i = tags_.find(tag);
   return i == tags_.end() ? nullptr : i->second.handler;
}

TagManager::Event TagManager::findEvent(OpaqueId tag) const {
   MutexLock lock(mutex_);
   const auto i = tags_.find(tag);
   if (i == tags_.end()) return {};
   const Tag& entry = i->second;
   if (entry.handler) return {.serviceId = entry.serviceId, .handler = entry.handler, .registered = true};
   return {.serviceId = entry.serviceId, .handler = entry.removed.lock(), .registered = false};
}

void TagManager::remove(OpaqueId tag) {
   // Destroyed after the unlock: a handler's destructor may take locks that precede this one in the lock
   // order.
   std::shared_ptr<RequestHandler> last;
   MutexLock lock(mutex_);
   const auto i = tags_.find(tag);
   if (i == tags_.end() || !i->second.handler) return;
   last = std::move(i->second.handler);
   if (tag == last->tag() || tag == last->doneTag()) {
      tags_.erase(i);
   } else {
      i->second.removed = last;
   }
   if (!holds(*last)) eraseExtraTags(*last);
   lock.unlock();
}

bool TagManager::registered(OpaqueId tag) const {
   const auto i = tags_.find(tag);
   return i != tags_.end() && i->second.handler;
}

bool TagManager::holds(const RequestHandler& handler) const {
   if (registered(handler.tag()) || registered(handler.doneTag())) return true;
   for (const OpaqueId tag : handler.extraTags_) {
      if (registered(tag)) return true;
   }
   return false;
}

void TagManager::eraseExtraTags(RequestHandler& handler) {
   for (const OpaqueId tag : handler.extraTags_)
      tags_.erase(tag);
   handler.extraTags_.clear();
}

void TagManager::removeAll(RequestHandler& handler) {
   std::shared_ptr<RequestHandler> last;
   MutexLock lock(mutex_);
   eraseExtraTags(handler);
   if (handler.doneTag()) tags_.erase(handler.doneTag());
   const auto i = tags_.find(handler.tag());
   if (i == tags_.end()) return;
   last = std::move(i->second.handler);
   tags_.erase(i);
   lock.unlock();
}

void TagManager::clear() {
   Map all;
   {
      MutexLock lock(mutex_);
      all.swap(tags_);
      for (auto& [tag, entry] : all)
         if (entry.handler) entry.handler->extraTags_.clear();
   }
}

std::size_t TagManager::size() const {
   MutexLock lock(mutex_);
   return static_cast<std::size_t>(std::count_if(
        tags_.begin(), tags_.end(), [](const auto& tag) { return tag.second.handler != nullptr; }));
}

}  // namespace OrvSdkRpc
