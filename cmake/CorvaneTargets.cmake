# corvane_library, corvane_test, corvane_benchmark, corvane_fuzzer: one call a target.

# Adds those of the given folders that hold a CMakeLists.txt.
function(corvane_subdirectories)
    foreach(dir IN LISTS ARGN)
        if(EXISTS ${CMAKE_CURRENT_SOURCE_DIR}/${dir}/CMakeLists.txt)
            add_subdirectory(${dir})
        endif()
    endforeach()
endfunction()

# Precompiles a header once for all targets of a sort; it is built by an empty target of that sort, because
# a compiler takes a precompiled header only under the code generation options that it was made with.
function(corvane_precompile target header)
    set(provider ${header})
    if(NOT TARGET ${provider})
        get_target_property(type ${target} TYPE)
        if(type STREQUAL "EXECUTABLE")
            add_executable(${provider} ${CMAKE_SOURCE_DIR}/cmake/pch_main.cpp)
        else()
            add_library(${provider} OBJECT ${CMAKE_SOURCE_DIR}/cmake/pch_main.cpp)
        endif()
        target_link_libraries(${provider} PRIVATE ${ARGN})
        if(header STREQUAL "pch_test")
            target_compile_options(${provider} PRIVATE ${CORVANE_TEST_OPTIONS})
        endif()
        target_precompile_headers(${provider} PRIVATE ${CMAKE_SOURCE_DIR}/cmake/${header}.h)
    endif()
    target_precompile_headers(${target} REUSE_FROM ${provider})
endfunction()

# corvane_library(NAME SOURCES ... [LINKS ...] [PRIVATE_LINKS ...] [AREAS ...])
#
# A static library with an include root of its own, <build>/include/NAME, which holds one link NAME to the
# folder: a target sees the headers of what it links and no others. The domain library is several targets
# over one folder; there AREAS names the sub-folders of corvane/ that belong to the target, and each gets
# its link <build>/include/NAME/corvane/AREA.
function(corvane_library name)
    cmake_parse_arguments(ARG "" "" "SOURCES;LINKS;PRIVATE_LINKS;AREAS" ${ARGN})
    add_library(${name} STATIC ${ARG_SOURCES})
    set(root ${CMAKE_BINARY_DIR}/include/${name})
    if(ARG_AREAS)
        foreach(area IN LISTS ARG_AREAS)
            cmake_path(GET area PARENT_PATH folder) # of an area within an area
            file(MAKE_DIRECTORY ${root}/corvane/${folder})
            file(CREATE_LINK ${CMAKE_CURRENT_SOURCE_DIR}/corvane/${area} ${root}/corvane/${area} SYMBOLIC)
        endforeach()
    else()
        file(MAKE_DIRECTORY ${root})
        file(CREATE_LINK ${CMAKE_CURRENT_SOURCE_DIR} ${root}/${name} SYMBOLIC)
    endif()
    target_include_directories(${name} PUBLIC ${root})
    target_link_libraries(${name} PUBLIC ${ARG_LINKS} PRIVATE ${ARG_PRIVATE_LINKS})
    corvane_precompile(${name} pch_core Qt6::Core)
endfunction()

# Embeds files under an explicit prefix: corvane_resources(TARGET NAME PREFIX /sdf BASE dir FILES ... [OPTIONS ...])
function(corvane_resources target name)
    cmake_parse_arguments(ARG "" "PREFIX;BASE" "FILES;OPTIONS" ${ARGN})
    set(CMAKE_AUTOMOC OFF) # Qt makes a target of each, and there is nothing in it for moc
    qt_add_resources(${target} ${name} PREFIX ${ARG_PREFIX} BASE ${ARG_BASE} FILES ${ARG_FILES}
        OPTIONS ${ARG_OPTIONS})
endfunction()

# Compiles shaders of resources/shaders for every back-end, and embeds each as <prefix>/<name>.qsb, without its folder:
# corvane_shaders(TARGET NAME PREFIX / FILES present.vert ... [INCLUDES shaders/item_id.glsl ...])
function(corvane_shaders target name)
    cmake_parse_arguments(ARG "" "PREFIX" "FILES;INCLUDES" ${ARGN})
    set(folder ${CMAKE_CURRENT_BINARY_DIR}/${name})
    file(MAKE_DIRECTORY ${folder})
    list(TRANSFORM ARG_INCLUDES PREPEND ${CMAKE_SOURCE_DIR}/resources/)
    set(baked)
    foreach(file IN LISTS ARG_FILES)
        set(source ${CMAKE_SOURCE_DIR}/resources/shaders/${file})
        cmake_path(GET file FILENAME shader)
        set(output ${folder}/${shader}.qsb)
        add_custom_command(OUTPUT ${output}
            COMMAND Qt6::qsb --silent --glsl "450,430,320 es,310 es" --hlsl 50 --msl 12 -o ${output} ${source}
            DEPENDS ${source} ${ARG_INCLUDES} VERBATIM)
        list(APPEND baked ${output})
    endforeach()
    corvane_resources(${target} ${name} PREFIX ${ARG_PREFIX} BASE ${folder} FILES ${baked})
endfunction()

# Runs moc over those sources of a test that include their <name>.moc. CMake's AUTOMOC would do it in a target of
# its own, which scans the sources and compiles a file of nothing: half a second a test.
function(corvane_moc target)
    set(folder ${CMAKE_CURRENT_BINARY_DIR}/${target}_moc)
    file(MAKE_DIRECTORY ${folder})
    foreach(source IN LISTS ARGN)
        cmake_path(ABSOLUTE_PATH source NORMALIZE)
        cmake_path(GET source STEM name)
        file(STRINGS ${source} mocked REGEX "#include \"${name}\\.moc\"")
        if(NOT mocked)
            continue()
        endif()
        add_custom_command(OUTPUT ${folder}/${name}.moc
            COMMAND Qt6::moc --no-notes ${source} -o ${folder}/${name}.moc
            DEPENDS ${source} VERBATIM)
        target_sources(${target} PRIVATE ${folder}/${name}.moc)
    endforeach()
    target_include_directories(${target} PRIVATE ${folder})
endfunction()

# corvane_test(tst_Name [SOURCES ...] LINKS ...): one Qt Test executable, tst_Name.cpp unless SOURCES says more.
# Tests are optimised little: most of their time goes into the libraries, and compiling them took twice as long.
function(corvane_test name)
    cmake_parse_arguments(ARG "" "" "SOURCES;LINKS" ${ARGN})
    if(NOT ARG_SOURCES)
        set(ARG_SOURCES ${name}.cpp)
    endif()
    add_executable(${name} ${ARG_SOURCES})
    set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests AUTOMOC OFF)
    corvane_moc(${name} ${ARG_SOURCES})
    target_compile_options(${name} PRIVATE ${CORVANE_TEST_OPTIONS})
    target_include_directories(${name} PRIVATE ${CMAKE_SOURCE_DIR}/tests)
    target_compile_definitions(${name} PRIVATE CORVANE_TEST_DATA="${CMAKE_SOURCE_DIR}/tests/data"
        CORVANE_SAMPLES="${CMAKE_SOURCE_DIR}/resources/samples")
    # Gui everywhere: Qt's test header reads differently with it, and all tests share one reading.
    target_link_libraries(${name} PRIVATE ${ARG_LINKS} Qt6::Gui Qt6::Test)
    if(TARGET qt_thread_order) # with the thread sanitizer only
        target_link_libraries(${name} PRIVATE qt_thread_order)
    endif()
    corvane_precompile(${name} pch_test Qt6::Gui Qt6::Test)
    add_test(NAME ${name} COMMAND ${name})
    # Tests write nowhere but to temporary folders: caches and settings go to one of the build tree.
    set_tests_properties(${name} PROPERTIES TIMEOUT 900 ENVIRONMENT
        "QT_QPA_PLATFORM=offscreen;XDG_DATA_HOME=${CMAKE_BINARY_DIR}/tests/data;XDG_CACHE_HOME=${CMAKE_BINARY_DIR}/tests/cache;XDG_CONFIG_HOME=${CMAKE_BINARY_DIR}/tests/config")
endfunction()

# corvane_benchmark(bench_name LINKS ...): one Google Benchmark executable.
function(corvane_benchmark name)
    cmake_parse_arguments(ARG "" "" "SOURCES;LINKS" ${ARGN})
    if(NOT ARG_SOURCES)
        set(ARG_SOURCES ${name}.cpp)
    endif()
    add_executable(${name} ${ARG_SOURCES})
    set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/benchmarks)
    target_include_directories(${name} PRIVATE ${CMAKE_SOURCE_DIR}/tests)
    target_compile_definitions(${name} PRIVATE CORVANE_SAMPLES="${CMAKE_SOURCE_DIR}/resources/samples")
    target_link_libraries(${name} PRIVATE ${ARG_LINKS} benchmark::benchmark)
endfunction()

# corvane_fuzzer(fuzz_name LINKS ...): one libFuzzer executable.
function(corvane_fuzzer name)
    cmake_parse_arguments(ARG "" "" "SOURCES;LINKS" ${ARGN})
    if(NOT ARG_SOURCES)
        set(ARG_SOURCES ${name}.cpp)
    endif()
    add_executable(${name} ${ARG_SOURCES})
    set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/fuzz)
    target_link_libraries(${name} PRIVATE ${ARG_LINKS})
    target_link_options(${name} PRIVATE -fsanitize=fuzzer)
endfunction()
