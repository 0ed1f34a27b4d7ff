// The one place that knows the redirects of a policy map: which are wanted, with which DSCPs, and how much of
// each stands in the switch.
//
// A redirect stands in two layers that come into force at different moments: its two ACLs with the next
// commit of ACLs, its class map and rule with the next push of the policy map. Each layer is unsure, written
// or committed. What is left to do follows from that: unsure layers are to be written, written ones to be
// committed, and a redirect that is wanted and committed in both layers needs nothing.
//
// Nothing here calls the SDK. An operation looks at no more redirects than it is about or than wait for a
// commit, where it does not say otherwise.
//
// Thread-safety: none of its own; guarded by the SDK's lock.
#pragma once

#include <absl/container/flat_hash_set.h>
#include <absl/container/node_hash_map.h>

#include <compare>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "OrvSdkRpc/programming/DscpValues.h"

namespace OrvSdkRpc {

// A name for the pair that reads short where the names are related: what they share stands once, if it ends
// in a separator.
std::string getCbfUniqueName(std::string_view match, std::string_view redirect);

class CbfRedirectTable {
public:
   // Identity of a redirect.
   struct Key {
      std::string match;
      std::string redirect;

      // Of the class map, and the stem of the ACLs' names.
      [[nodiscard]] std::string uniqueName() const { return getCbfUniqueName(match, redirect); }

      auto operator<=>(const Key&) const = default;
      template <class H>
      friend H AbslHashValue(H h, const Key& key) {
         return H::combine(std::move(h), key.match, key.redirect);
      }
   };

   enum class Layer : std::uint8_t {
      unsure,     // it may be missing, or hold something else
      written,    // the SDK has what is wanted, not in force yet
      committed,  // what is wanted is in force
   };

   struct SeqAndDscpValues {
      // Of the rule in the policy map.
      std::uint32_t sequence = 0;
      // Resync generation at which the redirect was last programmed.
      std::uint8_t epoch = 0;
      // What is wanted.
      DscpValues ipv4;
      DscpValues ipv6;
      // The two ACLs.
      Layer lists = Layer::unsure;
      // The class map and the rule of the policy map.
      Layer rule = Layer::unsure;
      // Read back from a class map or lists of other names. It is in force as it is, and to change it takes
      // all layers.
      bool foreign = false;

      [[nodiscard]] bool isUnsure() const { return lists == Layer::unsure || rule == Layer::unsure; }
      [[nodiscard]] bool inForce() const { return lists == Layer::committed && rule == Layer::committed; }
      [[nodiscard]] bool wants(const DscpValues& v4, const DscpValues& v6) const {
         return ipv4 == v4 && ipv6 == v6;
      }
   };

   // References to a redirect are good until it is erased.
   using Redirects = absl::node_hash_map<Key, SeqAndDscpValues>;
   using Redirect = Redirects::value_type;

   [[nodiscard]] const Redirects& redirects() const { return redirects_; }
   [[nodiscard]] Redirects& redirects() { return redirects_; }
   // Null where it is not known.
   [[nodiscard]] Redirect* find(const Key& key);
   [[nodiscard]] const Redirect* find(const Key& key) const;

   // Highest sequence of a rule so far. Only rises: no sequence is used again.
   [[nodiscard]] std::uint32_t lastSequence() const { return lastSequence_; }
   // A rule of the policy map has this sequence.
   void sequenceTaken(std::uint32_t sequence);

   // A redirect that the switch has. A second one of the same key replaces the first.
   void restore(Key key, SeqAndDscpValues values);
   // A new redirect, which takes the next sequence; its lists have come as far as `lists`. REQUIRES: the key
   // is not known.
   Redirect& enter(const Key& key, std::uint8_t epoch, DscpValues ipv4, DscpValues ipv6, Layer lists);
   // Other values are wanted of a known redirect; the same ones change nothing.
   void change(Redirect& redirect, DscpValues ipv4, DscpValues ipv6);

   void listsWritten(Redirect& redirect) { written(redirect, &SeqAndDscpValues::lists); }
   void ruleWritten(Redirect& redirect) { written(redirect, &SeqAndDscpValues::rule); }
   // Of every redirect, what was written is in force: the ACLs were committed, the policy map was pushed.
   void listsCommitted() { committed(&SeqAndDscpValues::lists); }
   void ruleCommitted() { committed(&SeqAndDscpValues::rule); }
   // A commit that was taken for good has failed for the lists of the redirects for which `failed(key)` is
   // true: they are still to be committed. Asks for every redirect.
   template <class Failed>
   void commitFailed(Failed&& failed) {
      for (Redirect& redirect : redirects_) {
         if (redirect.second.lists == Layer::committed && failed(redirect.first)) listsWritten(redirect);
      }
   }
   // The layers are being taken out of the switch.
   static void takenOut(Redirect& redirect);

   // The redirect is to go. True if it was not due yet.
   bool scheduleRemoval(Redirect& redirect) { return due_.insert(&redirect).second; }
   // It is to stay. True if it was due.
   bool cancelRemoval(Redirect& redirect) { return due_.erase(&redirect) != 0; }
   [[nodiscard]] const absl::flat_hash_set<Redirect*>& due() const { return due_; }
   // Forgets what was due. Returns how many.
   std::size_t eraseDue();

   // Forgets everything but the last sequence.
   void clear();

private:
   using LayerOf = Layer SeqAndDscpValues::*;

   void written(Redirect& redirect, LayerOf layer);
   void committed(LayerOf layer);

   Redirects redirects_;
   // Due to go at the next removal.
   absl::flat_hash_set<Redirect*> due_;
   // Has all redirects with a layer that is written, and may have others.
   std::vector<Redirect*> uncommitted_;
   std::uint32_t lastSequence_ = 0;
};

}  // namespace OrvSdkRpc
