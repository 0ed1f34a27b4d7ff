#include "OrvSdkRpc/programming/CbfRedirectTable.h"

#include <fmt/format.h>

#include <algorithm>

#include "OrvSdkRpc/server/Assert.h"

namespace OrvSdkRpc {
namespace {

bool isSeparator(char c) {
   return c == '_' || c == '-';
}

}  // namespace

std::string getCbfUniqueName(std::string_view match, std::string_view redirect) {
   const auto differ = std::mismatch(match.begin(), match.end(), redirect.begin(), redirect.end()).first;
   const auto common = static_cast<std::size_t>(differ - match.begin());
   if (common != 0) {
      if (common == match.size() && match.size() < redirect.size() && isSeparator(redirect[common])) {
         return std::string(redirect);
      }
      if (isSeparator(match[common - 1])) return fmt::format("{}{}", match, redirect.substr(common - 1));
   }
   return fmt::format("{}-{}", match, redirect);
}

CbfRedirectTable::Redirect* CbfRedirectTable::find(const Key& key) {
   const auto found = redirects_.find(key);
   return found == redirects_.end() ? nullptr : &*found;
}

const CbfRedirectTable::Redirect* CbfRedirectTable::find(const Key& key) const {
   const auto found = redirects_.find(key);
   return found == redirects_.end() ? nullptr : &*found;
}

void CbfRedirectTable::sequenceTaken(std::uint32_t sequence) {
   lastSequence_ = std::max(lastSequence_, sequence);
}

void CbfRedirectTable::restore(Key key, SeqAndDscpValues values) {
   assertThat(values.lists != Layer::written && values.rule != Layer::written, "nothing is written");
   sequenceTaken(values.sequence);
   redirects_.insert_or_assign(std::move(key), std::move(values));
}

CbfRedirectTable::Redirect& CbfRedirectTable::enter(const Key& key, std::uint8_t epoch, DscpValues ipv4,
                                                    DscpValues ipv6, Layer lists) {
   SeqAndDscpValues values{.sequence = lastSequence_ + 1,
                           .epoch = epoch,
                           .ipv4 = std::move(ipv4),
                           .ipv6 = std::move(ipv6),
                           .lists = lists};
   const auto [entered, isNew] = redirects_.try_emplace(key, std::move(values));
   assertThat(isNew, "isNew");
   ++lastSequence_;
   if (lists == Layer::written) uncommitted_.push_back(&*entered);
   return *entered;
}

void CbfRedirectTable::change(Redirect& redirect, DscpValues ipv4, DscpValues ipv6) {
   SeqAndDscpValues& values = redirect.second;
   if (!values.wants(ipv4, ipv6)) {
      values.ipv4 = std::move(ipv4);
      values.ipv6 = std::move(ipv6);
      values.lists = Layer::unsure;
   }
   // The ACLs that are written next are not those that the rule refers to.
   if (values.lists == Layer::unsure && std::exchange(values.foreign, false)) values.rule = Layer::unsure;
}

void CbfRedirectTable::written(Redirect& redirect, LayerOf layer) {
   redirect.second.*layer = Layer::written;
   // The two layers of a redirect are written in succession, so its duplicate can only be the last element.
   if (uncommitted_.empty() || uncommitted_.back() != &redirect) uncommitted_.push_back(&redirect);
}

void CbfRedirectTable::committed(LayerOf layer) {
   std::erase_if(uncommitted_, [layer](Redirect* redirect) {
      SeqAndDscpValues& values = redirect->second;
      if (values.*layer == Layer::written) values.*layer = Layer::committed;
      return values.lists != Layer::written && values.rule != Layer::written;
   });
}

std::vector<std::uint32_t> CbfRedirectTable::unpushed() const {
   std::vector<std::uint32_t> sequences;
   for (const Redirect* const redirect : uncommitted_) {
      if (redirect->second.rule == Layer::written) sequences.push_back(redirect->second.sequence);
   }
   return sequences;
}

void CbfRedirectTable::unpushedRefused() {
   std::erase_if(uncommitted_, [](Redirect* redirect) {
      SeqAndDscpValues& values = redirect->second;
      if (values.rule == Layer::written) values.rule = Layer::unsure;
      return values.lists != Layer::written;
   });
}

void CbfRedirectTable::takenOut(Redirect& redirect) {
   redirect.second.lists = Layer::unsure;
   redirect.second.rule = Layer::unsure;
}

std::size_t CbfRedirectTable::eraseDue() {
   const std::size_t count = due_.size();
   std::erase_if(uncommitted_, [this](Redirect* redirect) { return due_.contains(redirect); });
   for (const Redirect* const redirect : due_)
      redirects_.erase(redirects_.find(redirect->first));
   due_.clear();
   return count;
}

void CbfRedirectTable::clear() {
   due_.clear();
   uncommitted_.clear();
   redirects_.clear();
}

}  // namespace OrvSdkRpc
