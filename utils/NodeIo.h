#pragma once

#include <android/log.h>
#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <string>

namespace vendor::quoril::hardware::tevvendorservice::implementation {

// A kernel node opened with plain descriptor I/O for the length of one call: closed when it goes
// out of scope, on every path. Not open when the open failed (or for a default-made one).
class NodeDescriptor {
  public:
    NodeDescriptor() = default;
    NodeDescriptor(const char* path, int flags);
    ~NodeDescriptor();
    NodeDescriptor(NodeDescriptor&& other) noexcept;
    NodeDescriptor& operator=(NodeDescriptor&& other) noexcept;
    NodeDescriptor(const NodeDescriptor&) = delete;
    NodeDescriptor& operator=(const NodeDescriptor&) = delete;

    bool isOpen() const { return mFd >= 0; }
    // The descriptor itself, -1 when not open.
    int get() const { return mFd; }
    // What write(2) and read(2) answer: the byte count, or -1.
    int write(const void* data, size_t size) const;
    ssize_t read(void* buffer, size_t size) const;

  private:
    int mFd = -1;
};

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

// One line an area logs when a node cannot be read: a printf format and its priority.
struct NodeLogLine {
    const char* format;
    int priority = ANDROID_LOG_ERROR;
};

// A node read by readNodeOnce, and what is logged when it does not open or its read fails.
struct LoggedNode {
    const char* path;
    size_t size;
    NodeLogLine openFailed;
    NodeLogLine readFailed;
};

// Reads |node| once into |text|. When it cannot be opened or read, logs the matching line under
// |tag|, with the arguments after |text| for its format, and answers false.
bool readLoggedNode(const char* tag, const LoggedNode& node, std::string* text, ...);

// The C library's atoi over |text| that never looks past its end: leading white space skipped,
// an optional sign, then digits up to the first other byte; 0 when there are none. Values out of
// range wrap as glibc's atoi does (it is strtol truncated to int).
int32_t decimalValue(const std::string& text);

}  // namespace vendor::quoril::hardware::tevvendorservice::implementation
