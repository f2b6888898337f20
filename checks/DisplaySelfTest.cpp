// The touch-panel self-test of DisplayCheckService: three checks run by the touch driver through
// its diagnostic node, each started by a written word and read back after the driver's time.
#define LOG_TAG "DisplayCheckService"

#include "DisplayCheckService.h"

#include <log/log.h>
#include <unistd.h>

#include <fstream>
#include <string>

namespace vendor::quoril::hardware::tevvendorservice::implementation {

// Every message of this area goes out at ERROR, the successful ones included.
namespace {

// The touch driver's diagnostic node: a written check word starts that check, and the node then
// reads the check's result word.
constexpr const char* kTouchPanelDiagPath = "/proc/tp_selftest";
// The result word of a check that passed.
constexpr const char* kTouchPanelPass = "2";

struct TouchPanelCheck {
    const char* word;      // written to start the check
    unsigned int seconds;  // the driver needs this long before the result can be read
    const char* logName;
};

// In the order the driver expects them.
constexpr TouchPanelCheck kTouchPanelChecks[] = {
        {"short", 6, "TOUCH_PANEL_CHECK_SHORT"},
        {"open", 4, "TOUCH_PANEL_CHECK_OPEN"},
        {"i2c", 2, "TOUCH_PANEL_CHECK_I2C"},
};

}  // namespace

Return<bool> DisplayCheckService::doSelfTestAndGetResult() {
    // One stream and one result word for all three checks. A read that extracts nothing (the
    // node did not reopen, or held only white space) leaves the previous check's word in place.
    std::fstream node;
    std::string result;

    node.open(kTouchPanelDiagPath, std::ios::out | std::ios::trunc);
    if (!node.is_open()) {
        ALOGE("Failed to open TOUCH_PANEL_DIAG_HANDLE.");
        return false;
    }
    bool first = true;
    for (const TouchPanelCheck& check : kTouchPanelChecks) {
        if (!first) {
            // A failure here only leaves the stream failed; the check's read decides.
            node.open(kTouchPanelDiagPath, std::ios::out | std::ios::trunc);
        }
        first = false;
        node << check.word;
        node.close();

        sleep(check.seconds);

        node.open(kTouchPanelDiagPath, std::ios::in);
        node >> result;
        node.close();
        if (result.size() != 1 || result != kTouchPanelPass) {
            ALOGE("The result of %s is %s.", check.logName, result.c_str());
            return false;
        }
    }
    ALOGE("doSelfTestAndGetResult pass.");
    return true;
}

}  // namespace vendor::quoril::hardware::tevvendorservice::implementation
