# Install rules and the package q32Base. Each library is a separate component with its own targets
# file, so that a host needs only the packages of the components it uses.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(Q32_PACKAGE_DIR "${CMAKE_INSTALL_LIBDIR}/cmake/q32Base")
# The root of the library's includes, a folder of its own: nothing else is installed in include/.
set(Q32_INCLUDE_DIR "${CMAKE_INSTALL_INCLUDEDIR}/q32Base")

# q32_component(<target> <name> [HEADERS <file>...] [NEEDS <component>...] [PACKAGES <package>...]
#   [PUBLIC_PACKAGES <package>...]):
# makes a library available as q32Base::<name>, in the tree and after installation.
#   HEADERS   its public headers, as for q32_headers
#   NEEDS     components besides the core that it links
#   PACKAGES  packages that find_package must find for a static build of it
#   PUBLIC_PACKAGES  packages that any build needs, because public headers use them
#   MODULES, PUBLIC_MODULES  what these packages are called in pkg-config; -l… is a library without such a file
function(q32_component target name)
    cmake_parse_arguments(arg "" "" "HEADERS;NEEDS;PACKAGES;PUBLIC_PACKAGES;MODULES;PUBLIC_MODULES" ${ARGN})
    if(NOT TARGET q32Base::${name})
        add_library(q32Base::${name} ALIAS ${target})
    endif()
    q32_headers(${target} ${arg_HEADERS})
    set_target_properties(${target} PROPERTIES
        EXPORT_NAME ${name}
        VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR}
        DEFINE_SYMBOL Q32_BUILDING)
    # Set for static libraries too where the symbol changes nothing, so that a build of both kinds
    # compiles each source with identical flags and ccache compiles it once.
    if(NOT WIN32)
        target_compile_definitions(${target} PRIVATE Q32_BUILDING)
    endif()
    if(NOT name STREQUAL "q32Base")
        set_target_properties(${target} PROPERTIES OUTPUT_NAME "q32Base-${name}")
    endif()

    # Hosts of a DLL import what it exports.
    if(WIN32 AND BUILD_SHARED_LIBS)
        target_compile_definitions(${target} INTERFACE Q32_SHARED)
    endif()

    # Components find each other in their install folder: a host names only the one that it links.
    if(CMAKE_SYSTEM_NAME STREQUAL "Linux")
        set_target_properties(${target} PROPERTIES INSTALL_RPATH "$ORIGIN")
    endif()

    # Undefined symbols of a shared library are reported when it is linked, not when a host starts.
    if(CMAKE_SYSTEM_NAME STREQUAL "Linux")
        set(exports "${PROJECT_SOURCE_DIR}/cmake/exports.map")
        target_link_options(${target} PRIVATE
            $<$<STREQUAL:$<TARGET_PROPERTY:TYPE>,SHARED_LIBRARY>:LINKER:--no-undefined,--version-script=${exports}>)
        set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS "${exports}")
    endif()
    q32_harden(${target})

    # A host's find_package loads components in the order of these calls.
    get_target_property(type ${target} TYPE)
    if(type STREQUAL "SHARED_LIBRARY")
        set(arg_PACKAGES "")
    endif()
    set_property(GLOBAL APPEND PROPERTY Q32_COMPONENTS ${name})
    set_property(GLOBAL APPEND PROPERTY Q32_TARGETS ${target})
    list(APPEND arg_PACKAGES ${arg_PUBLIC_PACKAGES})
    set_property(GLOBAL APPEND_STRING PROPERTY Q32_COMPONENT_TABLE
        "set(q32Base_${name}_needs ${arg_NEEDS})\nset(q32Base_${name}_packages ${arg_PACKAGES})\n")

    if(Q32_INSTALL)
        install(TARGETS ${target} EXPORT q32Base_${name}
            RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}"
            LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}"
            ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}"
            FILE_SET HEADERS DESTINATION "${Q32_INCLUDE_DIR}")
        install(EXPORT q32Base_${name} FILE q32Base_${name}.cmake NAMESPACE q32Base::
            DESTINATION "${Q32_PACKAGE_DIR}")
        q32_pkg_config(${target} "${arg_NEEDS}" "${arg_MODULES}" "${arg_PUBLIC_MODULES}")
    endif()
endfunction()

# q32_pkg_config(<target> <components> <modules> <public modules>): the component's file for pkg-config. Its
# paths are relative to itself, so that an installation can be moved.
function(q32_pkg_config target needs modules public_modules)
    get_target_property(type ${target} TYPE)
    get_target_property(library ${target} OUTPUT_NAME)
    if(NOT library)
        set(library ${target})
    endif()
    set(requires)
    if(NOT library STREQUAL "q32Base")
        set(requires "q32Base = ${PROJECT_VERSION}")
    endif()
    foreach(need IN LISTS needs)
        list(APPEND requires "q32Base-${need} = ${PROJECT_VERSION}")
    endforeach()
    list(APPEND requires ${public_modules})
    # A static library is useless without what it links, so that it needs no --static.
    set(libraries "-L\${libdir} -l${library}")
    if(type STREQUAL "STATIC_LIBRARY")
        set(files ${modules})
        list(FILTER files EXCLUDE REGEX "^-l")
        list(APPEND requires ${files})
        list(FILTER modules INCLUDE REGEX "^-l")
        string(JOIN " " libraries "${libraries}" ${modules})
    endif()
    list(JOIN requires ", " requires)
    set(folder "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
    cmake_path(RELATIVE_PATH CMAKE_INSTALL_PREFIX BASE_DIRECTORY "${CMAKE_INSTALL_PREFIX}/${folder}"
        OUTPUT_VARIABLE prefix)
    file(CONFIGURE OUTPUT "${PROJECT_BINARY_DIR}/${library}.pc" @ONLY CONTENT [=[
prefix=${pcfiledir}/@prefix@
libdir=${prefix}/@CMAKE_INSTALL_LIBDIR@
includedir=${prefix}/@Q32_INCLUDE_DIR@

Name: @library@
Description: @PROJECT_DESCRIPTION@
Version: @PROJECT_VERSION@
Requires: @requires@
Libs: @libraries@
Cflags: -I${includedir}
]=])
    install(FILES "${PROJECT_BINARY_DIR}/${library}.pc" DESTINATION "${folder}")
endfunction()

# q32_package(): the package's own files; call it after all components.
function(q32_package)
    if(NOT Q32_INSTALL)
        return()
    endif()
    get_property(components GLOBAL PROPERTY Q32_COMPONENTS)
    get_property(table GLOBAL PROPERTY Q32_COMPONENT_TABLE)
    configure_package_config_file("${PROJECT_SOURCE_DIR}/cmake/q32BaseConfig.cmake.in"
        "${PROJECT_BINARY_DIR}/q32BaseConfig.cmake" INSTALL_DESTINATION "${Q32_PACKAGE_DIR}")
    write_basic_package_version_file("${PROJECT_BINARY_DIR}/q32BaseConfigVersion.cmake"
        COMPATIBILITY SameMajorVersion)
    # DLLs and hosts share one C++ runtime, or else no exception could pass from one to the other.
    if(MINGW AND BUILD_SHARED_LIBS)
        foreach(name IN ITEMS libstdc++-6.dll libgcc_s_seh-1.dll libwinpthread-1.dll)
            execute_process(COMMAND "${CMAKE_CXX_COMPILER}" "-print-file-name=${name}"
                OUTPUT_VARIABLE file OUTPUT_STRIP_TRAILING_WHITESPACE)
            install(FILES "${file}" DESTINATION "${CMAKE_INSTALL_BINDIR}")
        endforeach()
    endif()
    install(FILES "${PROJECT_BINARY_DIR}/q32BaseConfig.cmake"
        "${PROJECT_BINARY_DIR}/q32BaseConfigVersion.cmake" DESTINATION "${Q32_PACKAGE_DIR}")
endfunction()

# q32_header_check(): the target header_check compiles every public header on its own, included
# twice.
function(q32_header_check)
    if(NOT PROJECT_IS_TOP_LEVEL)
        return()
    endif()
    add_custom_target(header_check)
    get_property(targets GLOBAL PROPERTY Q32_TARGETS)
    foreach(target IN LISTS targets)
        get_target_property(headers ${target} HEADER_SET)
        set(sources)
        foreach(header IN LISTS headers)
            file(RELATIVE_PATH name "${PROJECT_SOURCE_DIR}" "${header}")
            set(source "${PROJECT_BINARY_DIR}/header_check/${name}.cpp")
            file(CONFIGURE OUTPUT "${source}"
                CONTENT "#include \"${name}\"\n#include \"${name}\" // again\n")
            list(APPEND sources "${source}")
        endforeach()
        if(sources)
            add_library(header_check_${target} OBJECT EXCLUDE_FROM_ALL ${sources})
            target_compile_options(header_check_${target} PRIVATE -O0 -g0)
            target_link_libraries(header_check_${target} PRIVATE ${target})
            add_dependencies(header_check header_check_${target})
        endif()
    endforeach()
endfunction()
