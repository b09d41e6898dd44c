# How everything here is compiled: one interface target that each target of this project links.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)

if(PROJECT_IS_TOP_LEVEL AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
    find_program(SENTREL_CCACHE ccache)
    if(SENTREL_CCACHE)
        set(CMAKE_CXX_COMPILER_LAUNCHER ${CMAKE_COMMAND} -E env CCACHE_BASEDIR=${PROJECT_SOURCE_DIR} CCACHE_NOHASHDIR=1
                                        ${SENTREL_CCACHE})
    endif()
endif()

add_library(sentrel_options INTERFACE)
target_include_directories(sentrel_options INTERFACE ${PROJECT_SOURCE_DIR})
target_compile_options(
    sentrel_options
    INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wconversion
              -ffile-prefix-map=${PROJECT_SOURCE_DIR}/=
              $<$<CXX_COMPILER_ID:Clang,AppleClang>:-Wthread-safety>
              # Sources of Objective-C++ are compiled as the C++ that they are to clang, with counted references. What is
              # deprecated on the newest system is what the oldest one has.
              $<$<PLATFORM_ID:Darwin>:-fobjc-arc$<SEMICOLON>-Wunguarded-availability$<SEMICOLON>-Wno-deprecated-declarations>
              # When it optimises, g++ 12 sees overlaps inside std::string (its bug 105651) and uninitialised members
              # inside std::variant (its bug 105593) that are not there. clang and the sanitizers look for real ones.
              $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict$<SEMICOLON>-Wno-maybe-uninitialized>
              $<$<BOOL:${SENTREL_WERROR}>:-Werror>
              $<$<CONFIG:Debug>:-g1>)

if(SENTREL_SANITIZE)
    add_compile_options(-fsanitize=${SENTREL_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
    add_link_options(-fsanitize=${SENTREL_SANITIZE})
    if(NOT SENTREL_SANITIZE MATCHES "fuzzer")
        add_compile_options(-O1)
    endif()
endif()
