# Cross-compiles for Windows of 64 bits with Debian's MinGW-w64; tests run under Wine.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(triple x86_64-w64-mingw32)
set(CMAKE_C_COMPILER ${triple}-gcc-posix)
set(CMAKE_CXX_COMPILER ${triple}-g++-posix)
set(CMAKE_RC_COMPILER ${triple}-windres)
# The second is where scripts/test-windows puts libraries that Debian doesn't have for Windows.
set(CMAKE_FIND_ROOT_PATH /usr/${triple} "${CMAKE_CURRENT_LIST_DIR}/../build/win32-libs")
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
# Without DLLs, programs run wherever they are copied.
if(NOT BUILD_SHARED_LIBS)
    set(CMAKE_EXE_LINKER_FLAGS_INIT -static)
endif()
set(CMAKE_CROSSCOMPILING_EMULATOR wine64)
# Not its DLL, which hosts would need, too.
set(ZLIB_LIBRARY /usr/${triple}/lib/libz.a CACHE FILEPATH "")
