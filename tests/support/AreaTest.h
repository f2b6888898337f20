// Fixture of the area tests: a node in any state a handset can present, a property set or unset
// from one argument, an area's log lines with their priorities, and what an operation hands its
// callback.
#pragma once

#include <optional>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "HandsetTest.h"
#include "NodeOperations.h"

namespace tevhost {

using ::android::sp;
using stress::openDescriptors;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;
using Lines = std::vector<std::string>;
constexpr const char* kUtilsTag = "vendor.quoril.hardware.tevvendorservice@1.0-TevVendorUtils";

// What |op| hands its callback, or nullopt when it returns without calling it.
template <typename T, typename S, typename Obj, typename... P, typename... A>
std::optional<T> answer(const S& obj, ::android::hardware::Return<void> (Obj::*op)(P...),
                        A&&... args) {
    std::optional<T> out;
    int calls = 0;
    auto ret = ((*obj).*op)(std::forward<A>(args)..., [&](const auto& v) {
        if constexpr (std::is_same_v<T, std::string>) {
            out = std::string(v);
        } else {
            out = T(v.begin(), v.end());
        }
        ++calls;
    });
    EXPECT_TRUE(ret.isOk());
    EXPECT_LE(calls, 1);
    return out;
}

class AreaTest : public HandsetTest {
  protected:
    using HandsetTest::prop;
    // nullptr unsets the property.
    void prop(const std::string& key, const char* value) {
        value ? HandsetTest::prop(key, value) : unsetProp(key);
    }

    // Puts the node at |path| into |state|: content, or one of the states above.
    void setNode(const std::string& path, const std::string& state) { mNodes.set(path, state); }

    // |tag|'s log lines as "I text", "E text", ...
    static std::vector<std::string> logOf(const std::string& tag) {
        std::vector<std::string> lines;
        for (const auto& line : log::lines()) {
            if (line.tag == tag) {
                lines.push_back(log::priorityLetter(line.priority) + (" " + line.text));
            }
        }
        return lines;
    }

  private:
    stress::NodeTree mNodes;
};

}  // namespace tevhost
