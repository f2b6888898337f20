// The string helpers: splitStr, startswith, checkProductInList, decimalValue and the camera
// area's replaceCamera, each checked against what it must give.
//
// Input: [helper][its texts; a list is a count byte (0 to 7) and that many texts]
//
// replaceCamera searches again from the start after every replacement, so a replacement that
// contains what it replaces never ends (the service passes only ";", and texts without ';'). It
// is fuzzed within that contract: a non-empty |from| that shares no byte with |to|. Every
// replacement then removes an occurrence and makes none, so the loop ends.
#include <tevhost/Properties.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>

#include "CameraCheckService.h"
#include "FuzzSupport.h"
#include "NodeIo.h"
#include "TevVendorUtils.h"

namespace {

using ::android::sp;
namespace impl = ::vendor::quoril::hardware::tevvendorservice::implementation;
using tevfuzz::check;

enum Helper { kSplit, kStartsWith, kProductInList, kDecimal, kReplace, kHelpers };

sp<impl::CameraCheckService>* gCamera = nullptr;

std::vector<std::string> readList(tevfuzz::Input& in) {
    std::vector<std::string> list;
    for (int n = in.byte() % 8; n > 0; --n) list.push_back(in.text());
    return list;
}

void fuzzSplit(const std::string& str, const std::string& separators) {
    std::vector<std::string> pieces = impl::TevVendorUtils::getInstance().splitStr(str, separators);
    // Every separator byte ends a piece; a trailing one adds no empty piece.
    size_t cuts = 0;
    std::string kept;
    for (char c : str) {
        if (separators.find(c) != std::string::npos) {
            ++cuts;
        } else {
            kept += c;
        }
    }
    size_t expected = str.empty()                                        ? 0
                      : separators.find(str.back()) != std::string::npos ? cuts
                                                                         : cuts + 1;
    check(pieces.size() == expected, "splitStr: wrong number of pieces");
    std::string joined;
    for (const std::string& piece : pieces) {
        check(piece.find_first_of(separators) == std::string::npos || separators.empty(),
              "splitStr: a piece holds a separator");
        joined += piece;
    }
    check(joined == kept, "splitStr: pieces do not add up to the text");
}

void fuzzReplace(const std::string& text, const std::string& from, const std::string& to) {
    if (from.empty() || from.find_first_of(to) != std::string::npos) return;
    std::string replaced = (*gCamera)->replaceCamera(text, from, to);
    check(replaced.find(from) == std::string::npos, "replaceCamera: an occurrence is left");
    if (to.empty()) return;  // removing may join two halves into a new occurrence, removed too
    // A replacement shares no byte with |from|, so no new occurrence can arise: one pass from
    // left to right gives the same text.
    std::string expected = text;
    for (size_t pos = expected.find(from); pos != std::string::npos;
         pos = expected.find(from, pos + to.size())) {
        expected.replace(pos, from.size(), to);
    }
    check(replaced == expected, "replaceCamera: wrong text");
}

void writeSeeds(const std::string& dir) {
    int n = 0;
    auto save = [&](const tevfuzz::Seed& seed) { seed.save(dir, "helper-" + std::to_string(n++)); };
    std::vector<std::string> products;
    for (const std::string& profile : tevfuzz::bundledProfiles()) {
        products.push_back(std::filesystem::path(profile).filename().string());
    }
    for (const std::string& profile : tevfuzz::bundledProfiles()) {
        for (const auto& [key, value] : tevfuzz::profileProperties(profile)) {
            save(tevfuzz::Seed().byte(kSplit).text(value).text(",;"));
            save(tevfuzz::Seed().byte(kStartsWith).text(value).text(key.substr(0, 3)));
            save(tevfuzz::Seed().byte(kReplace).text(value).text(";").text("\n"));
        }
        tevfuzz::Seed inList;
        inList.byte(kProductInList).text(std::filesystem::path(profile).filename().string());
        inList.byte(static_cast<uint8_t>(products.size()));
        for (const std::string& p : products) inList.text(p);
        save(inList);
        std::error_code ec;
        for (const auto& entry :
             std::filesystem::recursive_directory_iterator(profile + "/fs", ec)) {
            if (!entry.is_regular_file()) continue;
            std::string path = "/" + entry.path().lexically_relative(profile + "/fs").string();
            save(tevfuzz::Seed().byte(kDecimal).text(tevfuzz::profileNode(profile, path).value()));
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    tevfuzz::start(argc, argv, writeSeeds);
    tevhost::props::clear();
    gCamera = new sp<impl::CameraCheckService>(new impl::CameraCheckService());
    tevfuzz::forgetHostRecords();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    tevfuzz::Input in(data, size);
    impl::TevVendorUtils& utils = impl::TevVendorUtils::getInstance();
    switch (in.byte() % kHelpers) {
        case kSplit: {
            std::string str = in.text();
            fuzzSplit(str, in.text());
            break;
        }
        case kStartsWith: {
            std::string str = in.text();
            std::string prefix = in.text();
            check(utils.startswith(str, prefix) == (str.size() >= prefix.size() &&
                                                    str.compare(0, prefix.size(), prefix) == 0),
                  "startswith: wrong answer");
            break;
        }
        case kProductInList: {
            std::string product = in.text();
            std::vector<std::string> list = readList(in);
            bool expected = false;
            for (const std::string& entry : list) {
                expected = expected || product.find(entry) != std::string::npos;
            }
            check(utils.checkProductInList(product, list) == expected,
                  "checkProductInList: wrong answer");
            break;
        }
        case kDecimal: {
            std::string text = in.text();
            check(impl::decimalValue(text) == atoi(text.c_str()), "decimalValue differs from atoi");
            break;
        }
        case kReplace: {
            std::string text = in.text();
            std::string from = in.text();
            fuzzReplace(text, from, in.text());
            break;
        }
    }
    tevfuzz::forgetHostRecords();
    return 0;
}
