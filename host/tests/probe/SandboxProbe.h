#pragma once

#include <string>

namespace probe {

enum class Entry {
    kOpen,
    kOpen64,
    kOpen2,
    kOpen64_2,
    kOpenat,
    kOpenat64,
    kOpenat2,
    kOpenat64_2,
    kFopen,
    kFopen64,
    kIfstream,
};

std::string readWith(Entry entry, const char* path);
int accessPath(const char* path, int mode);
int faccessatPath(const char* path, int mode);
long long statSize(const char* path);
long long lstatSize(const char* path);
long long fstatatSize(const char* path);
long long statxSize(const char* path);

}  // namespace probe
