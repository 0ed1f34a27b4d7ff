#pragma once

// Intrusive reference-counted pointers. The count is in the object, so a raw pointer can become an owner
// again.
// Thread-safety: the count is atomic, so several threads may own one object. Two threads must not write a
// single Ptr at once.

#include <atomic>
#include <cstddef>
#include <functional>
#include <type_traits>
#include <utility>

namespace Pavo {

// Base of objects that Ptr owns. A new object has a count of 0.
class RefCounted {
public:
   RefCounted(const RefCounted&) = delete;
   RefCounted& operator=(const RefCounted&) = delete;

   void ref() const noexcept { count_.fetch_add(1, std::memory_order_relaxed); }
   void unref() const noexcept {
      if (count_.fetch_sub(1, std::memory_order_acq_rel) == 1) delete this;
   }
   // For tests and traces only: other threads may change it at any time.
   std::size_t refCount() const noexcept { return count_.load(std::memory_order_relaxed); }

protected:
   RefCounted() = default;
   virtual ~RefCounted() = default;

private:
   mutable std::atomic<std::size_t> count_{0};
};

template <typename T>
class Ptr {
public:
   constexpr Ptr() noexcept = default;
   constexpr Ptr(std::nullptr_t) noexcept {}
   Ptr(T* object) noexcept : object_(object) {
      if (object_ != nullptr) object_->ref();
   }
   Ptr(const Ptr& other) noexcept : Ptr(other.object_) {}
   Ptr(Ptr&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
   template <typename U>
   requires std::is_convertible_v<U*, T*> Ptr(const Ptr<U>& other)
   noexcept : Ptr(other.get()) {}
   ~Ptr() {
      if (object_ != nullptr) object_->unref();
   }
   Ptr& operator=(Ptr other) noexcept {
      std::swap(object_, other.object_);
      return *this;
   }

   T* get() const noexcept { return object_; }
   T* operator->() const noexcept { return object_; }
   T& operator*() const noexcept { return *object_; }
   explicit operator bool() const noexcept { return object_ != nullptr; }

   // Pointer equality; also compares a type with its base.
   template <typename U>
   friend bool operator==(const Ptr& left, const Ptr<U>& right) noexcept {
      return left.get() == right.get();
   }
   friend bool operator==(const Ptr& left, std::nullptr_t) noexcept { return left.object_ == nullptr; }

private:
   T* object_ = nullptr;
};

template <typename T, typename... Args>
Ptr<T> makePtr(Args&&... args) {
   return Ptr<T>(new T(std::forward<Args>(args)...));
}

// RETURNS: the object as a T, or null if it is not a T.
template <typename T, typename U>
Ptr<T> dynamicPtr(const Ptr<U>& from) noexcept {
   return Ptr<T>(dynamic_cast<T*>(from.get()));
}

}  // namespace Pavo

template <typename T>
struct std::hash<Pavo::Ptr<T>> {
   std::size_t operator()(const Pavo::Ptr<T>& pointer) const noexcept {
      return std::hash<T*>()(pointer.get());
   }
};
