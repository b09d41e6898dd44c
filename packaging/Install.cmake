# What "cmake --install" puts in place: libraries, headers, the CMake package and the pkg-config files.
if(SENTREL_SANITIZE)
    return()
endif()
include(CMakePackageConfigHelpers)

install(TARGETS SentrelKitCore SentrelKitViews SentrelKitTesting EXPORT SentrelKitTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(EXPORT SentrelKitTargets NAMESPACE SentrelKit:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/SentrelKit)
install(DIRECTORY SentrelKit DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} FILES_MATCHING PATTERN "*.h"
        PATTERN platform/linux EXCLUDE PATTERN platform/macos EXCLUDE PATTERN embed EXCLUDE)

write_basic_package_version_file(${PROJECT_BINARY_DIR}/SentrelKitConfigVersion.cmake COMPATIBILITY SameMinorVersion)
configure_file(packaging/SentrelKitConfig.cmake.in ${PROJECT_BINARY_DIR}/SentrelKitConfig.cmake @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/SentrelKitConfig.cmake ${PROJECT_BINARY_DIR}/SentrelKitConfigVersion.cmake
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/SentrelKit)

# The prefix is found from where the file lies, so that an installed tree can be moved.
file(RELATIVE_PATH SENTREL_PC_PREFIX /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
foreach(part core views)
    configure_file(packaging/sentrelkit-${part}.pc.in ${PROJECT_BINARY_DIR}/sentrelkit-${part}.pc @ONLY)
    install(FILES ${PROJECT_BINARY_DIR}/sentrelkit-${part}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endforeach()
