# What makes a fault in a product harder to exploit. Sanitizers have checks of their own, and debug builds nothing
# to protect.
option(Q32_HARDENED "Compile with the compiler's protections" ${PROJECT_IS_TOP_LEVEL})

# q32_harden(<target>): a library or program that is given away.
function(q32_harden target)
    if(NOT Q32_HARDENED OR NOT CMAKE_SYSTEM_NAME STREQUAL "Linux" OR CMAKE_BUILD_TYPE STREQUAL "Debug"
            OR CMAKE_CXX_FLAGS MATCHES "-fsanitize")
        return()
    endif()
    target_compile_options(${target} PRIVATE
        -fstack-protector-strong -fstack-clash-protection -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2)
    target_compile_definitions(${target} PRIVATE $<$<COMPILE_LANGUAGE:CXX>:_GLIBCXX_ASSERTIONS>)
    if(CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|AMD64|i[3-6]86")
        target_compile_options(${target} PRIVATE -fcf-protection)
    endif()
    target_link_options(${target} PRIVATE LINKER:-z,relro LINKER:-z,now LINKER:-z,noexecstack)
endfunction()
