# Compiler flags of every target in this tree.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

# A project that embeds this one chooses these for itself.
if(PROJECT_IS_TOP_LEVEL)
    if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
        set(CMAKE_BUILD_TYPE RelWithDebInfo CACHE STRING "" FORCE)
    endif()
    find_program(Q32_CCACHE ccache)
    if(Q32_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
        set(CMAKE_C_COMPILER_LAUNCHER "${Q32_CCACHE}")
        set(CMAKE_CXX_COMPILER_LAUNCHER "${Q32_CCACHE}")
    endif()
endif()

# The oldest Windows that the library runs on is 7.
if(WIN32)
    add_compile_definitions(_WIN32_WINNT=0x0601)
endif()

# Floating-point results are part of the behaviour: no contraction, no reassociation.
add_compile_options(-Wall -Wextra -Wconversion -ffp-contract=off)
if(Q32_WERROR)
    add_compile_options(-Werror)
endif()

# The calling convention of 64-bit Windows aligns the stack to 16 bytes only, and gcc spills wider vectors there
# as if it were aligned to their size: the assembler replaces the instructions that need it.
set(q32_vector_options)
if(MINGW)
    set(q32_vector_options "-Wa,-muse-unaligned-vector-move")
endif()

# q32_sources(<target> <file>...): sources of this folder. The file's suffix alone selects the
# instruction set: _avx2.cpp and _avx512.cpp are compiled for those, all others for the baseline
# processor.
function(q32_sources target)
    foreach(file IN LISTS ARGN)
        target_sources(${target} PRIVATE "${CMAKE_CURRENT_SOURCE_DIR}/${file}")
        if(file MATCHES "_avx2\\.cpp$")
            set_source_files_properties("${CMAKE_CURRENT_SOURCE_DIR}/${file}"
                TARGET_DIRECTORY ${target} PROPERTIES
                COMPILE_OPTIONS "-mavx2;-mfma;${q32_vector_options}" SKIP_PRECOMPILE_HEADERS ON)
        elseif(file MATCHES "_avx512\\.cpp$")
            set_source_files_properties("${CMAKE_CURRENT_SOURCE_DIR}/${file}"
                TARGET_DIRECTORY ${target} PROPERTIES
                COMPILE_OPTIONS "-mavx512f;-mavx512bw;-mavx512vl;-mavx512dq;-mavx512vbmi;-mavx512vnni;${q32_vector_options}"
                SKIP_PRECOMPILE_HEADERS ON)
        endif()
    endforeach()
endfunction()

# q32_resources(<target> <script>): what the resource compiler makes of a script of this folder. It takes none of the
# other compilers' options.
function(q32_resources target script)
    set(object "${CMAKE_CURRENT_BINARY_DIR}/${script}.obj")
    add_custom_command(OUTPUT "${object}"
        COMMAND "${CMAKE_RC_COMPILER}" -I "${CMAKE_CURRENT_SOURCE_DIR}" -O coff
            "${CMAKE_CURRENT_SOURCE_DIR}/${script}" "${object}"
        DEPENDS "${CMAKE_CURRENT_SOURCE_DIR}/${script}")
    target_sources(${target} PRIVATE "${object}")
endfunction()

# q32_headers(<target> <file>...): public headers of this folder. They are installed with the
# target, at the same place below include/q32Base/ as in the tree, and each is checked to compile on
# its own. Headers not listed here are private.
function(q32_headers target)
    list(TRANSFORM ARGN PREPEND "${CMAKE_CURRENT_SOURCE_DIR}/")
    target_sources(${target} PUBLIC
        FILE_SET HEADERS BASE_DIRS "${PROJECT_SOURCE_DIR}" FILES ${ARGN})
endfunction()

# q32_apart(<file>...): sources of this folder that a unity build compiles on their own, since they share names of
# internal linkage with others of their target.
function(q32_apart)
    set_source_files_properties(${ARGN} PROPERTIES SKIP_UNITY_BUILD_INCLUSION ON)
endfunction()

# q32_folders(<folder>...): adds those that have a CMakeLists.txt.
function(q32_folders)
    foreach(folder IN LISTS ARGN)
        if(EXISTS "${CMAKE_CURRENT_SOURCE_DIR}/${folder}/CMakeLists.txt")
            add_subdirectory(${folder})
        endif()
    endforeach()
endfunction()

# Options of sources that use precompiled headers. gcc 12 warns about the standard library itself when it is
# precompiled. With the others ccache knows that what is precompiled depends on nothing but its sources.
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    set(Q32_PRECOMPILED_OPTIONS -Wno-array-bounds -Wno-stringop-overflow -fpch-preprocess)
else()
    set(Q32_PRECOMPILED_OPTIONS "SHELL:-Xclang -fno-pch-timestamp")
endif()

# q32_precompile(<target> [<header>...]): compiles what most sources of a target include once, in builds for tests. A
# component without headers of its own shares those of headless, which is compiled without definitions of its own.
# Release builds and clang-tidy show that each source includes what it needs.
option(Q32_PRECOMPILE "Precompile headers of the libraries, too" OFF)
function(q32_precompile target)
    if(Q32_PRECOMPILE)
        target_compile_options(${target} PRIVATE ${Q32_PRECOMPILED_OPTIONS})
        if(ARGN)
            target_precompile_headers(${target} PRIVATE ${ARGN})
        else()
            target_precompile_headers(${target} REUSE_FROM q32Base_headless)
        endif()
    endif()
endfunction()

# q32_check_integers(<target>): ends a test, under clang, where unsigned arithmetic of the target wraps or a
# conversion loses bits, unless cmake/integers.ignore names the place.
option(Q32_CHECK_INTEGERS "Check unsigned arithmetic and conversions, too; needs clang" OFF)
function(q32_check_integers target)
    if(Q32_CHECK_INTEGERS)
        target_compile_options(${target} PRIVATE
            -fsanitize=integer "-fsanitize-ignorelist=${PROJECT_SOURCE_DIR}/cmake/integers.ignore")
    endif()
endfunction()
