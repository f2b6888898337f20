// Calls libc the way a product library does, without linking the sandbox: every entry point
// here must still reach the device root when a test runs it.
#include "SandboxProbe.h"

#include <fcntl.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <iterator>

// The fortified forms that glibc's headers call when the flags are not known at compile time.
extern "C" int __open_2(const char* path, int flags);
extern "C" int __open64_2(const char* path, int flags);
extern "C" int __openat_2(int dirfd, const char* path, int flags);
extern "C" int __openat64_2(int dirfd, const char* path, int flags);

namespace probe {

std::string readFd(int fd) {
    if (fd < 0) return "<open failed>";
    char buf[256];
    ssize_t n = read(fd, buf, sizeof(buf));
    close(fd);
    return n < 0 ? "<read failed>" : std::string(buf, static_cast<size_t>(n));
}

std::string readWith(Entry entry, const char* path) {
    switch (entry) {
        case Entry::kOpen:
            return readFd(open(path, O_RDONLY));
        case Entry::kOpen64:
            return readFd(open64(path, O_RDONLY));
        case Entry::kOpen2:
            return readFd(__open_2(path, O_RDONLY));
        case Entry::kOpen64_2:
            return readFd(__open64_2(path, O_RDONLY));
        case Entry::kOpenat2:
            return readFd(__openat_2(AT_FDCWD, path, O_RDONLY));
        case Entry::kOpenat64_2:
            return readFd(__openat64_2(AT_FDCWD, path, O_RDONLY));
        case Entry::kOpenat:
            return readFd(openat(AT_FDCWD, path, O_RDONLY));
        case Entry::kOpenat64:
            return readFd(openat64(AT_FDCWD, path, O_RDONLY));
        case Entry::kFopen:
        case Entry::kFopen64: {
            FILE* f = entry == Entry::kFopen ? fopen(path, "r") : fopen64(path, "r");
            if (f == nullptr) return "<open failed>";
            char buf[256];
            size_t n = fread(buf, 1, sizeof(buf), f);
            fclose(f);
            return std::string(buf, n);
        }
        case Entry::kIfstream: {
            std::ifstream in(path);
            if (!in) return "<open failed>";
            return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
        }
    }
    return "";
}

int accessPath(const char* path, int mode) {
    return access(path, mode);
}

int faccessatPath(const char* path, int mode) {
    return faccessat(AT_FDCWD, path, mode, 0);
}

long long statSize(const char* path) {
    struct stat st;
    return stat(path, &st) == 0 ? static_cast<long long>(st.st_size) : -1;
}

long long lstatSize(const char* path) {
    struct stat st;
    return lstat(path, &st) == 0 ? static_cast<long long>(st.st_size) : -1;
}

long long fstatatSize(const char* path) {
    struct stat st;
    return fstatat(AT_FDCWD, path, &st, 0) == 0 ? static_cast<long long>(st.st_size) : -1;
}

long long statxSize(const char* path) {
    struct statx st;
    return statx(AT_FDCWD, path, 0, STATX_SIZE, &st) == 0 ? static_cast<long long>(st.stx_size) : -1;
}

}  // namespace probe
