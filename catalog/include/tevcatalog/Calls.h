// Calls of any operation of the service through tevctl's catalogue, which lists every operation
// of every area with its argument types and whether it only reads.
#pragma once

#include <vendor/quoril/hardware/tevvendorservice/1.0/ITevVendorService.h>

#include <string>
#include <vector>

#include "Catalog.h"
#include "NodeOperations.h"

namespace tevhost {
namespace stress {

struct Call {
    const tevctl::Area* area = nullptr;
    const tevctl::Operation* op = nullptr;
    tevctl::Args args;

    std::string name() const;
};

// |op| of |area| with plain arguments: 1 for numbers and enums, true, empty texts and lists.
Call plainCall(const tevctl::Area& area, const tevctl::Operation& op);
// The call a node table entry describes.
Call tableCall(const NodeOperation& entry);

// Every operation of the root's pass-throughs and of the twelve areas once: with the arguments of
// the first node table entry for it (so that it opens its nodes), else plain ones. With
// |readingOnly|, only the operations that drive nothing.
std::vector<Call> everyOperation(const Product& product, bool readingOnly);

// Makes the call on |service| (an object of the call's area) and returns what came back.
tevctl::Outcome callOn(::android::hidl::base::V1_0::IBase& service, const Call& call);

// What an outcome holds, as text: the return value and each value the callback received, or
// "(no callback)".
std::string answerText(const Call& call, const tevctl::Outcome& outcome);

// Makes the call on the area |root| hands out and returns what it answered, as text.
std::string answer(::vendor::quoril::hardware::tevvendorservice::V1_0::ITevVendorService& root,
                   const Call& call);

}  // namespace stress
}  // namespace tevhost
