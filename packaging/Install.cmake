# What "cmake --install" puts in place: libraries, headers, the CMake package, the pkg-config files and the licence.
include(CMakePackageConfigHelpers)

set(installed_libraries SentrelKitCore SentrelKitViews SentrelKitTesting)
if(APPLE)
    list(APPEND installed_libraries SentrelKitAppKit)
endif()
install(TARGETS ${installed_libraries} EXPORT SentrelKitTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(EXPORT SentrelKitTargets NAMESPACE SentrelKit:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/SentrelKit)

# The widgets of a toolkit are there or not: their targets have a file of their own.
set(toolkits "")
foreach(toolkit Gtk Qt)
    string(TOLOWER ${toolkit} folder)
    if(TARGET SentrelKit${toolkit})
        list(APPEND toolkits ${folder})
        install(TARGETS SentrelKit${toolkit} EXPORT SentrelKit${toolkit}Targets
                LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
        install(EXPORT SentrelKit${toolkit}Targets NAMESPACE SentrelKit::
                DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/SentrelKit)
    endif()
endforeach()

set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS packaging/installed-headers)
file(READ packaging/installed-headers installed_headers)
string(REGEX MATCHALL "SentrelKit/[^ \n]+\\.h" installed_headers "${installed_headers}")
# Those of what another system draws and shows with stand in folders of these names.
if(APPLE)
    list(FILTER installed_headers EXCLUDE REGEX "/(cairo|gtk|qt)/")
else()
    list(FILTER installed_headers EXCLUDE REGEX "/(coregraphics|appkit)/")
endif()
foreach(header IN LISTS installed_headers)
    if(header MATCHES "/embed/(gtk|qt)/" AND NOT CMAKE_MATCH_1 IN_LIST toolkits)
        continue()
    endif()
    get_filename_component(folder ${header} DIRECTORY)
    install(FILES ${header} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/${folder})
endforeach()

# The dashboard is a program for people; the other examples are to read.
if(TARGET sentrel_example_dashboard AND NOT APPLE)
    set_target_properties(sentrel_example_dashboard PROPERTIES INSTALL_RPATH $ORIGIN/../${CMAKE_INSTALL_LIBDIR})
    install(TARGETS sentrel_example_dashboard RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
    set(dashboard_data packaging/dashboard)
    install(FILES ${dashboard_data}/org.sentrelkit.Dashboard.desktop DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/applications)
    install(FILES ${dashboard_data}/org.sentrelkit.Dashboard.metainfo.xml DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/metainfo)
    install(FILES ${dashboard_data}/org.sentrelkit.Dashboard.svg
            DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/icons/hicolor/scalable/apps)
    install(FILES ${dashboard_data}/sentrelkit-dashboard.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
endif()

# The command, with what shells and manuals know of it.
set(SENTREL_ZSH_COMPLETIONS ${CMAKE_INSTALL_DATAROOTDIR}/zsh/site-functions CACHE STRING
    "Where the completion of zsh is installed, below the prefix")
if(TARGET sentrel AND NOT APPLE)
    set_target_properties(sentrel PROPERTIES INSTALL_RPATH $ORIGIN/../${CMAKE_INSTALL_LIBDIR})
    install(TARGETS sentrel RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
    set(command_data packaging/command)
    install(FILES ${command_data}/sentrel.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
    install(FILES ${command_data}/sentrel.bash RENAME sentrel
            DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/bash-completion/completions)
    install(FILES ${command_data}/_sentrel DESTINATION ${SENTREL_ZSH_COMPLETIONS})
    install(FILES ${command_data}/sentrel.fish DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/fish/vendor_completions.d)
endif()

install(FILES LICENSE DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/doc/SentrelKit)

# A host of the static libraries links what they are made of too; the shared ones bring it themselves.
set(static_libraries OFF)
get_target_property(kind SentrelKitCore TYPE)
if(kind STREQUAL STATIC_LIBRARY)
    set(static_libraries ON)
    if(APPLE)
        list(JOIN SENTREL_CORE_FRAMEWORKS " -framework " core_frameworks)
        list(JOIN SENTREL_VIEWS_FRAMEWORKS " -framework " views_frameworks)
        set(system_libraries "-lc++ -framework ${core_frameworks} -framework ${views_frameworks}")
    else()
        list(JOIN SENTREL_CORE_MODULES " " core_modules)
        list(JOIN SENTREL_VIEWS_MODULES " " views_modules)
        set(system_libraries "-lstdc++ -lm -pthread -ldl")
    endif()
endif()

write_basic_package_version_file(${PROJECT_BINARY_DIR}/SentrelKitConfigVersion.cmake COMPATIBILITY SameMinorVersion)
set(appkit FALSE)
if(APPLE)
    set(appkit TRUE)
endif()
configure_file(packaging/SentrelKitConfig.cmake.in ${PROJECT_BINARY_DIR}/SentrelKitConfig.cmake @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/SentrelKitConfig.cmake ${PROJECT_BINARY_DIR}/SentrelKitConfigVersion.cmake
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/SentrelKit)

# The prefix is found from where the file lies, so that an installed tree can be moved.
file(RELATIVE_PATH SENTREL_PC_PREFIX /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
foreach(part core views testing ${toolkits})
    configure_file(packaging/sentrelkit-${part}.pc.in ${PROJECT_BINARY_DIR}/sentrelkit-${part}.pc @ONLY)
    install(FILES ${PROJECT_BINARY_DIR}/sentrelkit-${part}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endforeach()
