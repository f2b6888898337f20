// The commands of tevctl that make sense on a live handset (list, call, run with call and client
// steps, report, debug), on the root obtained as any client obtains it. No profile, no staging:
// the same code runs on the handset over hwbinder and on the host against the simulated one.
#pragma once

#include <tevcatalog/Catalog.h>

#include <functional>
#include <string>
#include <vector>

namespace tevctl::live {

using namespace ::tevcatalog;

// Runs |work|, a call into the service (the host build places its sandbox scope around it).
using Scope = std::function<void(const std::function<void()>& work)>;

// The answer of a call as text lines: the return value, then each callback value, or
// "(no callback)" when the operation has a callback that was not called; "(void)" for an
// operation with neither; then the transport error and (|terminated| not empty) why the process
// ended during the call.
std::vector<std::string> answerLines(const Operation& op, const Answer& answer,
                                     const std::string& terminated);

// list: |areas| and every operation with its argument and result types, as a table or as one JSON
// object; |available| says whether the root hands out an object for an area.
void printList(const std::vector<const Area*>& areas,
               const std::function<bool(const Area&)>& available, bool json);

// The whole tool on the handset on |argv|; its exit status. |device| heads the report.
int runTool(int argc, char** argv, const Scope& scope, const std::string& device);

}  // namespace tevctl::live
