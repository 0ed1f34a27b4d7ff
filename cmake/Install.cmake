# Installs what a host needs to link the library, with our software switch or with its own SDK:
# find_package(OrvSdkRpc) and the targets Orv::OrvSdkRpc, Orv::sdk, Orv::platform, Orv::softswitch and
# Orv::OrvSdkRpcProtos.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(_orv_include "${CMAKE_INSTALL_INCLUDEDIR}/orvsdkrpc")
set(_orv_package "${CMAKE_INSTALL_LIBDIR}/cmake/OrvSdkRpc")

set(_orv_rooms OrvSdkRpcProtos platform sdk OrvSdkRpc softswitch)
foreach(_room ${_orv_rooms})
  target_include_directories(${_room} INTERFACE "$<INSTALL_INTERFACE:${_orv_include}>")
endforeach()
install(TARGETS ${_orv_rooms} EXPORT OrvSdkRpcTargets ARCHIVE COMPONENT development)

# Installed headers keep their include paths. sdk/ itself is an include root, so only its contents are
# installed.
foreach(_folder OrvSdkRpc softswitch platform sdk/)
  install(DIRECTORY "${CMAKE_SOURCE_DIR}/${_folder}" DESTINATION "${_orv_include}" COMPONENT development
          FILES_MATCHING PATTERN "*.h")
endforeach()
install(DIRECTORY "${CMAKE_BINARY_DIR}/OrvSdkRpcProtos/OrvSdkRpcProtos" DESTINATION "${_orv_include}"
        COMPONENT development FILES_MATCHING PATTERN "*.pb.h")
# The wire contract, for clients in other languages.
install(DIRECTORY "${CMAKE_SOURCE_DIR}/OrvSdkRpcProtos" DESTINATION "${CMAKE_INSTALL_DATADIR}/orvsdkrpc"
        COMPONENT development FILES_MATCHING PATTERN "*.proto")

install(EXPORT OrvSdkRpcTargets NAMESPACE Orv:: DESTINATION "${_orv_package}" COMPONENT development)
configure_package_config_file("${CMAKE_SOURCE_DIR}/cmake/OrvSdkRpcConfig.cmake.in"
  "${CMAKE_BINARY_DIR}/OrvSdkRpcConfig.cmake" INSTALL_DESTINATION "${_orv_package}")
write_basic_package_version_file("${CMAKE_BINARY_DIR}/OrvSdkRpcConfigVersion.cmake" COMPATIBILITY SameMinorVersion)
install(FILES "${CMAKE_BINARY_DIR}/OrvSdkRpcConfig.cmake" "${CMAKE_BINARY_DIR}/OrvSdkRpcConfigVersion.cmake"
        DESTINATION "${_orv_package}" COMPONENT development)
