# Precompiled headers, each compiled once and shared. Parsing the headers of gRPC, protobuf, fmt and
# GoogleTest is most of the cost of compiling a source file.
#
# A target that reuses one must have the same compile options and link the libraries of its headers.

# orv_add_pch(<target> HEADERS <header>... LINK <library>... [OPTIONS <option>...])
function(orv_add_pch target)
  cmake_parse_arguments(P "" "" "HEADERS;LINK;OPTIONS" ${ARGN})
  # CMake needs a source file to compile the header for.
  set(source "${CMAKE_BINARY_DIR}/pch/${target}.cpp")
  file(CONFIGURE OUTPUT "${source}" CONTENT "")
  add_library(${target} OBJECT "${source}")
  target_link_libraries(${target} PRIVATE ${P_LINK} orv_build_options)
  target_compile_options(${target} PRIVATE ${P_OPTIONS})
  target_precompile_headers(${target} PRIVATE ${P_HEADERS})
endfunction()

set(_orv_std <algorithm> <atomic> <chrono> <cstdint> <functional> <map> <memory> <mutex> <optional> <set> <string>
  <string_view> <unordered_map> <utility> <variant> <vector>)

orv_add_pch(orv_pch_std HEADERS ${_orv_std} <fmt/format.h> LINK fmt::fmt)
orv_add_pch(orv_pch_grpc HEADERS ${_orv_std} <fmt/format.h> <google/protobuf/message.h> <grpcpp/grpcpp.h>
  LINK gRPC::grpc++ protobuf::libprotobuf fmt::fmt)
orv_add_pch(orv_pch_json HEADERS ${_orv_std} <fmt/format.h> <nlohmann/json.hpp>
  LINK fmt::fmt nlohmann_json::nlohmann_json)
orv_add_pch(orv_pch_client
  HEADERS ${_orv_std} <fmt/format.h> <google/protobuf/message.h> <grpcpp/grpcpp.h> <CLI/CLI.hpp> <nlohmann/json.hpp>
  LINK gRPC::grpc++ protobuf::libprotobuf CLI11::CLI11 fmt::fmt nlohmann_json::nlohmann_json)
if(ORV_BUILD_TESTS)
  orv_add_pch(orv_pch_test HEADERS ${_orv_std} <fmt/format.h> <gmock/gmock.h>
    LINK fmt::fmt GTest::gmock OPTIONS ${ORV_TEST_OPTIONS})
  orv_add_pch(orv_pch_grpc_test
    HEADERS ${_orv_std} <fmt/format.h> <google/protobuf/message.h> <grpcpp/grpcpp.h> <gmock/gmock.h>
    LINK gRPC::grpc++ protobuf::libprotobuf fmt::fmt GTest::gmock OPTIONS ${ORV_TEST_OPTIONS})
endif()
