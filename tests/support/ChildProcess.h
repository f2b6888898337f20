// Child processes of the test programs. The programs of a cross build run under its emulator
// (qemu-user), which does not follow an exec of another program of the build: every child that
// runs a program of the build is started here, with the emulator's words in front.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace tevhost {

// The emulator the build's programs run under, as command words; none on a native build.
// TEV_EMULATOR is set by tests/CMakeLists.txt from CMAKE_CROSSCOMPILING_EMULATOR.
inline std::vector<std::string> emulator() {
    return {TEV_EMULATOR};
}

// The command words that run |program|, a program of this build, in a child process.
inline std::vector<std::string> childCommand(const std::string& program) {
    std::vector<std::string> words = emulator();
    words.push_back(program);
    return words;
}

// EXPECT_EXIT and EXPECT_DEATH of the running test start this program anew (fork and exec)
// instead of forking the running process, so that the child begins with nothing decided.
inline void deathTestsInNewProcess() {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    if (emulator().empty()) return;
    std::vector<std::string> argv = emulator();
    for (const std::string& arg : ::testing::internal::GetArgvs()) argv.push_back(arg);
    ::testing::internal::SetInjectableArgvs(argv);
}

}  // namespace tevhost
