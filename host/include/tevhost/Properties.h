// Control API of the host's system property store (the product reads it with property_get and
// writes it with property_set, under Android's rules). The control calls here are those of the
// build system and of a test: they bypass the rules ("ro." properties included).
#pragma once

#include <map>
#include <optional>
#include <string>

namespace tevhost {
namespace props {

void set(const std::string& key, const std::string& value);
void unset(const std::string& key);
void clear();
std::optional<std::string> get(const std::string& key);
std::map<std::string, std::string> all();

// Loads a file of "[key]: [value]" lines (getprop output) or "key=value" lines (blanks around '='
// and a CRLF line end are no part of key or value). Blank lines and lines starting with '#' are
// skipped. Returns false when the file cannot be read, and sets |badLine| (1-based) for a line of
// neither form; |problem| says which.
bool loadFile(const std::string& path, int* badLine = nullptr, std::string* problem = nullptr);

}  // namespace props
}  // namespace tevhost
