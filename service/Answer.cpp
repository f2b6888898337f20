#include "Answer.h"

#include "TextEscape.h"

#include <cstdio>
#include <cstdlib>

namespace vendor::quoril::hardware::tevvendorservice::implementation {

using ::android::hardware::hidl_string;
using ::android::hardware::hidl_vec;

namespace {

constexpr char kNoCallback[] = "(no callback)";
constexpr char kAnswerGap[] = "  ";

std::string quoted(const std::string& s, bool json) {
    return "\"" + escapeText(s, true, json) + "\"";
}

// |items| each written by |write|, in brackets, after |separator|.
template <typename T, typename Write>
std::string listOf(const std::vector<T>& items, const char* separator, Write write) {
    std::string list = "[";
    for (size_t i = 0; i < items.size(); ++i) list += (i > 0 ? separator : "") + write(items[i]);
    return list + "]";
}

std::string written(const Value& v, bool json) {
    switch (v.type) {
        case Type::kBool:
            return v.number ? "true" : "false";
        case Type::kInt32:
            return std::to_string(v.number);
        case Type::kEnum:
            for (const auto& member : v.info->members) {
                if (!json && member.second == v.number) return member.first;
            }
            return std::to_string(v.number);
        case Type::kDouble:
            return decimal(v.real);
        case Type::kString:
            return quoted(v.text, json);
        case Type::kIntList:
            return listOf(v.ints, json ? "," : ", ", [](int32_t i) { return std::to_string(i); });
        case Type::kStringList:
            return listOf(v.texts, json ? "," : ", ",
                          [json](const std::string& s) { return quoted(s, json); });
        case Type::kVoid:
            break;
    }
    return "";
}

}  // namespace

Value valueOf(bool b) {
    Value v{Type::kBool};
    v.number = b ? 1 : 0;
    return v;
}

Value valueOf(int32_t i) {
    Value v{Type::kInt32};
    v.number = i;
    return v;
}

Value valueOf(double d) {
    Value v{Type::kDouble};
    v.real = d;
    return v;
}

Value valueOf(const hidl_string& s) {
    Value v{Type::kString};
    v.text.assign(s.c_str(), s.size());
    return v;
}

Value valueOf(const hidl_vec<int32_t>& list) {
    Value v{Type::kIntList};
    v.ints.assign(list.begin(), list.end());
    return v;
}

Value valueOf(const hidl_vec<hidl_string>& list) {
    Value v{Type::kStringList};
    for (const hidl_string& s : list) v.texts.emplace_back(s.c_str(), s.size());
    return v;
}

std::string decimal(double d) {
    char text[32];
    for (int digits = 1; digits <= 17; ++digits) {
        snprintf(text, sizeof(text), "%.*g", digits, d);
        if (strtod(text, nullptr) == d) break;
    }
    return text;
}

std::string textOf(const Value& value) {
    return written(value, false);
}

std::string jsonOf(const Value& value) {
    return written(value, true);
}

std::vector<std::string> answerTexts(const Answer& answer, bool answersThroughCallback) {
    std::vector<std::string> texts;
    if (answer.result) texts.push_back(textOf(*answer.result));
    for (const Value& value : answer.callbacks) texts.push_back(textOf(value));
    if (answersThroughCallback && answer.callbacks.empty()) texts.push_back(kNoCallback);
    return texts;
}

std::string oneLine(const std::vector<std::string>& texts) {
    std::string line;
    for (size_t i = 0; i < texts.size(); ++i) line += (i > 0 ? kAnswerGap : "") + texts[i];
    return line;
}

}  // namespace vendor::quoril::hardware::tevvendorservice::implementation
