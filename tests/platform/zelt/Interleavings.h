#pragma once

// Explores a small concurrent program in every interleaving of its steps.
//
// The program is ordinary code that runs on two or three fibers of one thread. Before each access to memory
// that fibers share it calls step(), where the explorer chooses which fiber continues. The explorer holds the
// program's whole state, stacks included, as bytes. It returns to a state by copying the bytes back, and
// recognises a state that it has seen. So it explores a graph, not a tree, and loops in the program
// terminate.
//
// Interleavings are sequentially consistent; reorderings under weaker memory orders are not explored.
//
// Thread-safety: none; one explorer at a time.

#include <ucontext.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace Zelt::Interleavings {

inline constexpr std::size_t maxFibers = 3;

// What the fibers share. It is at a fixed address, so that its bytes can be copied away and back: everything
// in it survives a copy of its bytes, and its pointers point into it or into the fibers' stacks.
struct World {
   enum class Fibers : std::uint8_t {
      running,       // may take its next step
      forWord,       // sleeps on a word
      forWordTimed,  // the same, but may time out at any moment
      forMutex,      // waits until `waitsFor` is false
      done,
   };
   struct Fiber {
      Fibers state;
      bool outside;   // between two operations of the program
      bool timedOut;  // how its last sleep ended
      const void* word;
      const bool* waitsFor;
   };

   std::array<Fiber, maxFibers> fibers;
   std::size_t current;
   std::int64_t now;   // the clock
   int jumpsLeft;      // how often the clock may still jump
   std::int64_t jump;  // by how much
   int inside;         // for the program: threads inside a section that admits one
   alignas(64) std::array<std::byte, 128> object;  // for the program: the object under test
};

struct Result {
   std::size_t states = 0;
   std::size_t steps = 0;
   // Empty when nothing is wrong; else the fault and the shortest way to it.
   std::string fault;
};

class Explorer {
public:
   using Program = std::function<void(std::size_t fiber)>;

   // `prepare` makes the world's object; then `program(i)` runs on each of `count` fibers.
   Explorer(std::size_t count, int clockJumps, std::int64_t jump, const std::function<void(World&)>& prepare,
            Program program);
   ~Explorer();
   Explorer(const Explorer&) = delete;
   Explorer& operator=(const Explorer&) = delete;

   // Explores all states, and ends at the first fault: a fiber reported one; no fiber can continue though not
   // all are done; all fibers that are neither outside nor done sleep without a timeout; or the end cannot be
   // reached from some state.
   Result explore();

   // For the program, on a fiber.
   static World& world();
   // Everything up to the next step is atomic.
   static void step();
   // One step that waits until `*taken` is false.
   static void waitWhile(const bool* taken);
   // Sleeps until wake(word) or, when `timed`, until any moment. RETURNS: false on timeout.
   static bool sleep(const void* word, bool timed);
   static void wake(const void* word);
   static void fault(const std::string& what);

private:
   struct Choice {
      enum class Kind : std::uint8_t { step, timeOut, clock };
      Kind kind;
      std::uint8_t fiber;
   };
   struct Node {
      std::uint32_t parent;
      Choice choice;
   };
   using Bytes = std::vector<std::uint64_t>;
   using Key = std::pair<std::uint64_t, std::uint64_t>;

   static void entry(unsigned fiber);
   static void toExplorer();

   std::vector<Choice> choices() const;
   bool allDone() const;
   bool stranded() const;
   void apply(Choice choice);
   Bytes capture();
   void restore(const Bytes& bytes);
   static Key keyOf(const Bytes& bytes);
   std::string wayTo(std::uint32_t node) const;
   std::string unreachableEnd() const;

   const std::size_t count_;
   const Program program_;
   ucontext_t explorer_{};
   std::string fault_;

   struct KeyHash {
      std::size_t operator()(const Key& key) const { return key.first; }
   };

   // Below this address a fiber's stack is zeros.
   std::array<std::byte*, maxFibers> zeroBelow_{};
   std::unordered_map<Key, std::uint32_t, KeyHash> seen_;
   std::vector<Node> nodes_;
   std::vector<std::pair<std::uint32_t, std::uint32_t>> edges_;
   std::vector<std::uint32_t> ends_;
};

}  // namespace Zelt::Interleavings
