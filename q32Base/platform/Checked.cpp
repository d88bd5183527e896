#include "q32Base/platform/Checked_p.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>

void q32::fnStop(const char* call, const char* sentence, ...) {
    std::fprintf(stderr, "q32Base: %s: ", call);
    std::va_list arguments;
    va_start(arguments, sentence);
    std::vfprintf(stderr, sentence, arguments);
    va_end(arguments);
    std::fputs(".\n", stderr);
    std::abort();
}
