# The installed layout: libraries with their sonames, headers under include/qorhwinfo and include/qorutils,
# pkg-config files, and the CMake package QorHwInfo with the targets QorHwInfo::QorHwInfo and QorHwInfo::QorUtils.
include(CMakePackageConfigHelpers)

set(QOR_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/QorHwInfo)
install(EXPORT QorHwInfoTargets NAMESPACE QorHwInfo:: DESTINATION ${QOR_CMAKE_DIR})
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/QorHwInfoConfig.cmake.in
    ${CMAKE_BINARY_DIR}/QorHwInfoConfig.cmake INSTALL_DESTINATION ${QOR_CMAKE_DIR})
write_basic_package_version_file(${CMAKE_BINARY_DIR}/QorHwInfoConfigVersion.cmake
    COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/QorHwInfoConfig.cmake ${CMAKE_BINARY_DIR}/QorHwInfoConfigVersion.cmake
    DESTINATION ${QOR_CMAKE_DIR})

# Relative to the .pc file, so that an installation can be moved or staged with --prefix.
file(RELATIVE_PATH QOR_PC_RELATIVE_PREFIX ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
string(REGEX REPLACE "/$" "" QOR_PC_RELATIVE_PREFIX "${QOR_PC_RELATIVE_PREFIX}")
foreach(pc qorhwinfo qorutils)
    configure_file(${PROJECT_SOURCE_DIR}/cmake/${pc}.pc.in ${CMAKE_BINARY_DIR}/${pc}.pc @ONLY)
    install(FILES ${CMAKE_BINARY_DIR}/${pc}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endforeach()
