# Installs a build into SCRATCH/prefix, then configures, builds and runs the host against it.
#   SOURCE, SCRATCH  the tree, and a folder to work in
#   NM, OBJDUMP, GENERATOR, COMPILER, LAUNCHER, FLAGS  the tools and flags to build with
#   PLUGINS          whether a shared build has the plug-ins
#   ABSENT           libraries on record that this system can't build, separated by commas
#   PROTECTED        whether its libraries must have the compiler's protections
#   BUILD            the build to install; without it, a shared one is made in SHARED, and the exports of
#                    its libraries are compared with the record
#   PRECOMPILE       Q32_PRECOMPILE of that build
function(run)
    execute_process(COMMAND ${ARGN} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

# A build type without flags of its own, so that only FLAGS apply.
set(tools -G "${GENERATOR}" -DCMAKE_BUILD_TYPE=None "-DCMAKE_CXX_COMPILER=${COMPILER}"
    "-DCMAKE_CXX_COMPILER_LAUNCHER=${LAUNCHER}" "-DCMAKE_CXX_FLAGS=${FLAGS}")

# Files from an earlier run must not affect this one.
file(REMOVE_RECURSE "${SCRATCH}/prefix" "${SCRATCH}/made" "${SCRATCH}/host")
set(given "${BUILD}")
if(NOT BUILD)
    set(BUILD "${SHARED}")
    # Sources are compiled as for the static libraries, so that ccache compiles them once.
    run("${CMAKE_COMMAND}" -S "${SOURCE}" -B "${BUILD}" ${tools} "-DQ32_PRECOMPILE=${PRECOMPILE}" -DBUILD_SHARED_LIBS=ON
        -DQ32_TESTS=OFF "-DQ32_PLUGINS=${PLUGINS}" -DQ32_EXAMPLES=OFF -DQ32_WERROR=ON)
    run("${CMAKE_COMMAND}" --build "${BUILD}" --parallel 2)
    string(REPLACE "," ";" absent "${ABSENT}")
    run("${SOURCE}/scripts/abi" "${BUILD}" ${absent})
endif()
# An installation can be moved.
run("${CMAKE_COMMAND}" --install "${BUILD}" --prefix "${SCRATCH}/made")
file(RENAME "${SCRATCH}/made" "${SCRATCH}/prefix")

# Of all that is installed, only the scripted world's own back end may hold or need its code.
file(GLOB products "${SCRATCH}/prefix/lib*/libq32Base*" "${SCRATCH}/prefix/bin/*")
list(FILTER products EXCLUDE REGEX "-headless")
list(JOIN products "," products)
run("${CMAKE_COMMAND}" "-DNM=${NM}" "-DOBJDUMP=${OBJDUMP}" "-DFILES=${products}"
    -P "${SOURCE}/tests/package/NoHeadless.cmake")

if(PROTECTED)
    file(GLOB libraries "${SCRATCH}/prefix/lib*/libq32Base*.so")
    execute_process(COMMAND "${SOURCE}/tests/package/list-unprotected" ${libraries}
        OUTPUT_VARIABLE lacking COMMAND_ERROR_IS_FATAL ANY)
    if(NOT libraries OR lacking)
        message(FATAL_ERROR "The shared libraries lack protections:\n${lacking}")
    endif()
endif()

file(GLOB includes RELATIVE "${SCRATCH}/prefix/include" "${SCRATCH}/prefix/include/*")
if(NOT includes STREQUAL "q32Base")
    message(FATAL_ERROR "Only q32Base may lie in include/ after installation, not: ${includes}")
endif()

run("${CMAKE_COMMAND}" -S "${SOURCE}/tests/package/host" -B "${SCRATCH}/host" ${tools}
    "-DCMAKE_PREFIX_PATH=${SCRATCH}/prefix" "-DFIRST_PROGRAM=${SOURCE}/examples/first/main.cpp")
run("${CMAKE_COMMAND}" --build "${SCRATCH}/host" --parallel 2)
run("${CMAKE_COMMAND}" --build "${SCRATCH}/host" --target run)

# A host without CMake.
find_program(pkg_config NAMES pkg-config pkgconf)
if(pkg_config)
    file(GLOB modules "${SCRATCH}/prefix/lib*/pkgconfig" "${SCRATCH}/prefix/lib*/*/pkgconfig")
    set(ENV{PKG_CONFIG_PATH} "${modules}")
    execute_process(COMMAND "${pkg_config}" --variable libdir q32Base OUTPUT_VARIABLE libraries
        OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
    separate_arguments(flags UNIX_COMMAND "${FLAGS}")
    # compile(<source> <program> <module>...): with nothing but what pkg-config says.
    function(compile source program)
        execute_process(COMMAND "${pkg_config}" --cflags --libs ${ARGN} OUTPUT_VARIABLE words
            OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
        separate_arguments(words UNIX_COMMAND "${words}")
        run("${COMPILER}" -std=c++20 ${flags} "${SOURCE}/examples/${source}" -o "${SCRATCH}/${program}" ${words}
            "-Wl,-rpath,${libraries}")
    endfunction()
    compile(first/main.cpp first q32Base-headless)
    run("${SCRATCH}/first")
    # Static ones name all that they link: the libraries of picture files, and the one that runs threads.
    file(GLOB files "${libraries}/libq32Base-files.*")
    if(files)
        compile(programs/resize.cpp resize q32Base-files q32Base-posix)
        run("${SCRATCH}/resize" "${SOURCE}/docs/pictures/landscape.png" "${SCRATCH}/small.png" 30)
    endif()
endif()

# The programs of the guide compile outside of the tree. Once is enough.
if(given)
    file(REMOVE_RECURSE "${SCRATCH}/programs")
    file(COPY "${SOURCE}/examples/programs" DESTINATION "${SCRATCH}")
    run("${CMAKE_COMMAND}" -S "${SCRATCH}/programs" -B "${SCRATCH}/programs/build" ${tools}
        "-DCMAKE_PREFIX_PATH=${SCRATCH}/prefix")
    run("${CMAKE_COMMAND}" --build "${SCRATCH}/programs/build" --parallel 2)
endif()
