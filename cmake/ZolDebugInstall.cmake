# Installs the library in two components: "runtime" is what a device needs, "development" is what
# else it takes to build a host. Whatever is installed may be moved to another place as a whole.

include(CMakePackageConfigHelpers)

install(TARGETS zoldebug EXPORT ZolDebugTargets
    LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}"
        COMPONENT runtime
        NAMELINK_COMPONENT development
    INCLUDES DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}")
install(FILES ${zoldebug_headers}
    DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/zoldebug"
    COMPONENT development)

string(REGEX MATCH "^[0-9]+\\.[0-9]+" zoldebug_qt_at_least "${ZOLDEBUG_QT_VERSION}")
if(ZOLDEBUG_QT_MAJOR EQUAL 4)
    set(zoldebug_qt_component QtCore)
    set(zoldebug_qt_pkgconfig QtCore)
else()
    set(zoldebug_qt_component Core)
    set(zoldebug_qt_pkgconfig Qt${ZOLDEBUG_QT_MAJOR}Core)
endif()

# For CMake.
set(zoldebug_cmake_dir "${CMAKE_INSTALL_LIBDIR}/cmake/ZolDebug")
configure_package_config_file(
    "${PROJECT_SOURCE_DIR}/cmake/ZolDebugConfig.cmake.in" ZolDebugConfig.cmake
    INSTALL_DESTINATION "${zoldebug_cmake_dir}")
write_basic_package_version_file(ZolDebugConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES
        "${CMAKE_CURRENT_BINARY_DIR}/ZolDebugConfig.cmake"
        "${CMAKE_CURRENT_BINARY_DIR}/ZolDebugConfigVersion.cmake"
    DESTINATION "${zoldebug_cmake_dir}"
    COMPONENT development)
install(EXPORT ZolDebugTargets
    NAMESPACE ZolDebug::
    DESTINATION "${zoldebug_cmake_dir}"
    COMPONENT development)

# For pkg-config, and with it for qmake.
set(zoldebug_pkgconfig_dir "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
file(RELATIVE_PATH zoldebug_pkgconfig_to_prefix
    "/prefix/${zoldebug_pkgconfig_dir}" "/prefix")
string(REGEX REPLACE "/$" "" zoldebug_pkgconfig_to_prefix "${zoldebug_pkgconfig_to_prefix}")
configure_file("${PROJECT_SOURCE_DIR}/cmake/zoldebug.pc.in" zoldebug.pc @ONLY)
install(FILES "${CMAKE_CURRENT_BINARY_DIR}/zoldebug.pc"
    DESTINATION "${zoldebug_pkgconfig_dir}"
    COMPONENT development)
