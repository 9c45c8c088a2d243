// Preloaded into a program, counts its calls that open or change files, and at the n-th one fails
// it or kills the process:
//   VX_FAULT_AT    n
//   VX_FAULT       the errno to fail with; 0 kills
//   VX_FAULT_MARK  a file that gets the name of the call that was struck
// Half of a write at which the process dies is still done. Standard streams do not count. Calls
// within the C library itself pass by.

#define _GNU_SOURCE
#include <dirent.h>
#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <stdarg.h>
#include <stdatomic.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/sendfile.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

static atomic_long s_calls;

static long number_of(const char* name) {
    const char* const value = getenv(name);
    return value ? atol(value) : -1;
}

static int kills(void) {
    return number_of("VX_FAULT") == 0;
}

static void mark(const char* name) {
    const char* const path = getenv("VX_FAULT_MARK");
    const long file = syscall(SYS_openat, AT_FDCWD, path, O_WRONLY | O_CREAT | O_TRUNC, 0666);
    syscall(SYS_write, file, name, strlen(name));
    syscall(SYS_close, file);
}

// Whether this call is the one.
static int is_struck(const char* name) {
    if (atomic_fetch_add(&s_calls, 1) + 1 != number_of("VX_FAULT_AT")) return 0;
    mark(name);
    errno = (int)number_of("VX_FAULT");
    return 1;
}

static void die_if_killed(void) {
    if (!kills()) return;
    kill(getpid(), SIGKILL);
    for (;;) pause();
}

static int strikes(const char* name) {
    if (!is_struck(name)) return 0;
    die_if_killed();
    return 1;
}

// The C library's own function of this name.
#define NEXT(result, name, parameters)            \
    static result(*next) parameters;              \
    if (!next) {                                  \
        *(void**)&next = dlsym(RTLD_NEXT, #name); \
    }

#define CALL(result, name, parameters, failed, arguments) \
    result name parameters {                              \
        NEXT(result, name, parameters)                    \
        return strikes(#name) ? failed : next arguments;  \
    }

#define OPEN(name, parameters, arguments)            \
    int name parameters {                            \
        NEXT(int, name, parameters)                  \
        mode_t mode = 0;                             \
        if (flags & (O_CREAT | __O_TMPFILE)) {       \
            va_list rest;                            \
            va_start(rest, flags);                   \
            mode = va_arg(rest, mode_t);             \
            va_end(rest);                            \
        }                                            \
        return strikes(#name) ? -1 : next arguments; \
    }

// Half of it is what `halved` writes.
#define WRITE(name, parameters, arguments, halved)           \
    ssize_t name parameters {                                \
        NEXT(ssize_t, name, parameters)                      \
        if (file > 2 && is_struck(#name)) {                  \
            if (kills() && next halved < 0) mark("no half"); \
            die_if_killed();                                 \
            return -1;                                       \
        }                                                    \
        return next arguments;                               \
    }

OPEN(open, (const char* path, int flags, ...), (path, flags, mode))
OPEN(open64, (const char* path, int flags, ...), (path, flags, mode))
OPEN(openat, (int at, const char* path, int flags, ...), (at, path, flags, mode))
OPEN(openat64, (int at, const char* path, int flags, ...), (at, path, flags, mode))
CALL(int, creat, (const char* path, mode_t mode), -1, (path, mode))
CALL(int, creat64, (const char* path, mode_t mode), -1, (path, mode))
CALL(FILE*, fopen, (const char* path, const char* mode), NULL, (path, mode))
CALL(FILE*, fopen64, (const char* path, const char* mode), NULL, (path, mode))
CALL(DIR*, opendir, (const char* path), NULL, (path))

WRITE(write, (int file, const void* data, size_t size), (file, data, size), (file, data, size / 2))
WRITE(pwrite, (int file, const void* data, size_t size, off_t at), (file, data, size, at),
      (file, data, size / 2, at))
WRITE(pwrite64, (int file, const void* data, size_t size, off64_t at), (file, data, size, at),
      (file, data, size / 2, at))
WRITE(writev, (int file, const struct iovec* parts, int count), (file, parts, count),
      (file, parts, count / 2))
WRITE(pwritev, (int file, const struct iovec* parts, int count, off_t at), (file, parts, count, at),
      (file, parts, count / 2, at))
WRITE(pwritev64, (int file, const struct iovec* parts, int count, off64_t at),
      (file, parts, count, at), (file, parts, count / 2, at))
WRITE(sendfile, (int file, int from, off_t* at, size_t size), (file, from, at, size),
      (file, from, at, size / 2))
WRITE(sendfile64, (int file, int from, off64_t* at, size_t size), (file, from, at, size),
      (file, from, at, size / 2))
WRITE(copy_file_range,
      (int from, off64_t* begin, int file, off64_t* end, size_t size, unsigned how),
      (from, begin, file, end, size, how), (from, begin, file, end, size / 2, how))

CALL(int, fsync, (int file), -1, (file))
CALL(int, fdatasync, (int file), -1, (file))
CALL(int, syncfs, (int file), -1, (file))
CALL(int, sync_file_range, (int file, off64_t at, off64_t size, unsigned how), -1,
     (file, at, size, how))
CALL(int, msync, (void* data, size_t size, int how), -1, (data, size, how))
CALL(int, ftruncate, (int file, off_t size), -1, (file, size))
CALL(int, ftruncate64, (int file, off64_t size), -1, (file, size))
CALL(int, truncate, (const char* path, off_t size), -1, (path, size))
CALL(int, truncate64, (const char* path, off64_t size), -1, (path, size))
CALL(int, fallocate, (int file, int how, off_t at, off_t size), -1, (file, how, at, size))
CALL(int, fallocate64, (int file, int how, off64_t at, off64_t size), -1, (file, how, at, size))
CALL(int, posix_fallocate, (int file, off_t at, off_t size), errno, (file, at, size))
CALL(int, posix_fallocate64, (int file, off64_t at, off64_t size), errno, (file, at, size))

CALL(int, rename, (const char* from, const char* to), -1, (from, to))
CALL(int, renameat, (int a, const char* from, int b, const char* to), -1, (a, from, b, to))
CALL(int, renameat2, (int a, const char* from, int b, const char* to, unsigned how), -1,
     (a, from, b, to, how))
CALL(int, link, (const char* from, const char* to), -1, (from, to))
CALL(int, linkat, (int a, const char* from, int b, const char* to, int how), -1,
     (a, from, b, to, how))
CALL(int, symlink, (const char* target, const char* path), -1, (target, path))
CALL(int, unlink, (const char* path), -1, (path))
CALL(int, unlinkat, (int at, const char* path, int how), -1, (at, path, how))
CALL(int, remove, (const char* path), -1, (path))
CALL(int, mkdir, (const char* path, mode_t mode), -1, (path, mode))
CALL(int, mkdirat, (int at, const char* path, mode_t mode), -1, (at, path, mode))
CALL(int, rmdir, (const char* path), -1, (path))
CALL(int, fchmod, (int file, mode_t mode), -1, (file, mode))
CALL(int, fchown, (int file, uid_t owner, gid_t group), -1, (file, owner, group))
CALL(int, futimens, (int file, const struct timespec times[2]), -1, (file, times))
CALL(int, utimensat, (int at, const char* path, const struct timespec times[2], int how), -1,
     (at, path, times, how))
