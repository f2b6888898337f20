// Each operation of the service next to the floor it cannot beat, measured in the same run on the
// bundled qab profile: the same opens, reads, writes and closes of the same nodes, and the same
// property reads, done raw through the same device sandbox. Prints a Markdown table with the ratio
// of each operation to its floor (README.md: Benchmarks). Not a test: nothing here fails on time.
//
//   tev_bench [Google Benchmark options]   e.g. --benchmark_repetitions=5 --benchmark_min_time=0.05
#include <android/log.h>
#include <benchmark/benchmark.h>
#include <cutils/properties.h>
#include <fcntl.h>
#include <tevcatalog/Values.h>
#include <tevhost/Log.h>
#include <tevhost/Profile.h>
#include <tevhost/Properties.h>
#include <tevhost/Sandbox.h>
#include <tevhost/SensorCal.h>
#include <tevhost/Services.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <map>
#include <set>
#include <sstream>

#include "OperationCalls.h"
#include "TevVendorService.h"

namespace {

using namespace tevhost;
using namespace tevhost::stress;
using ::android::sp;
using ::vendor::quoril::hardware::tevvendorservice::V1_0::ITevVendorService;
namespace impl = ::vendor::quoril::hardware::tevvendorservice::implementation;

// What an operation's time is held against.
enum class Kind {
    kDescriptor,  // nodes through descriptors: target 1.3 times the floor
    kStream,      // nodes through file streams: target 2 times the floor
    kProperty,    // properties only: no target
    kNone,        // nothing read: no floor
};

struct Row {
    std::string name;
    Kind kind;
    std::function<void()> op;
    std::function<void()> floor;  // empty for kNone
    std::string floorText;
    size_t logLines = 0;  // what one call logs
};

// The properties each operation reads on the qab profile (where the first of a fallback pair is
// set, only it is read).
const std::map<std::string, std::vector<std::string>> kPropertiesRead = {
        {"version.isSingleSim", {"ro.orvu.singlesim"}},
        {"version.getFSN", {"ro.ril.oem.sno"}},
        {"version.getPhoneSerialNo", {"ro.ril.oem.psno"}},
        {"version.getBasebandVersion", {"gsm.version.baseband"}},
        {"version.getCpuId", {"ro.boot.cpuid"}},
        {"version.getHardwareVersion", {"ro.boot.hwlevel"}},
        {"version.getSecureBootStatus", {"ro.boot.secureboot"}},
        {"version.getRpmbStatus", {"vendor.sys.rpmb_state"}},
        {"version.getVerifiedBootState", {"ro.boot.verifiedbootstate"}},
        {"leds.getLedsList", {"ro.product.name"}},
        {"camera.getCameraModuleInfo",
         {"persist.vendor.camera.qo.module.info", "persist.vendor.camera.qo.module.infoext",
          "persist.vendor.camera.qo.module.infoext2", "ro.boot.hwversion"}},
        {"camera.getCameraCalFlag", {"persist.vendor.camera.qo.dualcal.state"}},
        {"fp.getFpType", {"persist.vendor.sys.fp.vendor"}},
        {"fp.getFaculaParas",
         {"persist.vendor.sys.fp.fod.location.X_Y", "persist.vendor.sys.fp.fod.size.width_height"}},
        {"display.getLcmInfo", {"ro.product.name"}},
        {"display.getBacklightValue", {"ro.product.device"}},
        {"display.getTpColor", {"sys.panel.color"}},
        {"root.getVendorProperty", {"ro.product.name"}},
};

// Arguments where the plain ones would not reach the node or property (tevctl's notation).
const std::map<std::string, std::vector<std::string>> kArgs = {
        {"root.getVendorProperty", {"ro.product.name", ""}},
        {"root.setVendorProperty", {"vendor.bench.value", "1"}},
};

std::vector<Driver> gDrivers;

// What the host keeps of every call (log lines, node writes, sleeps, library calls) is dropped
// every so many iterations, in the operation's loop and the floor's alike.
void dropHostRecords() {
    stress::forgetHostRecords();
    sandbox::reset();
    declare(gDrivers);
}

void loop(benchmark::State& state, const std::function<void()>& fn) {
    int n = 0;
    for (auto _ : state) {
        fn();
        if (++n == 1024) {
            n = 0;
            dropHostRecords();
        }
    }
    dropHostRecords();
}

char gBuffer[4096];

void readOnce(int fd) {
    benchmark::DoNotOptimize(read(fd, gBuffer, sizeof(gBuffer)));
}

void readProperties(const std::vector<std::string>& keys) {
    char value[PROPERTY_VALUE_MAX];
    for (const std::string& key : keys)
        benchmark::DoNotOptimize(property_get(key.c_str(), value, ""));
}

// The raw node work of |entry|: what the operation cannot do without, given the bytes it wrote.
std::function<void()> nodeFloor(const NodeOperation& e, const std::vector<sandbox::Write>& writes,
                                std::string* text) {
    if (e.op == "isSupportDualConnect") {
        *text = "access";
        std::string path = e.nodes[0];
        return [path] { benchmark::DoNotOptimize(access(path.c_str(), F_OK)); };
    }
    if (!e.driverWords.empty()) {
        *text = std::to_string(e.driverWords.size()) + " x (open/write/close, open/read/close)";
        std::string path = e.nodes[0];
        std::vector<std::string> words = e.driverWords;
        return [path, words] {
            for (const std::string& word : words) {
                int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0666);
                benchmark::DoNotOptimize(write(fd, word.data(), word.size()));
                close(fd);
                fd = open(path.c_str(), O_RDONLY);
                readOnce(fd);
                close(fd);
            }
        };
    }
    if (e.access == Access::kStream && !e.readsContent) {
        *text = std::to_string(writes.size()) + " x open/write/close";
        return [writes] {
            for (const sandbox::Write& w : writes) {
                int fd = open(w.path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0666);
                benchmark::DoNotOptimize(write(fd, w.data.data(), w.data.size()));
                close(fd);
            }
        };
    }
    if (e.op == "getBacklightValue") {
        // Relative paths, as the service opens them; it stops at the first that opens.
        std::vector<std::string> paths;
        for (const std::string& node : e.nodes) paths.push_back(node.substr(1));
        *text = "open/read/close of the first backlight node that opens";
        return [paths] {
            for (const std::string& path : paths) {
                int fd = open(path.c_str(), O_RDONLY);
                if (fd < 0) continue;
                readOnce(fd);
                close(fd);
                break;
            }
        };
    }
    int flags = (e.readsContent ? O_RDONLY : O_RDWR) | O_NONBLOCK;
    std::vector<std::string> nodes = e.nodes;
    if (nodes.size() > 4) abort();  // the floor keeps its descriptors in a fixed array
    *text = std::to_string(nodes.size()) + " x open" + (e.readsContent ? "/read" : "") + "/close" +
            (writes.empty() ? "" : " + " + std::to_string(writes.size()) + " writes");
    return [nodes, flags, writes, reads = e.readsContent] {
        int fds[4] = {-1, -1, -1, -1};
        for (size_t i = 0; i < nodes.size(); ++i) {
            fds[i] = open(nodes[i].c_str(), flags);
            if (reads && fds[i] >= 0) readOnce(fds[i]);
        }
        for (const sandbox::Write& w : writes) {
            for (size_t i = 0; i < nodes.size(); ++i) {
                if (nodes[i] == w.path) {
                    benchmark::DoNotOptimize(write(fds[i], w.data.data(), w.data.size()));
                    break;
                }
            }
        }
        for (size_t i = 0; i < nodes.size(); ++i) {
            if (fds[i] >= 0) close(fds[i]);
        }
    };
}

std::vector<Row> rows(ITevVendorService& root, const std::string& profile) {
    std::vector<Row> out;
    const std::vector<NodeOperation> table = nodeOperations(kUfsProduct);
    for (const tevcatalog::Area* area : tevcatalog::allAreas()) {
        for (const tevcatalog::Operation& op : area->ops) {
            const std::string name = area->name + "." + op.name;
            // The first table entry whose nodes the profile has; else the plain call.
            const NodeOperation* entry = nullptr;
            for (const NodeOperation& e : table) {
                std::error_code ec;
                if (e.area == area->name && e.op == op.name &&
                    std::filesystem::exists(profile + "/fs" + e.nodes[0], ec)) {
                    entry = &e;
                    break;
                }
            }
            Call call = entry ? tableCall(*entry) : plainCall(*area, op);
            auto args = kArgs.find(name);
            if (args != kArgs.end()) {
                std::string error;
                tevcatalog::parseArgs(*area, op, args->second, &call.args, &error);
            }
            sp<::android::hidl::base::V1_0::IBase> service = areaOf(root, *area);
            Row row{call.name(),
                    Kind::kNone,
                    [service, call] { callInService(*service, call); },
                    {},
                    ""};
            log::clear();
            callInService(*service, call);
            row.logLines = log::lines().size();

            auto props = kPropertiesRead.find(name);
            std::vector<std::string> keys =
                    props == kPropertiesRead.end() ? std::vector<std::string>{} : props->second;
            std::function<void()> nodes;
            if (entry) {
                sandbox::clearWrites();
                callInService(*service, call);
                nodes = nodeFloor(*entry, sandbox::writes(), &row.floorText);
                row.kind = entry->access == Access::kDescriptor ? Kind::kDescriptor : Kind::kStream;
            } else if (!keys.empty()) {
                row.kind = Kind::kProperty;
            }
            if (!keys.empty()) {
                row.floorText += (row.floorText.empty() ? "" : " + ") +
                                 std::to_string(keys.size()) + " property_get";
            }
            if (name == "root.setVendorProperty") {
                row.kind = Kind::kProperty;
                row.floorText = "1 property_set";
                row.floor = [] {
                    benchmark::DoNotOptimize(property_set("vendor.bench.value", "1"));
                };
            } else if (row.kind != Kind::kNone) {
                row.floor = [nodes, keys] {
                    if (nodes) nodes();
                    readProperties(keys);
                };
            }
            out.push_back(row);
            dropHostRecords();
        }
    }
    return out;
}

// Collects the median (or the only) real time of every benchmark, in nanoseconds.
class Collector : public benchmark::BenchmarkReporter {
  public:
    bool ReportContext(const Context&) override { return true; }
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            if (run.error_occurred) continue;
            const std::string name = run.run_name.function_name;
            if (run.run_type == Run::RT_Aggregate && run.aggregate_name != "median") continue;
            if (run.run_type == Run::RT_Iteration && mMedian.count(name)) continue;
            double ns = run.GetAdjustedRealTime();
            switch (run.time_unit) {
                case benchmark::kMicrosecond:
                    ns *= 1e3;
                    break;
                case benchmark::kMillisecond:
                    ns *= 1e6;
                    break;
                case benchmark::kSecond:
                    ns *= 1e9;
                    break;
                default:
                    break;
            }
            if (run.run_type == Run::RT_Aggregate) mMedian.insert(name);
            mTimes[name] = ns;
            fprintf(stderr, ".");
        }
    }
    double time(const std::string& name) const {
        auto it = mTimes.find(name);
        return it == mTimes.end() ? -1 : it->second;
    }

  private:
    std::map<std::string, double> mTimes;
    std::set<std::string> mMedian;
};

std::string us(double ns) {
    char text[32];
    snprintf(text, sizeof(text), "%.2f", ns / 1000);
    return text;
}

// A new root and the first request of each of the twelve areas (destruction not timed). Each
// root goes before the next is made.
void registerCreation() {
    benchmark::RegisterBenchmark("create/root", [](benchmark::State& state) {
        int n = 0;
        for (auto _ : state) {
            auto start = std::chrono::steady_clock::now();
            sp<ITevVendorService> fresh = impl::HIDL_FETCH_ITevVendorService("default");
            fresh->getExtensionVersionCheckService();
            fresh->getExtensionLedsCheckService();
            fresh->getExtensionFlashLifeCheckService();
            fresh->getExtensionCameraCheckService();
            fresh->getExtensionChargerCheckService();
            fresh->getExtensionNfcCheckService();
            fresh->getExtensionUsbCheckService();
            fresh->getExtensionBatteryCheckService();
            fresh->getExtensionSensorCheckService();
            fresh->getExtensionDisplayCheckService();
            fresh->getExtensionFPCheckService();
            fresh->getExtensionAudioCheckService();
            auto end = std::chrono::steady_clock::now();
            state.SetIterationTime(std::chrono::duration<double>(end - start).count());
            fresh.clear();
            if (++n == 256) {
                n = 0;
                dropHostRecords();
            }
        }
    })->UseManualTime();
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    tevhost::profile::Profile device;
    std::string profile = tevhost::profile::resolve(kUfsProduct.name);
    std::string error;
    if (!device.open(profile, false, &error)) {
        fprintf(stderr, "tev_bench: %s\n", error.c_str());
        return 1;
    }
    sandbox::setVirtualClock(true);
    gDrivers = profileDrivers(profile);
    Collector collector;
    // The process holds one sensor area at a time (it owns the process-wide calibration object):
    // new roots are timed before the operations' root exists, each made and dropped alone.
    // The benchmarks run in two parts; a filter that matches nothing in one of them is no error
    // (a bad filter is still named, by the second part).
    std::ostringstream unmatched;
    collector.SetErrorStream(&unmatched);
    registerCreation();
    const bool created = benchmark::RunSpecifiedBenchmarks(&collector) > 0;
    benchmark::ClearRegisteredBenchmarks();
    if (!created) collector.SetErrorStream(&std::cerr);

    sp<ITevVendorService> root = ITevVendorService::getService();
    if (root == nullptr) {
        fprintf(stderr, "tev_bench: no root service\n");
        return 1;
    }
    for (const tevcatalog::Area* area : tevcatalog::allAreas()) areaOf(*root, *area);
    dropHostRecords();

    const std::vector<Row> table = rows(*root, profile);
    for (const Row& row : table) {
        benchmark::RegisterBenchmark(("op/" + row.name).c_str(),
                                     [fn = row.op](benchmark::State& s) { loop(s, fn); });
        if (row.floor) {
            benchmark::RegisterBenchmark(("floor/" + row.name).c_str(),
                                         [fn = row.floor](benchmark::State& s) { loop(s, fn); });
        }
    }
    // What the host adds to every operation that logs or reads a property.
    benchmark::RegisterBenchmark("host/one log line", [](benchmark::State& state) {
        loop(state, [] {
            __android_log_print(ANDROID_LOG_INFO, "BatteryCheckService-hal",
                                "getBatteryTemp successful result = %d", 25);
        });
    });
    benchmark::RegisterBenchmark("host/one property_get", [](benchmark::State& state) {
        loop(state, [] { readProperties({"ro.product.name"}); });
    });

    benchmark::RunSpecifiedBenchmarks(&collector);
    fprintf(stderr, "\n");

    printf("| Operation | Floor: the same work done raw | Log lines | Time (µs) | Floor (µs) | "
           "Ratio "
           "| Target |\n");
    printf("|---|---|---:|---:|---:|---:|---|\n");
    for (const Row& row : table) {
        double t = collector.time("op/" + row.name);
        if (t < 0) continue;  // left out by --benchmark_filter
        double f = row.floor ? collector.time("floor/" + row.name) : -1;
        std::string ratio = "", target = "";
        if (f > 0) {
            char text[16];
            snprintf(text, sizeof(text), "%.2f", t / f);
            ratio = text;
        }
        double limit = row.kind == Kind::kDescriptor ? 1.3 : row.kind == Kind::kStream ? 2.0 : 0;
        if (limit > 0 && f > 0) {
            target = (t / f <= limit ? "≤ " : "**missed** ≤ ") +
                     std::string(limit == 2.0 ? "2" : "1.3");
        }
        printf("| `%s` | %s | %zu | %s | %s | %s | %s |\n", row.name.c_str(),
               row.floor ? row.floorText.c_str() : "—", row.logLines, us(t).c_str(),
               f > 0 ? us(f).c_str() : "—", ratio.c_str(), target.c_str());
    }
    // Times that are not measures of an operation against its floor.
    const struct {
        const char* benchmark;
        const char* what;
        double target;  // nanoseconds; 0: none
    } extras[] = {
            {"create/root", "A new root and the first request of all twelve areas", 100000},
            {"host/one log line", "Host log sink: one log line", 0},
            {"host/one property_get", "Host property store: one property_get", 0},
    };
    printf("\n| Other | Time (µs) | Target |\n|---|---:|---|\n");
    for (const auto& extra : extras) {
        double t = collector.time(extra.benchmark);
        if (t < 0) continue;
        std::string target;
        if (extra.target > 0) {
            target = (t < extra.target ? "< " : "**missed** < ") + us(extra.target);
        }
        printf("| %s | %s | %s |\n", extra.what, us(t).c_str(), target.c_str());
    }

    root.clear();
    device.close();
    clearServices();
    return 0;
}
