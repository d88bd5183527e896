# q32_docs(): the target docs makes the reference of the public headers as pages for a browser, with the guide, its
# programs and the other documentation inside, in the build folder's docs/: of all back ends, whichever are built.
# Warnings are errors, and so are a public declaration without a comment, a link to nowhere and an empty page.
function(q32_docs)
    find_program(Q32_DOXYGEN doxygen)
    mark_as_advanced(Q32_DOXYGEN)
    if(NOT PROJECT_IS_TOP_LEVEL OR NOT Q32_DOXYGEN)
        return()
    endif()
    set(Q32_SITE "${PROJECT_BINARY_DIR}/docs")
    set(Q32_SITE_MADE "${PROJECT_BINARY_DIR}/docs-made")
    file(MAKE_DIRECTORY "${Q32_SITE_MADE}")

    # Rooms are groups, in the words of the architecture's table.
    set(rooms "")
    file(STRINGS "${PROJECT_SOURCE_DIR}/docs/architecture.md" rows REGEX "^\\| `[^|]*/` \\| ")
    foreach(row IN LISTS rows)
        if(row MATCHES "^\\| `([^`<]*)/` \\| (.*) \\|$")
            set(folder "${CMAKE_MATCH_1}")
            set(text "${CMAKE_MATCH_2}")
            file(GLOB headers "${PROJECT_SOURCE_DIR}/${folder}/*.h")
            # The public header of the kernels declares nothing for hosts.
            if(NOT headers MATCHES "[^p]\\.h|[^_]p\\.h" OR folder MATCHES "^(examples|tools|tests|q32Base/kernels)")
                continue()
            endif()
            string(MAKE_C_IDENTIFIER "${folder}" id)
            string(SUBSTRING "${text}" 0 1 first)
            string(TOUPPER "${first}" first)
            string(SUBSTRING "${text}" 1 -1 text)
            string(APPEND rooms "/** @defgroup room_${id} ${folder}\n${first}${text}. */\n")
        endif()
    endforeach()
    foreach(back_end IN ITEMS "posix:Memory, files and language of POSIX systems" "qt:The desktop, with Qt"
            "pulse:Sound and volume through a sound server" "alsa:The mixer of a sound card" "win32:All of Windows")
        string(REPLACE ":" ";" back_end "${back_end}")
        list(POP_FRONT back_end name text)
        string(APPEND rooms "/** @defgroup room_platforms_${name} platforms/${name}\n${text}. */\n")
    endforeach()
    string(APPEND rooms "/** @defgroup room_q32Base q32Base\nThe one header that a host includes. */\n")
    file(GLOB programs RELATIVE "${PROJECT_SOURCE_DIR}/examples/programs" "${PROJECT_SOURCE_DIR}/examples/programs/*.cpp")
    set(list "")
    foreach(program IN LISTS programs)
        cmake_path(GET program STEM name)
        # The comment at the top, which may have several lines.
        file(READ "${PROJECT_SOURCE_DIR}/examples/programs/${program}" what LIMIT 1000)
        string(REGEX MATCH "^(//[^\n]*\n)+" what "${what}")
        string(REGEX REPLACE "(^|\n)// *" " " what "${what}")
        string(STRIP "${what}" what)
        string(REPLACE "<" "&lt;" what "${what}")
        string(REPLACE ">" "&gt;" what "${what}")
        string(APPEND list "- @subpage program_${name} \"${program}\": ${what}\n")
        string(APPEND rooms "/** @page program_${name} ${program}\n${what}\n
Explained in @ref page_docs_guide \"the guide\".\n@include ${program} */\n")
    endforeach()
    string(APPEND rooms "/** @page programs Programs of the guide\n${list} */\n")
    file(CONFIGURE OUTPUT "${Q32_SITE_MADE}/site.dox" CONTENT "${rooms}" @ONLY)

    # The site's tree has the pages in this order.
    set(Q32_SITE_INPUT "\"${PROJECT_SOURCE_DIR}/docs/README.md\" \"${Q32_SITE_MADE}/site.dox\"")
    file(GLOB headers "${PROJECT_SOURCE_DIR}/q32Base/*.h" "${PROJECT_SOURCE_DIR}/q32Base/*/*.h"
        "${PROJECT_SOURCE_DIR}/platforms/*/*.h" "${PROJECT_SOURCE_DIR}/plugins/*.h")
    list(FILTER headers EXCLUDE REGEX "_p\\.h$|/kernels/")
    file(GLOB pages "${PROJECT_SOURCE_DIR}/*.md" "${PROJECT_SOURCE_DIR}/docs/*.md" "${PROJECT_SOURCE_DIR}/docs/behaviour/*.md"
        "${PROJECT_SOURCE_DIR}/bench/*.md")
    list(REMOVE_ITEM pages "${PROJECT_SOURCE_DIR}/docs/README.md")
    foreach(file IN LISTS pages headers)
        string(APPEND Q32_SITE_INPUT " \\\n    \"${file}\"")
    endforeach()
    configure_file("${PROJECT_SOURCE_DIR}/docs/site/Doxyfile.in" "${Q32_SITE_MADE}/Doxyfile" @ONLY)
    cmake_path(GET PROJECT_SOURCE_DIR FILENAME tree)
    add_custom_target(docs
        COMMAND "${CMAKE_COMMAND}" -E rm -rf "${Q32_SITE}"
        COMMAND "${CMAKE_COMMAND}" -E env "Q32_TREE=${tree}" "${Q32_DOXYGEN}" "${Q32_SITE_MADE}/Doxyfile"
        COMMAND "${PROJECT_SOURCE_DIR}/docs/site/mend-pages" "${Q32_SITE}"
        COMMAND "${PROJECT_SOURCE_DIR}/scripts/check-site" "${Q32_SITE}"
        WORKING_DIRECTORY "${PROJECT_SOURCE_DIR}" VERBATIM)
endfunction()
