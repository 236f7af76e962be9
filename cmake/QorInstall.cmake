# The installed layout: libraries with their sonames, headers, pkg-config files and the CMake package with
# the targets <package>::QorHwInfo and <package>::QorUtils, all named after the Qt major (cmake/QorQt.cmake).
include(CMakePackageConfigHelpers)

set(QOR_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/${QOR_PACKAGE_NAME})
install(EXPORT QorHwInfoTargets NAMESPACE ${QOR_PACKAGE_NAME}:: FILE ${QOR_PACKAGE_NAME}Targets.cmake
    DESTINATION ${QOR_CMAKE_DIR})
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/QorHwInfoConfig.cmake.in
    ${CMAKE_BINARY_DIR}/${QOR_PACKAGE_NAME}Config.cmake INSTALL_DESTINATION ${QOR_CMAKE_DIR})
write_basic_package_version_file(${CMAKE_BINARY_DIR}/${QOR_PACKAGE_NAME}ConfigVersion.cmake
    COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/${QOR_PACKAGE_NAME}Config.cmake
              ${CMAKE_BINARY_DIR}/${QOR_PACKAGE_NAME}ConfigVersion.cmake
    DESTINATION ${QOR_CMAKE_DIR})

# Relative to the .pc file, so that an installation can be moved or staged with --prefix.
file(RELATIVE_PATH QOR_PC_RELATIVE_PREFIX ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
string(REGEX REPLACE "/$" "" QOR_PC_RELATIVE_PREFIX "${QOR_PC_RELATIVE_PREFIX}")
foreach(pc qorhwinfo qorutils)
    configure_file(${PROJECT_SOURCE_DIR}/cmake/${pc}.pc.in ${CMAKE_BINARY_DIR}/${pc}${QOR_NAME_SUFFIX}.pc @ONLY)
    install(FILES ${CMAKE_BINARY_DIR}/${pc}${QOR_NAME_SUFFIX}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endforeach()

# What makes the identity ready at boot and readable without root (data/): distribution packages install
# these through their own helpers and turn this off.
if(QOR_INSTALL_SYSTEM_FILES)
    install(FILES ${PROJECT_SOURCE_DIR}/data/systemd/qorhwinfo-discover.service
                  ${PROJECT_SOURCE_DIR}/data/systemd/qorhwinfo-metrics.service
                  ${PROJECT_SOURCE_DIR}/data/systemd/qorhwinfo-identity.target
            DESTINATION lib/systemd/system)
    install(FILES ${PROJECT_SOURCE_DIR}/data/tmpfiles.d/qorhwinfo.conf DESTINATION lib/tmpfiles.d)
    install(FILES ${PROJECT_SOURCE_DIR}/data/sysusers.d/qorhwinfo.conf DESTINATION lib/sysusers.d)
    install(FILES ${PROJECT_SOURCE_DIR}/data/udev/60-qorhwinfo.rules DESTINATION lib/udev/rules.d)
endif()
