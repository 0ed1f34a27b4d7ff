// Definitions of RPCs that only forward to an operation of the SDK.
//
//    struct AdminEnabled
//         : Getter<&Rpc::Requestadmin_enabled, &orv::intf_mgr::admin_enabled,
//                  &IntfAdminEnabledResponse::set_admin_enabled, &IntfAdminEnabledRequest::intf_id> {};
//    struct AdminEnabledIs
//         : Setter<&Rpc::Requestadmin_enabled_is, &orv::intf_mgr::admin_enabled_is,
//                  &IntfAdminEnabledIsRequest::intf_id, &IntfAdminEnabledIsRequest::admin_enabled> {};
//    struct BulkAdminEnabledIs : BulkOf<AdminEnabledIs, &Rpc::Requestbulk_admin_enabled_is> {};
//    struct Intfs : Lister<&Rpc::Requestintfs, &orv::intf_mgr::intf_iter, &IntfsResponse::mutable_intf_id>
//    {};
//
// `operation` is a member function of the SDK manager that the service returns from `manager()`. Each
// argument is a field of the request, named by its accessor; fields are converted in order (OrvSdkRpc/types).
// The result is converted into `slot`, a set_... or mutable_... accessor of the response. An operation needs
// its own definition if it is overloaded, if an argument is narrower than its field, or if it fills several
// fields of the response.
//
// Thread-safety: that of the handlers. impl and iterator run with the SDK's lock held.
#pragma once

#include <cstddef>
#include <tuple>
#include <type_traits>
#include <utility>

#include "OrvSdkRpc/server/MethodTraits.h"
#include "OrvSdkRpc/types/Converted.h"

namespace OrvSdkRpc {

namespace detail {

// True if Place can hold every Value: numbers must not be truncated.
template <class Place, class Value>
concept Holds = !std::is_arithmetic_v<std::remove_cvref_t<Place>> ||
                requires(const std::remove_reference_t<Value>& value) {
   std::remove_cvref_t<Place>{value};
};

template <class Operation>
struct OperationTypes;
template <class R, class Manager, class... Arguments>
struct OperationTypes<R (Manager::*)(Arguments...)> {
   static constexpr std::size_t count = sizeof...(Arguments);
   template <class... Values>
   static constexpr bool hold = (Holds<Arguments, Values> && ...);
};
template <class R, class Manager, class... Arguments>
struct OperationTypes<R (Manager::*)(Arguments...) const> : OperationTypes<R (Manager::*)(Arguments...)> {};

// Calls the manager's operation with the fields of the request, converted in order.
template <auto operation, auto... fields, class Request, class Manager>
decltype(auto) forward(const Request& request, Manager& manager) {
   using Types = OperationTypes<decltype(operation)>;
   if constexpr (Types::count != sizeof...(fields)) {
      static_assert(Types::count == sizeof...(fields),
                    "one field of the request for each argument of the operation");
   } else {
      static_assert(
           Types::template hold<decltype(types::converted((request.*fields)()))...>,
           "a number of the request that the operation's argument cannot hold needs a check of its own");
      if constexpr (sizeof...(fields) < 2) {
         return (manager.*operation)(types::converted((request.*fields)())...);
      } else {
         // Braces fix the order of evaluation. The tuple owns converted values and refers to all others.
         using Values = std::tuple<decltype(types::converted((request.*fields)()))...>;
         return std::apply(
              [&](auto&&... values) -> decltype(auto) {
                 return (manager.*operation)(std::forward<decltype(values)>(values)...);
              },
              Values{types::converted((request.*fields)())...});
      }
   }
}

// Converts an SDK value into a field of the response.
template <class Response, class Field, class Value>
void put(Response& response, Field* (Response::*mutableField)(), Value&& value) {
   if constexpr (types::Plain<std::remove_cvref_t<Value>>) {
      *(response.*mutableField)() = std::forward<Value>(value);
   } else {
      *(response.*mutableField)() = types::converted(value);
   }
}
template <class Response, class Field, class Value>
void put(Response& response, void (Response::*setField)(Field), const Value& value) {
   static_assert(Holds<Field, decltype(types::converted(value))>,
                 "a number of the SDK that the field cannot hold needs a definition of its own");
   (response.*setField)(types::converted(value));
}

}  // namespace detail

// An operation that returns one value.
template <auto requestMethod, auto operation, auto slot, auto... fields>
struct Getter : RpcOf<requestMethod> {
   using typename RpcOf<requestMethod>::Request;
   using typename RpcOf<requestMethod>::Response;

   template <class Svc>
   static Response impl(const Request& request, Svc& service) {
      Response response;
      detail::put(response, slot, detail::forward<operation, fields...>(request, service.manager()));
      return response;
   }
};

// An operation that changes something and returns nothing.
template <auto requestMethod, auto operation, auto... fields>
struct Setter : RpcOf<requestMethod> {
   using typename RpcOf<requestMethod>::Request;
   using typename RpcOf<requestMethod>::Response;

   template <class Svc>
   static Response impl(const Request& request, Svc& service) {
      detail::forward<operation, fields...>(request, service.manager());
      return {};
   }
};

// The bulk form of a definition, which it runs for each item.
template <class Definition, auto requestMethod>
struct BulkOf : RpcOf<requestMethod> {
   template <class Item, class Svc>
   static void impl(const Item& item, Svc& service) {
      Definition::impl(item, service);
   }
};

// A list: each element of the SDK's iterator fills one field of one response.
template <auto requestMethod, auto operation, auto slot, auto... fields>
struct Lister : RpcOf<requestMethod> {
   using typename RpcOf<requestMethod>::Request;
   using typename RpcOf<requestMethod>::Response;

   template <class Svc>
   static auto iterator(const Request& request, Svc& service) {
      return detail::forward<operation, fields...>(request, service.manager());
   }
   template <class Element>
   static Response convert(const Element& element) {
      Response response;
      detail::put(response, slot, element);
      return response;
   }
};

}  // namespace OrvSdkRpc
