#include "NodeIo.h"

#include <fcntl.h>
#include <unistd.h>

#include <cctype>
#include <climits>
#include <vector>

namespace vendor::quoril::hardware::tevvendorservice::implementation {

NodeRead readNodeOnce(const char* path, size_t size, std::string* text) {
    int fd = open(path, O_RDONLY | O_NONBLOCK);
    if (fd < 0) {
        return NodeRead::kOpenFailed;
    }
    std::vector<char> buffer(size, 0);
    ssize_t count = read(fd, buffer.data(), size);
    close(fd);
    if (count < 0) {
        return NodeRead::kReadFailed;
    }
    text->assign(buffer.data(), static_cast<size_t>(count));
    return NodeRead::kOk;
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
