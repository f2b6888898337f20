// tevctl's JSON. A document is built as a nlohmann::ordered_json value (keys stay in the order
// they are set) and written in the form scripts rely on, byte for byte: no blanks; strings keep
// valid UTF-8 and write control and invalid bytes as \u00XX; exact bytes (node data, made with
// bytes()) write every byte outside printable ASCII as \u00XX; a double without a fraction is
// written as an integer ("6"), one that is not finite as null.
#pragma once

#include <tevcatalog/Catalog.h>

#include <nlohmann/json.hpp>

#include <string>

namespace tevctl::json {

using Json = nlohmann::ordered_json;

// A value of exact bytes.
Json bytes(const std::string& data);

// A value of the catalogue: booleans, numbers, strings and lists as such, enum members by number.
Json value(const tevcatalog::Value& value);

// |document| as one line of text (no line end).
std::string write(const Json& document);

}  // namespace tevctl::json
