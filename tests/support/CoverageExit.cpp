/// @file Replaces `_exit` in a build that measures coverage: a child that ends by it first adds the
/// branches it has taken, whatever limits and rights it has given itself.

#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

extern "C" int __llvm_profile_write_file(void);
extern "C" const char* __llvm_profile_get_filename(void);

extern "C" void _exit(int status) {
    const rlimit none{RLIM_INFINITY, RLIM_INFINITY};
    const rlimit files{1024, 1024};
    const bool writes = ::setrlimit(RLIMIT_FSIZE, &none) == 0;
    ::setrlimit(RLIMIT_NOFILE, &files);
    // Children of another user add to the same file.
    if (writes && __llvm_profile_write_file() == 0)
        ::chmod(__llvm_profile_get_filename(), 0666);
    for (;;)
        ::syscall(SYS_exit_group, status);
}
