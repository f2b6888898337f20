#pragma once

#include <vendor/quoril/hardware/tevvendorservice/1.0/ITevVendorService.h>

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace vendor::quoril::hardware::tevvendorservice::implementation {

// What `lshal debug` prints: the answer of every operation of every area that only reads and takes
// no arguments, as a table or, with the option "--json", as one JSON object. Each row of the table
// and each call of the JSON object goes out in one write, so a reader sees whole calls even when
// the service ends during the next one. Every other option is named in one line and ignored.
// Nothing but the descriptor in |handle| is written to.
void writeDebugReport(::vendor::quoril::hardware::tevvendorservice::V1_0::ITevVendorService& root,
                      const ::android::hardware::hidl_handle& handle,
                      const ::android::hardware::hidl_vec<::android::hardware::hidl_string>& options);

// The report itself, row by row, for whatever takes the rows: the areas in the order the root hands
// them out, each with its operations that only read and take no arguments, in the order of its
// interface (the list of Operations.h).
class DebugReport {
  public:
    struct Area;  // a reported area and its operations

    explicit DebugReport(bool json);
    virtual ~DebugReport() = default;

    // The line that names an option the report does not know.
    void ignoredOption(const std::string& option);
    // Asks |root| for each area and calls its operations in turn, writing each row as it comes.
    // After a write that fails nothing more is written or called.
    void run(::vendor::quoril::hardware::tevvendorservice::V1_0::ITevVendorService& root);

  protected:
    // Writes |text| whole; false when it cannot be written.
    virtual bool write(const std::string& text) = 0;
    // Runs |work|: the request of |area| (for the row of its first operation, |operation|; null
    // when it has none) or the call of |operation|.
    virtual void calling(const char* area, const char* operation, const std::function<void()>& work);
    // What a call's row carries after its answer: lines after the row in text, and in JSON the
    // members after "callbacks", each after a comma.
    virtual std::string effects();
    // The JSON report's members before "areas", each followed by a comma.
    virtual std::string jsonHead() { return ""; }

    // A table row, with its line end.
    std::string row(const std::string& area, const std::string& operation,
                    const std::string& answer) const;

    const bool mJson;
    // The calls of the current area written so far.
    size_t mCallsInArea = 0;

  private:
    void reportArea(::vendor::quoril::hardware::tevvendorservice::V1_0::ITevVendorService& root,
                    const Area& area, bool first);
    void emit(const std::string& text);

    bool mWritable = true;
    size_t mAreaWidth;
    size_t mOperationWidth;
};

}  // namespace vendor::quoril::hardware::tevvendorservice::implementation
