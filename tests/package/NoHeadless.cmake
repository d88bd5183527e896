# Fails when one of FILES, libraries and programs separated by commas, holds or calls code of the
# scripted world.
#   NM, OBJDUMP   the tools that list symbols, and the libraries that a file needs
string(REPLACE "," ";" FILES "${FILES}")
if(NOT FILES)
    message(FATAL_ERROR "no files to look at")
endif()
foreach(file IN LISTS FILES)
    execute_process(COMMAND "${NM}" -C "${file}" OUTPUT_VARIABLE symbols ERROR_QUIET COMMAND_ERROR_IS_FATAL ANY)
    # A stripped file would pass without proving anything.
    if(NOT symbols MATCHES "Cq[A-Z]")
        message(FATAL_ERROR "${file} has no symbols to look at")
    endif()
    set(facts)
    if(NOT file MATCHES "\\.a$")
        execute_process(COMMAND "${OBJDUMP}" -p "${file}" OUTPUT_VARIABLE facts ERROR_QUIET COMMAND_ERROR_IS_FATAL ANY)
    endif()
    string(REGEX MATCH "[^\n]*(Headless|headless::|NEEDED[^\n]*headless)[^\n]*" found "${symbols}\n${facts}")
    if(found)
        message(FATAL_ERROR "${file} holds or calls code of the scripted world: ${found}")
    endif()
endforeach()
