# Builds for macOS on Linux, with clang and lld of version 14 and a folder that holds an SDK: its headers and, to link,
# its stub libraries. packaging/check-macos uses it.
#
#   cmake --toolchain cmake/MacOSToolchain.cmake -DCMAKE_OSX_SYSROOT=<folder> ...
# CMake asks a Mac which system it is before it gives libraries names that are looked for along paths.
if(CMAKE_PARENT_LIST_FILE MATCHES "CMakeC(XX)?Information")
    set(CMAKE_SHARED_LIBRARY_RUNTIME_C_FLAG "-Wl,-rpath,")
    return()
endif()
set(CMAKE_USER_MAKE_RULES_OVERRIDE ${CMAKE_CURRENT_LIST_FILE})

set(CMAKE_SYSTEM_NAME Darwin)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES CMAKE_OSX_SYSROOT)

set(CMAKE_C_COMPILER clang-14)
set(CMAKE_CXX_COMPILER clang++-14)
set(CMAKE_AR llvm-ar-14 CACHE FILEPATH "")
set(CMAKE_RANLIB llvm-ranlib-14 CACHE FILEPATH "")
set(CMAKE_INSTALL_NAME_TOOL llvm-install-name-tool-14 CACHE FILEPATH "")
set(CMAKE_OTOOL llvm-otool-14 CACHE FILEPATH "")
foreach(language C CXX)
    set(CMAKE_${language}_COMPILER_TARGET x86_64-apple-macosx10.14)
    # The headers read the deployment target from a macro that clang defines itself only from version 17 on.
    set(CMAKE_${language}_FLAGS_INIT -D__ENVIRONMENT_OS_VERSION_MIN_REQUIRED__=101400)
endforeach()
string(APPEND CMAKE_CXX_FLAGS_INIT " -stdlib=libc++")
# Not the C++ library of this machine's clang.
add_compile_options($<$<COMPILE_LANGUAGE:CXX>:-nostdinc++>
                    "$<$<COMPILE_LANGUAGE:CXX>:SHELL:-isystem ${CMAKE_OSX_SYSROOT}/usr/include/c++/v1>")

# Nothing of this machine is looked into but what the caller names.
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

if(EXISTS ${CMAKE_OSX_SYSROOT}/usr/lib/libSystem.tbd)
    # By the linker's version clang decides how to tell it the system. What clang's own library answers on macOS, whether
    # a newer system's function may be called, is not part of Debian's.
    set(link_flags "--ld-path=/usr/bin/ld64.lld-14 -mlinker-version=711 -Wl,-U,___isPlatformVersionAtLeast")
    foreach(kind EXE SHARED MODULE)
        set(CMAKE_${kind}_LINKER_FLAGS_INIT "${link_flags}")
    endforeach()
else()
    set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)
endif()
