#include "HandsetTest.h"

#include "ChildProcess.h"

#include <cutils/native_handle.h>
#include <gtest/gtest-spi.h>
#include <tevhost/Services.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace fs = std::filesystem;

namespace tevhost {

namespace {

// One scratch folder per test run holds every handset, those of death-test children included
// (they inherit the folder through the environment); the process that made it removes it.
std::string scratchFolder() {
    static std::string folder = [] {
        if (const char* inherited = getenv("TEVHOST_SCRATCH")) return std::string(inherited);
        char pattern[] = "/tmp/tevhandset.XXXXXX";
        std::string made = mkdtemp(pattern) ? pattern : "/tmp";
        setenv("TEVHOST_SCRATCH", made.c_str(), 1);
        atexit([] {
            std::error_code ignored;
            fs::remove_all(getenv("TEVHOST_SCRATCH"), ignored);
        });
        return made;
    }();
    return folder;
}

}  // namespace

void HandsetTest::SetUp() {
    std::string pattern = scratchFolder() + "/handset.XXXXXX";
    ASSERT_NE(mkdtemp(&pattern[0]), nullptr);
    mRoot = pattern;
    sandbox::setRoot(mRoot);
    sandbox::reset();
    sandbox::setVirtualClock(true);
    props::clear();
    log::clear();
    clearServices();
}

void HandsetTest::TearDown() {
    sandbox::setRoot("");
    sandbox::reset();
    clearServices();
    std::error_code ignored;
    fs::remove_all(mRoot, ignored);
}

void HandsetTest::node(const std::string& devicePath, const std::string& content) {
    fs::path path = hostPath(devicePath);
    fs::create_directories(path.parent_path());
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << content;
}

std::string HandsetTest::nodeContent(const std::string& devicePath) {
    std::ifstream in(hostPath(devicePath), std::ios::binary);
    if (!in) return "<absent>";
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

std::vector<std::string> HandsetTest::writesTo(const std::string& devicePath) const {
    std::vector<std::string> data;
    for (const auto& w : sandbox::writes()) {
        if (w.path == devicePath) data.push_back(w.data);
    }
    return data;
}

std::vector<std::string> HandsetTest::logged(const std::string& tag, int priority) const {
    std::vector<std::string> texts;
    for (const auto& line : log::lines()) {
        if (line.tag == tag && (priority < 0 || line.priority == priority)) {
            texts.push_back(line.text);
        }
    }
    return texts;
}

void inFreshProcess(const std::function<void()>& scenario) {
    deathTestsInNewProcess();
    EXPECT_EXIT(
            {
                ::testing::TestPartResultArray results;
                {
                    using Intercept = ::testing::ScopedFakeTestPartResultReporter;
                    Intercept intercept(Intercept::INTERCEPT_ONLY_CURRENT_THREAD, &results);
                    scenario();
                }
                int failures = 0;
                for (int i = 0; i < results.size(); ++i) {
                    const ::testing::TestPartResult& r = results.GetTestPartResult(i);
                    if (!r.failed()) continue;
                    ++failures;
                    fprintf(stderr, "%s:%d: %s\n", r.file_name() ? r.file_name() : "?",
                            r.line_number(), r.message());
                }
                std::_Exit(failures == 0 ? 0 : 1);
            },
            ::testing::ExitedWithCode(0), "");
}

::android::sp<::vendor::quoril::hardware::tevvendorservice::V1_0::ITevVendorService>
HandsetTest::root() {
    return ::vendor::quoril::hardware::tevvendorservice::V1_0::ITevVendorService::getService();
}

std::string HandsetTest::debugReport(
        const ::android::sp<::vendor::quoril::hardware::tevvendorservice::V1_0::ITevVendorService>&
                service,
        const ::android::hardware::hidl_vec<::android::hardware::hidl_string>& options) {
    FILE* file = tmpfile();
    native_handle_t* handle = native_handle_create(1, 0);
    handle->data[0] = fileno(file);
    EXPECT_TRUE(service->debug(::android::hardware::hidl_handle(handle), options).isOk());
    native_handle_delete(handle);
    std::string out;
    rewind(file);
    char buffer[4096];
    for (size_t n; (n = fread(buffer, 1, sizeof(buffer), file)) > 0;) out.append(buffer, n);
    fclose(file);
    return out;
}

}  // namespace tevhost
