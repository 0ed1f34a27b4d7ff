// Interfaces of every kind.
//
// Thread-safety: every operation is a call of the SDK and needs the main thread or
// sdk_scoped_lock (lock.h). Callbacks come from the main loop.
#pragma once

#include "orv/intf_id.h"
#include "orv/iter.h"
#include "orv/watch_list.h"

namespace orv {

// Whether an interface can pass packets.
enum class oper_status_t : std::uint8_t {
   unknown = 0,
   up = 1,
   down = 2,
};
[[nodiscard]] std::string_view enum_text(oper_status_t v) noexcept;

class intf_mgr;

// Registers with the manager for its lifetime; registers nothing if the manager is null.
// REQUIRES: the manager outlives the handler.
class intf_handler {
public:
   explicit intf_handler(intf_mgr* mgr);
   virtual ~intf_handler();
   intf_handler(const intf_handler&) = delete;
   intf_handler& operator=(const intf_handler&) = delete;

   // No callback comes for an interface that is not watched. An interface may be
   // watched before it exists.
   void watch_all_intfs(bool interest);
   void watch_intf(const intf_id_t& intf, bool interest);

   virtual void on_intf_create(const intf_id_t& intf);  // its status, admin state and description follow
   virtual void on_intf_delete(const intf_id_t& intf);
   virtual void on_oper_status(const intf_id_t& intf, oper_status_t status);
   virtual void on_admin_enabled(const intf_id_t& intf, bool enabled);
   virtual void on_intf_description(const intf_id_t& intf, const std::string& description);

   [[nodiscard]] intf_mgr* get_intf_mgr() const noexcept { return mgr_; }

private:
   intf_mgr* const mgr_;
};

struct intf_iter_impl : iter_impl<intf_id_t> {};
// Ordered by name, with digits compared as numbers.
using intf_iter_t = iter_base<intf_id_t, intf_iter_impl>;

// THROWS: invalid_argument_error, naming the interface, if it does not exist; from every operation except
// exists.
class intf_mgr {
public:
   virtual ~intf_mgr() = default;

   [[nodiscard]] virtual intf_iter_t intf_iter() const = 0;
   [[nodiscard]] virtual bool exists(const intf_id_t& intf) const = 0;
   [[nodiscard]] virtual bool admin_enabled(const intf_id_t& intf) const = 0;
   virtual void admin_enabled_is(const intf_id_t& intf, bool enabled) = 0;
   [[nodiscard]] virtual std::string description(const intf_id_t& intf) const = 0;
   virtual void description_is(const intf_id_t& intf, const std::string& description) = 0;
   [[nodiscard]] virtual oper_status_t oper_status(const intf_id_t& intf) const = 0;
   // The interface with this kernel name.
   [[nodiscard]] virtual intf_id_t orv_intf_name(const std::string& kernel_name) const = 0;
   // The kernel name of an interface.
   [[nodiscard]] virtual std::string kernel_intf_name(const intf_id_t& intf) const = 0;

   // For handlers and for implementations of the manager.
   [[nodiscard]] watch_list<intf_handler, intf_id_t>& handlers() noexcept { return handlers_; }

private:
   watch_list<intf_handler, intf_id_t> handlers_;
};

}  // namespace orv
