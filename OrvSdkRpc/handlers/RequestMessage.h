// Where a handler keeps its messages.
//
// Thread-safety: belongs to its handler.
//
// A bulk has thousands of small sub-messages; an arena turns their allocations into a few blocks that are
// freed together with the handler. A single request is cheaper as a plain member.
#pragma once

#include <google/protobuf/arena.h>

namespace OrvSdkRpc {

// A message that is a member of the handler.
class MemberMessages {
public:
   template <class M>
   class Holder {
   public:
      explicit Holder(MemberMessages&) {}
      M& operator*() { return message_; }
      const M& operator*() const { return message_; }
      M* operator->() { return &message_; }

   private:
      M message_;
   };
};

// Messages that live in the handler's arena.
class ArenaMessages {
public:
   template <class M>
   class Holder {
   public:
      explicit Holder(ArenaMessages& messages)
           : message_(google::protobuf::Arena::CreateMessage<M>(&messages.arena_)) {}
      M& operator*() { return *message_; }
      const M& operator*() const { return *message_; }
      M* operator->() { return message_; }

   private:
      M* message_;
   };

private:
   static google::protobuf::ArenaOptions options() {
      google::protobuf::ArenaOptions o;
      o.max_block_size = std::size_t{64} << 10;
      return o;
   }

   google::protobuf::Arena arena_{options()};
};

}  // namespace OrvSdkRpc
