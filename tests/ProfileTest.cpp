// Loading a device profile while its folders are swapped for links: what was checked is what is
// copied, so the scratch copy never holds a file from outside the profile.
#define _GNU_SOURCE 1
#include <fcntl.h>
#include <gtest/gtest.h>
#include <stdio.h>
#include <tevhost/Cleanup.h>
#include <tevhost/Profile.h>
#include <tevhost/Sandbox.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <thread>

namespace fs = std::filesystem;

namespace tevhost {
namespace {

TEST(ProfileTest, AFolderSwappedForALinkDuringTheCopyBringsNothingIn) {
    constexpr int kLoads = 300;
    const char* tmp = getenv("TMPDIR");
    std::string temp = std::string(tmp && *tmp ? tmp : "/tmp") + "/tevprofile.XXXXXX";
    ASSERT_NE(mkdtemp(&temp[0]), nullptr);
    const std::string profile = temp + "/profile";
    fs::create_directories(temp + "/decoy");
    std::ofstream(temp + "/decoy/node") << "secret";
    fs::create_directories(profile + "/fs/sys/x");
    std::ofstream(profile + "/fs/sys/x/node") << "mine";
    std::ofstream(profile + "/properties") << "ro.product.name=qab\n";
    fs::create_symlink(temp + "/decoy", temp + "/swap");  // outside fs/: never seen by the check
    // The folder and the link trade places, over and over, while the profile loads.
    std::atomic<bool> done{false};
    std::thread swapper([&] {
        const std::string folder = profile + "/fs/sys/x", link = temp + "/swap";
        while (!done) renameat2(AT_FDCWD, folder.c_str(), AT_FDCWD, link.c_str(), RENAME_EXCHANGE);
    });
    int loaded = 0, leaked = 0;
    for (int i = 0; i < kLoads; ++i) {
        profile::Profile device;
        std::string error;
        if (!device.open(profile, false, &error)) continue;  // it saw the link: refused
        ++loaded;
        std::ifstream in("/sys/x/node");  // inside the scratch copy
        std::string content((std::istreambuf_iterator<char>(in)), {});
        if (content == "secret") ++leaked;
    }
    done = true;
    swapper.join();
    EXPECT_EQ(leaked, 0) << "of " << loaded << " loads";
    cleanup::removeTree(temp);
}

}  // namespace
}  // namespace tevhost
