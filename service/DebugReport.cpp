#define LOG_TAG "TevVendorService-debug"

#include "DebugReport.h"

#include "Answer.h"
#include "Operations.h"
#include "TextEscape.h"

#include <errno.h>
#include <log/log.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <vector>

namespace vendor::quoril::hardware::tevvendorservice::implementation {

using ::android::sp;
using ::android::hardware::hidl_handle;
using ::android::hardware::hidl_string;
using ::android::hardware::hidl_vec;
using ::android::hardware::Return;
using ::android::hidl::base::V1_0::IBase;
using ::vendor::quoril::hardware::tevvendorservice::V1_0::ITevVendorService;

namespace {

constexpr char kJsonOption[] = "--json";
constexpr char kAreaHeading[] = "AREA";
constexpr char kOperationHeading[] = "OPERATION";
constexpr char kAnswerHeading[] = "ANSWER";
constexpr char kColumnGap[] = "  ";
constexpr char kNoOperation[] = "-";
constexpr char kNotAvailable[] = "(not available)";
constexpr char kNoReadingOperations[] = "(no reading operations)";

// |s| in double quotes, escaped as the table or as JSON has it.
std::string quote(const std::string& s, bool json) {
    return "\"" + escapeText(s, true, json) + "\"";
}

}  // namespace

struct DebugReport::Area {
    struct Operation {
        const char* name;
        bool answersThroughCallback;
        std::function<void(IBase& area, Answer* answer)> call;
    };

    const char* name;
    const char* interface;
    std::function<sp<IBase>(ITevVendorService& root)> get;
    std::vector<Operation> operations;
};

namespace {

// The reported areas, taken from the list: the areas the root hands out, with their operations
// that only read and take no arguments.
class ReportedAreas {
  public:
    using Area = DebugReport::Area;

    template <typename I>
    void area(const char* name, const char* interface, Return<sp<I>> (ITevVendorService::*get)()) {
        mRootOperations = get == nullptr;
        if (mRootOperations) return;  // the root's own operations: not an area it hands out
        mAreas.push_back({name,
                          interface,
                          [get](ITevVendorService& root) -> sp<IBase> {
                              sp<I> area = (root.*get)();
                              return area;
                          },
                          {}});
    }

    template <typename I, typename R, typename... P>
    void operation(const char* name, Return<R> (I::*fn)(P...), Effect effect,
                   std::initializer_list<const char*> = {},
                   std::initializer_list<const char*> = {}) {
        if (mRootOperations || effect != Effect::kReads || calling::kArguments < P... >> 0) return;
        mAreas.back().operations.push_back(
                {name, calling::kCallsBack<P...>, [fn](IBase& area, Answer* answer) {
                     calling::call(static_cast<I&>(area), fn, {}, answer);
                 }});
    }

    const std::vector<Area>& areas() const { return mAreas; }

  private:
    std::vector<Area> mAreas;
    bool mRootOperations = false;
};

const std::vector<DebugReport::Area>& reportedAreas() {
    static const std::vector<DebugReport::Area> kAreas = [] {
        ReportedAreas list;
        listOperations(list);
        return list.areas();
    }();
    return kAreas;
}

}  // namespace

DebugReport::DebugReport(bool json)
    : mJson(json), mAreaWidth(strlen(kAreaHeading)), mOperationWidth(strlen(kOperationHeading)) {
    for (const Area& area : reportedAreas()) {
        mAreaWidth = std::max(mAreaWidth, strlen(area.name));
        for (const Area::Operation& operation : area.operations) {
            mOperationWidth = std::max(mOperationWidth, strlen(operation.name));
        }
    }
}

void DebugReport::ignoredOption(const std::string& option) {
    emit("ignoring unknown option " + quote(option, false) + "\n");
}

void DebugReport::run(ITevVendorService& root) {
    emit(mJson ? "{" + jsonHead() + "\"areas\":["
               : row(kAreaHeading, kOperationHeading, kAnswerHeading));
    bool first = true;
    for (const Area& area : reportedAreas()) {
        if (!mWritable) return;
        reportArea(root, area, first);
        first = false;
    }
    if (mJson) emit("]}\n");
}

void DebugReport::calling(const char*, const char*, const std::function<void()>& work) {
    work();
}

std::string DebugReport::effects() {
    return mJson ? ",\"writes\":[],\"sleeps\":[]" : "";
}

std::string DebugReport::row(const std::string& area, const std::string& operation,
                             const std::string& answer) const {
    auto padded = [](const std::string& text, size_t width) {
        return text + std::string(width - std::min(width, text.size()), ' ');
    };
    return padded(area, mAreaWidth) + kColumnGap + padded(operation, mOperationWidth) + kColumnGap +
           answer + "\n";
}

void DebugReport::reportArea(ITevVendorService& root, const Area& area, bool first) {
    mCallsInArea = 0;
    if (mJson) {
        emit(std::string(first ? "" : ",") + "{\"area\":" + quote(area.name, true) +
             ",\"interface\":" + quote(area.interface, true) + ",\"calls\":[");
    }
    sp<IBase> service;
    calling(area.name, area.operations.empty() ? nullptr : area.operations[0].name,
            [&] { service = area.get(root); });
    for (size_t i = 0; service != nullptr && i < area.operations.size() && mWritable; ++i) {
        const Area::Operation& operation = area.operations[i];
        Answer answer;
        calling(area.name, operation.name, [&] { operation.call(*service, &answer); });
        if (mJson) {
            std::string json = std::string(i > 0 ? "," : "") +
                               "{\"area\":" + quote(area.name, true) +
                               ",\"op\":" + quote(operation.name, true) + ",\"args\":[]";
            if (answer.result) json += ",\"return\":" + jsonOf(*answer.result);
            json += ",\"callbacks\":[";
            for (size_t k = 0; k < answer.callbacks.size(); ++k) {
                json += (k > 0 ? "," : "") + jsonOf(answer.callbacks[k]);
            }
            emit(json + "]" + effects() + "}");
        } else {
            emit(row(area.name, operation.name,
                     oneLine(answerTexts(answer, operation.answersThroughCallback))) +
                 effects());
        }
        ++mCallsInArea;
    }
    if (mJson) {
        emit(std::string("],\"available\":") + (service != nullptr ? "true" : "false") + "}");
    } else if (service == nullptr) {
        emit(row(area.name, kNoOperation, kNotAvailable));
    } else if (area.operations.empty()) {
        emit(row(area.name, kNoOperation, kNoReadingOperations));
    }
}

// Writes |text| whole; after a failed write nothing more is written or asked.
void DebugReport::emit(const std::string& text) {
    if (mWritable) mWritable = write(text);
}

namespace {

// The report as lshal gets it: through the descriptor it hands over.
class DescriptorReport : public DebugReport {
  public:
    DescriptorReport(int fd, bool json) : DebugReport(json), mFd(fd) {}

  private:
    bool write(const std::string& text) override {
        for (size_t done = 0; done < text.size();) {
            const ssize_t written =
                    TEMP_FAILURE_RETRY(::write(mFd, text.data() + done, text.size() - done));
            if (written <= 0) {
                ALOGE("debug: the report cannot be written: %s", strerror(errno));
                return false;
            }
            done += static_cast<size_t>(written);
        }
        return true;
    }

    const int mFd;
};

}  // namespace

void writeDebugReport(ITevVendorService& root, const hidl_handle& handle,
                      const hidl_vec<hidl_string>& options) {
    if (handle == nullptr || handle->numFds < 1) {
        ALOGE("debug: the handle holds no file descriptor");
        return;
    }
    const bool json = std::find(options.begin(), options.end(), kJsonOption) != options.end();
    DescriptorReport report(handle->data[0], json);
    for (const hidl_string& option : options) {
        if (option != kJsonOption) report.ignoredOption(option);
    }
    report.run(root);
}

}  // namespace vendor::quoril::hardware::tevvendorservice::implementation
