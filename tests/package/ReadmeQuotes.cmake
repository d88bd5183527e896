# Fails unless README quotes PROGRAM completely and verbatim as a C++ block.
file(READ "${README}" readme)
file(READ "${PROGRAM}" program)
string(FIND "${readme}" "```cpp\n${program}```\n" place)
if(place EQUAL -1)
    message(FATAL_ERROR "${README} does not quote ${PROGRAM} as it stands.")
endif()
