#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace vendor::quoril::hardware::tevvendorservice::implementation {

// Outcome of a fixed-buffer node read.
enum class NodeRead {
    kOk,
    kOpenFailed,
    kReadFailed,
};

// The fixed-buffer node read of the areas that use plain descriptor I/O: opens |path| read-only
// and non-blocking, reads once at most |size| bytes into a zeroed buffer, and closes the node on
// every path. On kOk, |text| holds exactly the bytes read (possibly none, never more than |size|).
NodeRead readNodeOnce(const char* path, size_t size, std::string* text);

// The C library's atoi over |text| that never looks past its end: leading white space skipped,
// an optional sign, then digits up to the first other byte; 0 when there are none. Values out of
// range wrap as glibc's atoi does (it is strtol truncated to int).
int32_t decimalValue(const std::string& text);

}  // namespace vendor::quoril::hardware::tevvendorservice::implementation
