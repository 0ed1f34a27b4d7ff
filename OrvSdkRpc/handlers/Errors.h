// The library's own exceptions, and the one table from exceptions to statuses.
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

// Something grew beyond its limit. Closes a stream with RESOURCE_EXHAUSTED; it is in no row of the table.
class out_of_resources : public std::runtime_error {
public:
   using std::runtime_error::runtime_error;
};

// A row of the table: the code of a call that fails with E, and the code in a bulk's reply. The bulk codes
// are an enumeration of their own.
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

// The row's code and the text of what(), as ErrorText.h bounds it; no details.
template <class E>
grpc::Status grpcStatus(const E& e) {
   return {ErrorRow<E>::code, errorText(e.what())};
}

// The row's bulk code and the same text, into the reply of a bulk.
template <class E>
void bulkStatus(const E& e, orv::remote::RpcResponseStatus& status) {
   status.set_code(ErrorRow<E>::bulk);
   status.set_message(errorText(e.what()));
}

// Runs `work`; an exception of the table goes to `onError` as the type of its row, the most specific row
// first. What is not derived from std::exception passes.
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
