// What the fuzz harnesses share: the layout of their inputs (read by the harness, written by the
// seed writer), a device root of the process's own, the bundled profiles the seeds come from, and
// the checks every call must pass.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include <tevhost/Profile.h>
#include <vendor/quoril/hardware/tevvendorservice/1.0/ITevVendorService.h>

#include "OperationCalls.h"

namespace tevfuzz {

// The fuzzer's bytes read as fields; an exhausted input reads as zeros and empty texts.
class Input {
  public:
    Input(const uint8_t* data, size_t size) : mData(data), mLeft(size) {}
    uint8_t byte();
    int32_t i32();
    // A text: a 16-bit little-endian length, then that many bytes (or what is left).
    std::string text();

  private:
    const uint8_t* mData;
    size_t mLeft;
};

// An input written field by field, in the layout Input reads.
class Seed {
  public:
    Seed& byte(uint8_t value);
    Seed& i32(int32_t value);
    Seed& text(const std::string& value);
    // Writes the input to |dir|/|name|.
    void save(const std::string& dir, const std::string& name) const;

  private:
    std::string mBytes;
};

// Arguments for |op| read from |in|: integers and enums as raw 32-bit values, booleans as a byte,
// texts, and lists as a count byte (0 to 3) and that many texts.
tevcatalog::Args readArgs(const tevcatalog::Operation& op, Input& in);
// The seed fields that readArgs reads back as |args|.
void writeArgs(const tevcatalog::Args& args, Seed& seed);

// Opens the bundled profile |name| as the device, on a scratch copy.
std::string openProfile(tevhost::profile::Profile& device, const std::string& name);

// A scratch folder of this process (removed when it exits) to serve as the device root.
std::string scratchFolder(const char* name);

// What every harness does first. It leaves the ending signals to libFuzzer, which times each
// input with SIGALRM (a scratch copy is then removed at exit, or by the next process's sweep).
// And it handles "--write-seeds DIR" as the first argument: calls |write| with DIR and exits; the
// harness runs its seed writer this way before it fuzzes (fuzz/run.sh).
void start(int* argc, char*** argv, const std::function<void(const std::string&)>& write);

// The bundled profiles (devices/*), their properties, and the bytes of one of their nodes.
std::vector<std::string> bundledProfiles();
std::map<std::string, std::string> profileProperties(const std::string& profileDir);
std::optional<std::string> profileNode(const std::string& profileDir, const std::string& devicePath);

// Sets the property store to exactly |properties|.
void setProperties(const std::map<std::string, std::string>& properties);

// Ends the process with |what| on stderr when |ok| is false: the fuzzer reports it as a crash.
void check(bool ok, const std::string& what);

// Checks that hold for every call of every operation: the transport status is OK, the callback is
// called at most once, never by extFun.
void checkOutcome(const tevhost::stress::Call& call, const tevcatalog::Answer& outcome);

// Makes |call| with the sleeps of the service (the touch-panel self-test waits 12 s) on the
// virtual clock, and every other call with the real one: the clock is process-wide, and
// libFuzzer's own threads sleep too (on the virtual clock they would spin).
tevcatalog::Answer callWithClock(::android::hidl::base::V1_0::IBase& service,
                                 const tevhost::stress::Call& call);

using ::tevhost::stress::forgetHostRecords;

// The root service with every area already created (the areas that read the product name in their
// constructor take it from the properties set now); ends the process when there is no root.
::android::sp<::vendor::quoril::hardware::tevvendorservice::V1_0::ITevVendorService>
rootWithEveryArea();

}  // namespace tevfuzz
