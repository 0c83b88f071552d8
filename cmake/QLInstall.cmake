# Installs the library, its headers (each package lists its own), the CMake package and the pkg-config file.
include(CMakePackageConfigHelpers)

set(QL_CMAKE_DIR "${CMAKE_INSTALL_LIBDIR}/cmake/QLFoundation")
install(TARGETS qlfoundation EXPORT QLFoundationTargets
        LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT Runtime NAMELINK_COMPONENT Development)
install(EXPORT QLFoundationTargets NAMESPACE QL:: DESTINATION "${QL_CMAKE_DIR}" COMPONENT Development)

configure_package_config_file("${PROJECT_SOURCE_DIR}/cmake/QLFoundationConfig.cmake.in"
  "${PROJECT_BINARY_DIR}/QLFoundationConfig.cmake" INSTALL_DESTINATION "${QL_CMAKE_DIR}")
write_basic_package_version_file("${PROJECT_BINARY_DIR}/QLFoundationConfigVersion.cmake"
  VERSION ${PROJECT_VERSION} COMPATIBILITY SameMinorVersion)
configure_file("${PROJECT_SOURCE_DIR}/cmake/qlfoundation.pc.in" "${PROJECT_BINARY_DIR}/qlfoundation.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/QLFoundationConfig.cmake" "${PROJECT_BINARY_DIR}/QLFoundationConfigVersion.cmake"
        "${PROJECT_SOURCE_DIR}/cmake/QLAddPlugin.cmake" "${PROJECT_SOURCE_DIR}/cmake/QLPropertyList.cmake"
        "${PROJECT_SOURCE_DIR}/cmake/QLDictionary.cmake"
        DESTINATION "${QL_CMAKE_DIR}" COMPONENT Development)
install(FILES "${PROJECT_BINARY_DIR}/qlfoundation.pc"
        DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig" COMPONENT Development)
