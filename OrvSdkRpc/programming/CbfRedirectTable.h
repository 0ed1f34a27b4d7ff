// The redirects of a policy map: which are wanted, with which DSCPs, and how much of each is in the switch.
// Nothing else keeps this state.
//
// A redirect has two layers that come into force separately: its two ACLs with the next commit of ACLs, its
// class map and rule with the next push of the policy map. Each layer is unsure, written or committed. That
// determines what is left to do: unsure layers must be written, written layers committed. A wanted redirect
// with two committed layers needs nothing.
//
// Nothing here calls the SDK. Unless it says otherwise, an operation visits only the redirects it concerns
// and those that wait for a commit.
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

// A name for the pair. A common prefix of the two appears only once if it ends at a separator.
std::string getCbfUniqueName(std::string_view match, std::string_view redirect);

class CbfRedirectTable {
public:
   // Identity of a redirect.
   struct Key {
      std::string match;
      std::string redirect;

      // Name of the class map and stem of the ACLs' names.
      [[nodiscard]] std::string uniqueName() const { return getCbfUniqueName(match, redirect); }

      auto operator<=>(const Key&) const = default;
      template <class H>
      friend H AbslHashValue(H h, const Key& key) {
         return H::combine(std::move(h), key.match, key.redirect);
      }
   };

   enum class Layer : std::uint8_t {
      unsure,     // may be missing or differ from what is wanted
      written,    // the SDK has what is wanted, but it is not in force yet
      committed,  // what is wanted is in force
   };

   struct SeqAndDscpValues {
      // Sequence of the rule in the policy map.
      std::uint32_t sequence = 0;
      // Resync epoch in which the redirect was last programmed.
      std::uint8_t epoch = 0;
      // The wanted DSCPs.
      DscpValues ipv4;
      DscpValues ipv6;
      // The two ACLs.
      Layer lists = Layer::unsure;
      // The class map and the rule of the policy map.
      Layer rule = Layer::unsure;
      // Read back from a class map or ACLs with other names. It is in force, but a change has to rewrite all
      // layers.
      bool foreign = false;

      [[nodiscard]] bool isUnsure() const { return lists == Layer::unsure || rule == Layer::unsure; }
      [[nodiscard]] bool inForce() const { return lists == Layer::committed && rule == Layer::committed; }
      [[nodiscard]] bool wants(const DscpValues& v4, const DscpValues& v6) const {
         return ipv4 == v4 && ipv6 == v6;
      }
   };

   // References to a redirect are valid until it is erased.
   using Redirects = absl::node_hash_map<Key, SeqAndDscpValues>;
   using Redirect = Redirects::value_type;

   [[nodiscard]] const Redirects& redirects() const { return redirects_; }
   [[nodiscard]] Redirects& redirects() { return redirects_; }
   // Null if the key is unknown.
   [[nodiscard]] Redirect* find(const Key& key);
   [[nodiscard]] const Redirect* find(const Key& key) const;

   // Highest rule sequence so far. It never decreases: no sequence is reused.
   [[nodiscard]] std::uint32_t lastSequence() const { return lastSequence_; }
   // Records that a rule of the policy map has this sequence.
   void sequenceTaken(std::uint32_t sequence);

   // Adds a redirect that the switch has. A second one with the same key replaces the first.
   void restore(Key key, SeqAndDscpValues values);
   // Adds a new redirect with the next sequence. `lists` is the state of its ACLs.
   // REQUIRES: the key is unknown.
   Redirect& enter(const Key& key, std::uint8_t epoch, DscpValues ipv4, DscpValues ipv6, Layer lists);
   // Sets the wanted DSCPs of a known redirect. If its ACLs are then unsure and its rule refers to others, so
   // is the rule.
   void change(Redirect& redirect, DscpValues ipv4, DscpValues ipv6);

   void listsWritten(Redirect& redirect) { written(redirect, &SeqAndDscpValues::lists); }
   void ruleWritten(Redirect& redirect) { written(redirect, &SeqAndDscpValues::rule); }
   // Records that the written layers of all redirects are in force: the ACLs were committed, the policy map
   // was pushed.
   void listsCommitted() { committed(&SeqAndDscpValues::lists); }
   void ruleCommitted() { committed(&SeqAndDscpValues::rule); }
   // RETURNS: the sequences of the rules that wait for a push.
   [[nodiscard]] std::vector<std::uint32_t> unpushed() const;
   // Records that this push was refused: these rules are unsure.
   void unpushedRefused();
   // A commit that was thought complete has failed for the ACLs of the redirects for which `failed(key)` is
   // true: they need another commit. Visits every redirect.
   template <class Failed>
   void commitFailed(Failed&& failed) {
      for (Redirect& redirect : redirects_) {
         if (redirect.second.lists == Layer::committed && failed(redirect.first)) listsWritten(redirect);
      }
   }
   // The layers are being removed from the switch.
   static void takenOut(Redirect& redirect);

   // Makes the redirect due for removal.
   // RETURNS: true if it was not due yet.
   bool scheduleRemoval(Redirect& redirect) { return due_.insert(&redirect).second; }
   // Cancels the removal.
   // RETURNS: true if it was due.
   bool cancelRemoval(Redirect& redirect) { return due_.erase(&redirect) != 0; }
   [[nodiscard]] const absl::flat_hash_set<Redirect*>& due() const { return due_; }
   // Forgets the due redirects.
   // RETURNS: their number.
   std::size_t eraseDue();

   // Forgets everything except the last sequence.
   void clear();

private:
   using LayerOf = Layer SeqAndDscpValues::*;

   void written(Redirect& redirect, LayerOf layer);
   void committed(LayerOf layer);

   Redirects redirects_;
   // Redirects due for removal.
   absl::flat_hash_set<Redirect*> due_;
   // Contains every redirect with a written layer, and possibly others.
   std::vector<Redirect*> uncommitted_;
   std::uint32_t lastSequence_ = 0;
};

}  // namespace OrvSdkRpc
