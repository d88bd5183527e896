# Fails unless q32Base.h includes every public header of the core, directly or through another one.
#   COMPILER  how to run it; ROOT  the tree; HEADERS  the public headers, separated by commas
execute_process(COMMAND "${COMPILER}" -std=c++20 -MM "-I${ROOT}" -x c++ "${ROOT}/q32Base/q32Base.h"
    OUTPUT_VARIABLE reached COMMAND_ERROR_IS_FATAL ANY)
string(REPLACE "," ";" HEADERS "${HEADERS}")
foreach(header IN LISTS HEADERS)
    string(FIND "${reached}" "${header}" place)
    if(place EQUAL -1)
        message(SEND_ERROR "q32Base.h doesn't include ${header}")
    endif()
endforeach()
