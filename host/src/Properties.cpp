// The host's system property store, behind libcutils' property_get/property_set with Android's
// rules: values are at most PROPERTY_VALUE_MAX - 1 bytes, an unset or empty property yields the
// default, and a "ro." property can be set only once.
#include <cutils/properties.h>

#include <tevhost/Properties.h>
#include "KeyValueFile.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <mutex>

namespace tevhost {
namespace props {
namespace {

struct Store {
    std::mutex lock;
    std::map<std::string, std::string> values;
};

Store& store() {
    static Store* s = new Store;  // never destroyed: property_get may run during exit
    return *s;
}

}  // namespace

void set(const std::string& key, const std::string& value) {
    std::lock_guard<std::mutex> guard(store().lock);
    store().values[key] = value;
}

void unset(const std::string& key) {
    std::lock_guard<std::mutex> guard(store().lock);
    store().values.erase(key);
}

void clear() {
    std::lock_guard<std::mutex> guard(store().lock);
    store().values.clear();
}

std::optional<std::string> get(const std::string& key) {
    std::lock_guard<std::mutex> guard(store().lock);
    auto it = store().values.find(key);
    if (it == store().values.end()) return std::nullopt;
    return it->second;
}

std::map<std::string, std::string> all() {
    std::lock_guard<std::mutex> guard(store().lock);
    return store().values;
}

bool loadFile(const std::string& path, int* badLine, std::string* problem) {
    std::ifstream in(path);
    if (!in) {
        if (problem) *problem = std::string("cannot read it: ") + strerror(errno);
        return false;
    }
    auto bad = [&](int number) {
        if (badLine) *badLine = number;
        if (problem) *problem = "neither '[key]: [value]' nor 'key=value'";
        return false;
    };
    std::string line;
    int number = 0;
    while (std::getline(in, line)) {
        ++number;
        std::string text = kv::trim(line);  // a CRLF line end too
        if (text.empty() || text[0] == '#') continue;
        if (text[0] == '[') {
            // getprop form: [key]: [value]
            size_t keyEnd = text.find("]: [");
            if (keyEnd == std::string::npos || text.back() != ']') return bad(number);
            set(text.substr(1, keyEnd - 1), text.substr(keyEnd + 4, text.size() - keyEnd - 5));
            continue;
        }
        size_t eq = text.find('=');
        std::string key = kv::trim(text.substr(0, eq == std::string::npos ? 0 : eq));
        if (eq == std::string::npos || key.empty()) return bad(number);
        set(key, kv::trim(text.substr(eq + 1)));
    }
    if (in.bad()) {
        if (problem) *problem = "cannot read it after line " + std::to_string(number);
        return false;
    }
    return true;
}

}  // namespace props
}  // namespace tevhost

using tevhost::props::store;

extern "C" int property_get(const char* key, char* value, const char* default_value) {
    std::string found;
    {
        std::lock_guard<std::mutex> guard(store().lock);
        auto it = store().values.find(key ? key : "");
        if (it != store().values.end()) found = it->second;
    }
    if (!found.empty()) {
        size_t len = std::min(found.size(), static_cast<size_t>(PROPERTY_VALUE_MAX - 1));
        memcpy(value, found.data(), len);
        value[len] = '\0';
        return static_cast<int>(len);
    }
    int len = 0;
    if (default_value) {
        len = static_cast<int>(strnlen(default_value, PROPERTY_VALUE_MAX - 1));
        memcpy(value, default_value, len);
    }
    value[len] = '\0';
    return len;
}

extern "C" int property_set(const char* key, const char* value) {
    if (key == nullptr || *key == '\0') return -1;
    const char* text = value ? value : "";
    if (strlen(text) >= PROPERTY_VALUE_MAX) return -1;
    std::lock_guard<std::mutex> guard(store().lock);
    auto it = store().values.find(key);
    if (strncmp(key, "ro.", 3) == 0 && it != store().values.end()) return -1;
    store().values[key] = text;
    return 0;
}
