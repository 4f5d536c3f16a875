# Compiler settings that hold for every target.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_AUTOMOC ON)
set(CMAKE_AUTORCC OFF) # resources are added by corvane_resources, which names each file
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)

if(NOT CMAKE_BUILD_TYPE)
    set(CMAKE_BUILD_TYPE Release)
endif()

find_program(CORVANE_CCACHE ccache)
if(CORVANE_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
    # Precompiled headers defeat the cache unless their time stamps are ignored; without the folder's name
    # in the key, all build folders and checkouts share what was compiled.
    set(CMAKE_CXX_COMPILER_LAUNCHER
        ${CMAKE_COMMAND} -E env CCACHE_SLOPPINESS=pch_defines,time_macros,include_file_mtime,include_file_ctime
        CCACHE_BASEDIR=${CMAKE_SOURCE_DIR} CCACHE_NOHASHDIR=1 ${CORVANE_CCACHE})
endif()

add_compile_options(-Wall -Wextra -Wshadow -Woverloaded-virtual)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CORVANE_CCACHE)
    add_compile_options(-fpch-preprocess)
endif()
if(CORVANE_WERROR)
    add_compile_options(-Werror)
endif()
if(CORVANE_SANITIZE)
    add_compile_options(-fsanitize=${CORVANE_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
    add_link_options(-fsanitize=${CORVANE_SANITIZE})
endif()
# The tests are a hundred small programs: the linker counts. GNU's own is the slowest by far.
include(CheckLinkerFlag)
if(NOT CORVANE_SANITIZE)
    foreach(linker lld gold)
        check_linker_flag(CXX -fuse-ld=${linker} CORVANE_HAS_${linker})
        if(CORVANE_HAS_${linker})
            add_link_options(-fuse-ld=${linker})
            break()
        endif()
    endforeach()
endif()
if(CMAKE_BUILD_TYPE STREQUAL "Release")
    set(CORVANE_TEST_OPTIONS -O1)
endif()
# One value on every machine and optimisation level: neighbouring chunks of a mesh, and the back-ends
# of the field language, are compared bit by bit.
add_compile_options(-ffp-contract=off)

add_compile_definitions(
    QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII QT_NO_FOREACH QT_NO_URL_CAST_FROM_STRING
    QT_MESSAGELOGCONTEXT QT_DISABLE_DEPRECATED_BEFORE=0x060400)
