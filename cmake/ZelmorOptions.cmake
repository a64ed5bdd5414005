# One interface target carries what every target is compiled with: the standard, the warnings and the
# strict Qt defines.
add_library(zelmor_options INTERFACE)
target_compile_features(zelmor_options INTERFACE cxx_std_20)
target_compile_options(zelmor_options INTERFACE
    -Wall -Wextra -Wpedantic -Werror -Wnon-virtual-dtor -Woverloaded-virtual)
# GCC 12 reports false positives in the standard library under -O2.
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    target_compile_options(zelmor_options INTERFACE -Wshadow=local -Wno-error=restrict
        -Wno-error=stringop-overflow -Wno-error=array-bounds -Wno-error=maybe-uninitialized -Wno-error=dangling-pointer)
endif()
target_compile_definitions(zelmor_options INTERFACE
    QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII QT_NO_CAST_FROM_BYTEARRAY QT_NO_URL_CAST_FROM_STRING
    QT_NO_NARROWING_CONVERSIONS_IN_CONNECT QT_NO_CONTEXTLESS_CONNECT QT_NO_KEYWORDS QT_NO_FOREACH
    QT_DISABLE_DEPRECATED_BEFORE=0x060400)
target_include_directories(zelmor_options INTERFACE ${PROJECT_SOURCE_DIR})

if(ZELMOR_SANITIZE)
    target_compile_options(zelmor_options INTERFACE -fsanitize=address,undefined
        -fno-sanitize-recover=undefined -fno-omit-frame-pointer -O1)
    target_link_options(zelmor_options INTERFACE -fsanitize=address,undefined)
endif()

if(ZELMOR_FUZZ)
    target_compile_options(zelmor_options INTERFACE -fsanitize=fuzzer-no-link,address,undefined,float-cast-overflow
        -fno-sanitize-recover=undefined,float-cast-overflow -fno-omit-frame-pointer -O1 -g1)
    target_link_options(zelmor_options INTERFACE -fsanitize=address,undefined)
endif()

# Enough for a stack trace with lines; full debug information takes as long again to write as the code.
set(CMAKE_CXX_FLAGS_RELWITHDEBINFO "-O2 -g1 -DNDEBUG")

set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_AUTOMOC ON)

find_program(ZELMOR_CCACHE ccache)
if(ZELMOR_CCACHE)
    set(CMAKE_CXX_COMPILER_LAUNCHER
        ${CMAKE_COMMAND} -E env CCACHE_BASEDIR=${PROJECT_SOURCE_DIR} CCACHE_NOHASHDIR=1 ${ZELMOR_CCACHE})
endif()

# Host, server and module are found beside one another, in the build tree as where they are installed.
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)
set(CMAKE_BUILD_RPATH_USE_ORIGIN ON)
set(CMAKE_INSTALL_RPATH "$ORIGIN")
