#include "zelt/Interleavings.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>
#include <stdexcept>

namespace Zelt::Interleavings {

namespace {

constexpr std::size_t stackSize = 8 * 1024;

// At fixed addresses, since these objects hold pointers to each other.
alignas(64) World theWorld;
alignas(64) std::array<std::array<std::byte, stackSize>, maxFibers> stacks;
std::array<ucontext_t, maxFibers> contexts;
Explorer* active = nullptr;

using Fibers = World::Fibers;

std::byte* topOf(std::size_t fiber) {
   return stacks[fiber].data() + stackSize;
}

// The part of a suspended fiber's state that is not on its stack, as bytes, and the end of its stack. The
// rest of a context never changes.
#if defined(__x86_64__)
auto& registersOf(std::size_t fiber) {
   return contexts[fiber].uc_mcontext.gregs;
}
std::uintptr_t stackPointerOf(std::size_t fiber) {
   return static_cast<std::uintptr_t>(registersOf(fiber)[REG_RSP]);
}
// What a call leaves in scratch registers is not part of the state.
void forgetScratchRegisters(std::size_t fiber) {
   for (const int scratch : {REG_RDI, REG_RSI, REG_RDX, REG_RCX, REG_R8, REG_R9})
      registersOf(fiber)[scratch] = 0;
}
#else
auto& registersOf(std::size_t fiber) {
   return contexts[fiber];
}
std::uintptr_t stackPointerOf(std::size_t fiber) {
   return reinterpret_cast<std::uintptr_t>(stacks[fiber].data());
}
void forgetScratchRegisters(std::size_t) {}
#endif

// The lowest byte of a suspended fiber's stack that is alive, rounded down to a word.
std::byte* aliveFrom(std::size_t fiber) {
   return reinterpret_cast<std::byte*>(stackPointerOf(fiber) & ~std::uintptr_t{7});
}

std::size_t words(std::size_t bytes) {
   return bytes / sizeof(std::uint64_t);
}

static_assert(sizeof(World) % sizeof(std::uint64_t) == 0);

}  // namespace

World& Explorer::world() {
   return theWorld;
}

Explorer::Explorer(std::size_t count, int clockJumps, std::int64_t jump,
                   const std::function<void(World&)>& prepare, Program program)
     : count_(count), program_(std::move(program)) {
   if (count_ > maxFibers || active != nullptr) throw std::logic_error("explorer");
   active = this;
   std::memset(static_cast<void*>(&theWorld), 0, sizeof(theWorld));
   std::memset(static_cast<void*>(&stacks), 0, sizeof(stacks));
   theWorld.jumpsLeft = clockJumps;
   theWorld.jump = jump;
   prepare(theWorld);
   for (std::size_t i = 0; i < maxFibers; ++i) {
      theWorld.fibers[i].state = Fibers::done;
      zeroBelow_[i] = topOf(i);
   }
   for (std::size_t i = 0; i < count_; ++i) {
      theWorld.fibers[i].state = Fibers::running;
      std::memset(static_cast<void*>(&contexts[i]), 0, sizeof(contexts[i]));
      getcontext(&contexts[i]);
      contexts[i].uc_stack.ss_sp = stacks[i].data();
      contexts[i].uc_stack.ss_size = stackSize;
      makecontext(&contexts[i], reinterpret_cast<void (*)()>(&Explorer::entry), 1, static_cast<unsigned>(i));
   }
}

Explorer::~Explorer() {
   active = nullptr;
}

void Explorer::entry(unsigned fiber) {
   active->program_(fiber);
   theWorld.fibers[fiber].state = Fibers::done;
   toExplorer();
}

void Explorer::toExplorer() {
   swapcontext(&contexts[theWorld.current], &active->explorer_);
}

void Explorer::step() {
   toExplorer();
}

void Explorer::waitWhile(const bool* taken) {
   auto& me = theWorld.fibers[theWorld.current];
   me.state = Fibers::forMutex;
   me.waitsFor = taken;
   toExplorer();
   me.waitsFor = nullptr;
}

bool Explorer::sleep(const void* word, bool timed) {
   auto& me = theWorld.fibers[theWorld.current];
   me.state = timed ? Fibers::forWordTimed : Fibers::forWord;
   me.word = word;
   toExplorer();
   me.word = nullptr;
   return !std::exchange(me.timedOut, false);
}

void Explorer::wake(const void* word) {
   for (auto& fiber : theWorld.fibers) {
      if (fiber.word != word || (fiber.state != Fibers::forWord && fiber.state != Fibers::forWordTimed))
         continue;
      fiber.state = Fibers::running;
      return;
   }
}

void Explorer::fault(const std::string& what) {
   if (active->fault_.empty()) active->fault_ = what;
}

std::vector<Explorer::Choice> Explorer::choices() const {
   std::vector<Choice> all;
   const auto add = [&](Choice::Kind kind, std::size_t fiber) {
      all.push_back({.kind = kind, .fiber = static_cast<std::uint8_t>(fiber)});
   };
   for (std::size_t i = 0; i < count_; ++i) {
      const auto& fiber = theWorld.fibers[i];
      switch (fiber.state) {
         case Fibers::running:
            add(Choice::Kind::step, i);
            break;
         case Fibers::forMutex:
            if (!*fiber.waitsFor) add(Choice::Kind::step, i);
            break;
         case Fibers::forWordTimed:
            add(Choice::Kind::timeOut, i);
            break;
         case Fibers::forWord:
         case Fibers::done:
            break;
      }
   }
   // When no fiber can continue, a clock jump does not help.
   if (!all.empty() && theWorld.jumpsLeft > 0) add(Choice::Kind::clock, 0);
   return all;
}

bool Explorer::allDone() const {
   return std::all_of(theWorld.fibers.begin(), theWorld.fibers.end(),
                      [](const auto& fiber) { return fiber.state == Fibers::done; });
}

bool Explorer::stranded() const {
   bool asleep = false;
   for (const auto& fiber : theWorld.fibers) {
      if (fiber.state == Fibers::forWord) {
         asleep = true;
      } else if (fiber.state != Fibers::done && !fiber.outside) {
         return false;
      }
   }
   return asleep;
}

void Explorer::apply(Choice choice) {
   if (choice.kind == Choice::Kind::clock) {
      --theWorld.jumpsLeft;
      theWorld.now += theWorld.jump;
      return;
   }
   auto& fiber = theWorld.fibers[choice.fiber];
   fiber.timedOut = choice.kind == Choice::Kind::timeOut;
   fiber.state = Fibers::running;
   theWorld.current = choice.fiber;
   zeroBelow_[choice.fiber] = stacks[choice.fiber].data();
   swapcontext(&explorer_, &contexts[choice.fiber]);
   theWorld.current = 0;
   forgetScratchRegisters(choice.fiber);
}

Explorer::Bytes Explorer::capture() {
   Bytes bytes(words(sizeof(World)));
   std::memcpy(bytes.data(), &theWorld, sizeof(World));
   const auto append = [&](const void* from, std::size_t size) {
      const std::size_t at = bytes.size();
      bytes.resize(at + words(size));
      std::memcpy(bytes.data() + at, from, size);
   };
   for (std::size_t i = 0; i < count_; ++i) {
      if (theWorld.fibers[i].state == Fibers::done) continue;
      append(&registersOf(i), sizeof(registersOf(i)));
      const std::byte* const from = aliveFrom(i);
      append(from, static_cast<std::size_t>(topOf(i) - from));
   }
   return bytes;
}

void Explorer::restore(const Bytes& bytes) {
   std::memcpy(static_cast<void*>(&theWorld), bytes.data(), sizeof(World));
   std::size_t at = words(sizeof(World));
   const auto take = [&](void* to, std::size_t size) {
      std::memcpy(to, bytes.data() + at, size);
      at += words(size);
   };
   for (std::size_t i = 0; i < count_; ++i) {
      if (theWorld.fibers[i].state == Fibers::done) continue;
      take(&registersOf(i), sizeof(registersOf(i)));
      std::byte* const from = aliveFrom(i);
      // The bytes below are dead. Zeros keep them out of later states.
      if (zeroBelow_[i] < from) std::memset(zeroBelow_[i], 0, static_cast<std::size_t>(from - zeroBelow_[i]));
      zeroBelow_[i] = from;
      take(from, static_cast<std::size_t>(topOf(i) - from));
   }
}

// With 128 bits a collision of two states is too unlikely to matter.
Explorer::Key Explorer::keyOf(const Bytes& bytes) {
   std::uint64_t a = 0x9e3779b97f4a7c15;
   std::uint64_t b = 0xc2b2ae3d27d4eb4f;
   for (const std::uint64_t word : bytes) {
      a = (a ^ word) * 0xff51afd7ed558ccd;
      a ^= a >> 32;
      b = (b + word) * 0xc4ceb9fe1a85ec53;
      b ^= b >> 29;
   }
   return {a, b};
}

Result Explorer::explore() {
   std::deque<std::pair<std::uint32_t, Bytes>> pending;
   const auto arrive = [&](std::uint32_t from, Choice choice) {
      Bytes bytes = capture();
      const auto [at, fresh] = seen_.emplace(keyOf(bytes), static_cast<std::uint32_t>(nodes_.size()));
      if (from != at->second || fresh) edges_.emplace_back(from, at->second);
      if (!fresh) return;
      nodes_.push_back({.parent = from, .choice = choice});
      if (fault_.empty() && stranded())
         fault_ = "all who wait sleep without a time-out, and nobody will wake them";
      if (allDone()) ends_.push_back(at->second);
      pending.emplace_back(at->second, std::move(bytes));
   };
   arrive(0, {});
   while (fault_.empty() && !pending.empty()) {
      const auto [node, bytes] = std::move(pending.front());
      pending.pop_front();
      restore(bytes);
      const auto all = choices();
      if (all.empty() && !allDone()) fault_ = "nobody can go on" + wayTo(node);
      for (const Choice choice : all) {
         restore(bytes);
         apply(choice);
         arrive(node, choice);
         if (!fault_.empty()) {
            fault_ += wayTo(node) + fmt::format(", then {}", choice.fiber);
            break;
         }
      }
   }
   if (fault_.empty()) fault_ = unreachableEnd();
   return {.states = nodes_.size(), .steps = edges_.size(), .fault = fault_};
}

std::string Explorer::wayTo(std::uint32_t node) const {
   std::string way;
   for (; node != 0; node = nodes_[node].parent) {
      const Choice choice = nodes_[node].choice;
      const std::string fiber = std::to_string(choice.fiber);
      way.insert(0, choice.kind == Choice::Kind::clock     ? " clock"
                    : choice.kind == Choice::Kind::timeOut ? " " + fiber + "(timed out)"
                                                           : " " + fiber);
   }
   return "; by steps of fibers" + way;
}

std::string Explorer::unreachableEnd() const {
   std::vector<std::vector<std::uint32_t>> before(nodes_.size());
   for (const auto& [from, to] : edges_)
      before[to].push_back(from);
   std::vector<bool> reached(nodes_.size());
   std::vector<std::uint32_t> pending = ends_;
   for (const auto end : ends_)
      reached[end] = true;
   while (!pending.empty()) {
      const auto node = pending.back();
      pending.pop_back();
      for (const auto from : before[node]) {
         if (reached[from]) continue;
         reached[from] = true;
         pending.push_back(from);
      }
   }
   const auto stuck = std::find(reached.begin(), reached.end(), false);
   if (stuck == reached.end()) return {};
   return "the end cannot be reached" + wayTo(static_cast<std::uint32_t>(stuck - reached.begin()));
}

}  // namespace Zelt::Interleavings
