#include "Json.h"

#include <tevcatalog/Values.h>

#include <cmath>
#include <cstdint>
#include <vector>

namespace tevctl::json {

namespace {

using tevcatalog::Type;

// The library writes strings its own way (\n for a line feed, DEL and invalid UTF-8 as they are);
// ours are written here, and so are doubles. Containers, booleans, integers and null are the
// library's.
void writeString(const std::string& s, bool keepUtf8, std::string* out) {
    *out += '"';
    *out += tevcatalog::escape(s, keepUtf8, true);
    *out += '"';
}

void writeValue(const Json& value, std::string* out) {
    switch (value.type()) {
        case Json::value_t::object: {
            *out += '{';
            bool first = true;
            for (const auto& item : value.items()) {
                if (!first) *out += ',';
                first = false;
                writeString(item.key(), true, out);
                *out += ':';
                writeValue(item.value(), out);
            }
            *out += '}';
            break;
        }
        case Json::value_t::array:
            *out += '[';
            for (size_t i = 0; i < value.size(); ++i) {
                if (i > 0) *out += ',';
                writeValue(value[i], out);
            }
            *out += ']';
            break;
        case Json::value_t::string:
            writeString(value.get_ref<const std::string&>(), true, out);
            break;
        case Json::value_t::binary: {
            const auto& data = value.get_binary();
            writeString(std::string(data.begin(), data.end()), false, out);
            break;
        }
        case Json::value_t::number_float: {
            double d = value.get<double>();
            *out += std::isfinite(d) ? tevcatalog::decimal(d) : "null";
            break;
        }
        default:
            *out += value.dump();
            break;
    }
}

}  // namespace

Json bytes(const std::string& data) {
    return Json::binary(std::vector<std::uint8_t>(data.begin(), data.end()));
}

Json value(const tevcatalog::Value& v) {
    switch (v.type) {
        case Type::kBool:
            return v.number != 0;
        case Type::kInt32:
        case Type::kEnum:
            return v.number;
        case Type::kDouble:
            return v.real;
        case Type::kString:
            return v.text;
        case Type::kIntList:
            return v.ints;
        case Type::kStringList:
            return v.texts;
        case Type::kVoid:
            break;
    }
    return nullptr;
}

std::string write(const Json& document) {
    std::string out;
    writeValue(document, &out);
    return out;
}

}  // namespace tevctl::json
