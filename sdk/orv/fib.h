// The forwarding information base: the routes by which the switch forwards.
//
// Thread-safety: every operation is a call of the SDK and needs the main thread or
// sdk_scoped_lock (lock.h). Callbacks come from the main loop.
#pragma once

#include <variant>

#include "orv/fib_types.h"
#include "orv/iter.h"
#include "orv/watch_list.h"

namespace orv {

class fib_mgr;

// Registers with the manager for its lifetime; registers nothing if the manager is null. Callbacks need no
// watch, only a manager with events enabled.
// REQUIRES: the manager outlives the handler.
class fib_handler {
public:
   explicit fib_handler(fib_mgr* mgr);
   virtual ~fib_handler();
   fib_handler(const fib_handler&) = delete;
   fib_handler& operator=(const fib_handler&) = delete;

   virtual void on_route_set(const fib_route_t& route);
   virtual void on_route_del(const fib_route_key_t& key);
   virtual void on_fec_set(const fib_fec_t& fec);
   virtual void on_fec_del(const fib_fec_key_t& key);

   [[nodiscard]] fib_mgr* get_fib_mgr() const noexcept { return mgr_; }

private:
   fib_mgr* const mgr_;
};

struct fib_route_iter_impl : iter_impl<fib_route_t> {};
struct fib_fec_iter_impl : iter_impl<fib_fec_t> {};
// By key.
using fib_route_iter_t = iter_base<fib_route_t, fib_route_iter_impl>;
using fib_fec_iter_t = iter_base<fib_fec_t, fib_fec_iter_impl>;

// The default VRF's FIB; read only.
class fib_mgr {
public:
   virtual ~fib_mgr() = default;

   // Whether handlers are called: true if the manager was fetched in mode mgr_mode_type_t::resident.
   [[nodiscard]] virtual bool events_enabled() const = 0;

   [[nodiscard]] virtual fib_route_iter_t fib_route_iter() const = 0;
   [[nodiscard]] virtual bool fib_route_exists(const fib_route_key_t& key) const = 0;
   // A default route object if the route does not exist.
   [[nodiscard]] virtual fib_route_t fib_route(const fib_route_key_t& key) const = 0;

   [[nodiscard]] virtual fib_fec_iter_t fib_fec_iter() const = 0;
   [[nodiscard]] virtual bool fib_fec_exists(const fib_fec_key_t& key) const = 0;
   // A default FEC object if the FEC does not exist.
   [[nodiscard]] virtual fib_fec_t fib_fec(const fib_fec_key_t& key) const = 0;

   // For handlers and for implementations of the manager.
   [[nodiscard]] watch_list<fib_handler, std::monostate>& handlers() noexcept { return handlers_; }

private:
   watch_list<fib_handler, std::monostate> handlers_;
};

}  // namespace orv
