// Calls for the stress checks, made through the catalogue: every operation once, with the
// arguments that make it open its nodes. Every call here runs in the service's sandbox scope: the
// paths the service names resolve inside the device root.
#pragma once

#include <tevcatalog/Calls.h>

#include <vector>

#include "NodeOperations.h"

namespace tevhost {
namespace stress {

using ::tevcatalog::Call;
using ::tevcatalog::plainCall;

// The area |root| hands out for |area| (the root itself for the root's operations).
::android::sp<::android::hidl::base::V1_0::IBase> areaOf(
        ::vendor::quoril::hardware::tevvendorservice::V1_0::ITevVendorService& root,
        const ::tevcatalog::Area& area);
// Makes |call| on |service|, an object of its area, and returns what came back.
::tevcatalog::Answer callInService(::android::hidl::base::V1_0::IBase& service, const Call& call);
// Makes |call| on the area |root| hands out and returns what it answered, as text.
std::string answerInService(
        ::vendor::quoril::hardware::tevvendorservice::V1_0::ITevVendorService& root,
        const Call& call);

// The call a node table entry describes.
Call tableCall(const NodeOperation& entry);

// Every operation of the root's pass-throughs and of the twelve areas once: with the arguments of
// the first node table entry for it (so that it opens its nodes), else plain ones. With
// |readingOnly|, only the operations that drive nothing.
std::vector<Call> everyOperation(bool readingOnly);

}  // namespace stress
}  // namespace tevhost
