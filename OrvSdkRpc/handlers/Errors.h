// The library's own exceptions, and the table that maps exceptions to statuses.
//
// Thread-safe: values and pure functions.
#pragma once

#include <grpcpp/support/status.h>

#include <exception>
#include <stdexcept>
#include <utility>

#include "OrvSdkRpc/handlers/ErrorText.h"
#include "OrvSdkRpcProtos/status.pb.h"
#include "orv/error.h"

namespace OrvSdkRpc {

// A peer that this server does not serve.
class unauthenticated_error : public std::runtime_error {
public:
   using std::runtime_error::runtime_error;
};

// A limit was exceeded. Closes a stream with RESOURCE_EXHAUSTED; has no row in the table.
class out_of_resources : public std::runtime_error {
public:
   using std::runtime_error::runtime_error;
};

// A row of the table: the status code of a call that fails with E, and the code in the reply of a bulk call.
// Bulk codes have their own enumeration.
template <class E>
struct ErrorRow;

template <grpc::StatusCode grpcCode, orv::remote::RpcResponseStatusCode bulkCode>
struct ErrorCodes {
   static constexpr grpc::StatusCode code = grpcCode;
   static constexpr orv::remote::RpcResponseStatusCode bulk = bulkCode;
};

template <>
struct ErrorRow<orv::invalid_range_error>
     : ErrorCodes<grpc::StatusCode::OUT_OF_RANGE, orv::remote::RPC_RESPONSE_STATUS_CODE_INVALID_RANGE> {};
template <>
struct ErrorRow<orv::invalid_argument_error>
     : ErrorCodes<grpc::StatusCode::INVALID_ARGUMENT,
                  orv::remote::RPC_RESPONSE_STATUS_CODE_INVALID_ARGUMENT> {};
template <>
struct ErrorRow<orv::configuration_error> : ErrorCodes<grpc::StatusCode::FAILED_PRECONDITION,
                                                       orv::remote::RPC_RESPONSE_STATUS_CODE_CONFIGURATION> {
};
template <>
struct ErrorRow<orv::unsupported_error>
     : ErrorCodes<grpc::StatusCode::UNIMPLEMENTED, orv::remote::RPC_RESPONSE_STATUS_CODE_UNSUPPORTED> {};
template <>
struct ErrorRow<orv::error>
     : ErrorCodes<grpc::StatusCode::INTERNAL, orv::remote::RPC_RESPONSE_STATUS_CODE_INTERNAL> {};
template <>
struct ErrorRow<unauthenticated_error>
     : ErrorCodes<grpc::StatusCode::UNAUTHENTICATED, orv::remote::RPC_RESPONSE_STATUS_CODE_UNAUTHENTICATED> {
};
template <>
struct ErrorRow<std::exception>
     : ErrorCodes<grpc::StatusCode::UNKNOWN, orv::remote::RPC_RESPONSE_STATUS_CODE_UNKNOWN> {};

// The row's code and the text of what(), bounded by ErrorText.h; no details.
template <class E>
grpc::Status grpcStatus(const E& e) {
   return {ErrorRow<E>::code, errorText(e.what())};
}

// Stores the row's bulk code and the same text in the reply of a bulk call.
template <class E>
void bulkStatus(const E& e, orv::remote::RpcResponseStatus& status) {
   status.set_code(ErrorRow<E>::bulk);
   status.set_message(errorText(e.what()));
}

// Runs `work`. Passes an exception in the table to `onError` as the type of its most specific row. An
// exception that is not derived from std::exception propagates.
template <class Work, class OnError>
void translateErrors(Work&& work, OnError&& onError) {
   try {
      std::forward<Work>(work)();
   } catch (const orv::invalid_range_error& e) {
      onError(e);
   } catch (const orv::invalid_argument_error& e) {
      onError(e);
   } catch (const orv::configuration_error& e) {
      onError(e);
   } catch (const orv::unsupported_error& e) {
      onError(e);
   } catch (const orv::error& e) {
      onError(e);
   } catch (const unauthenticated_error& e) {
      onError(e);
   } catch (const std::exception& e) {
      onError(e);
   }
}

}  // namespace OrvSdkRpc
