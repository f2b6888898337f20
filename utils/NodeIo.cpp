#include "NodeIo.h"

#include <fcntl.h>
#include <unistd.h>

#include <cctype>
#include <climits>
#include <cstdarg>
#include <vector>

namespace vendor::quoril::hardware::tevvendorservice::implementation {

NodeDescriptor::NodeDescriptor(const char* path, int flags) : mFd(open(path, flags)) {}

NodeDescriptor::~NodeDescriptor() {
    if (mFd >= 0) {
        close(mFd);
    }
}

NodeDescriptor::NodeDescriptor(NodeDescriptor&& other) noexcept : mFd(other.mFd) {
    other.mFd = -1;
}

NodeDescriptor& NodeDescriptor::operator=(NodeDescriptor&& other) noexcept {
    if (this != &other) {
        if (mFd >= 0) {
            close(mFd);
        }
        mFd = other.mFd;
        other.mFd = -1;
    }
    return *this;
}

int NodeDescriptor::write(const void* data, size_t size) const {
    return static_cast<int>(::write(mFd, data, size));
}

ssize_t NodeDescriptor::read(void* buffer, size_t size) const {
    return ::read(mFd, buffer, size);
}

NodeRead readNodeOnce(const char* path, size_t size, std::string* text) {
    NodeDescriptor node(path, O_RDONLY | O_NONBLOCK);
    if (!node.isOpen()) {
        return NodeRead::kOpenFailed;
    }
    std::vector<char> buffer(size, 0);
    ssize_t count = node.read(buffer.data(), size);
    if (count < 0) {
        return NodeRead::kReadFailed;
    }
    text->assign(buffer.data(), static_cast<size_t>(count));
    return NodeRead::kOk;
}

bool readLoggedNode(const char* tag, const LoggedNode& node, std::string* text, ...) {
    const NodeLogLine* failure = nullptr;
    switch (readNodeOnce(node.path, node.size, text)) {
        case NodeRead::kOpenFailed:
            failure = &node.openFailed;
            break;
        case NodeRead::kReadFailed:
            failure = &node.readFailed;
            break;
        case NodeRead::kOk:
            return true;
    }
    va_list args;
    va_start(args, text);
    __android_log_vprint(failure->priority, tag, failure->format, args);
    va_end(args);
    return false;
}

int32_t decimalValue(const std::string& text) {
    size_t i = 0;
    while (i < text.size() && isspace(static_cast<unsigned char>(text[i]))) {
        ++i;
    }
    bool negative = false;
    if (i < text.size() && (text[i] == '+' || text[i] == '-')) {
        negative = text[i] == '-';
        ++i;
    }
    // strtol saturates at LONG_MIN/LONG_MAX; atoi then keeps the low 32 bits. The magnitude stops
    // growing before it passes LONG_MAX + 1, so that it never wraps around.
    const unsigned long long limit = static_cast<unsigned long long>(LONG_MAX) + 1;
    unsigned long long magnitude = 0;
    bool saturated = false;
    for (; i < text.size() && isdigit(static_cast<unsigned char>(text[i])); ++i) {
        const unsigned digit = static_cast<unsigned>(text[i] - '0');
        if (magnitude > (limit - digit) / 10) {
            saturated = true;
            break;
        }
        magnitude = magnitude * 10 + digit;
    }
    long value;
    if (negative) {
        value = saturated ? LONG_MIN : static_cast<long>(0ULL - magnitude);
    } else {
        value = saturated || magnitude > static_cast<unsigned long long>(LONG_MAX)
                        ? LONG_MAX
                        : static_cast<long>(magnitude);
    }
    return static_cast<int32_t>(static_cast<uint32_t>(static_cast<unsigned long>(value)));
}

}  // namespace vendor::quoril::hardware::tevvendorservice::implementation
