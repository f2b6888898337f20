#include "OperationCalls.h"

#include <tevcatalog/Catalog.h>
#include <tevhost/Sandbox.h>

#include <stdexcept>

namespace tevhost {
namespace stress {

::android::sp<::android::hidl::base::V1_0::IBase> areaOf(
        ::vendor::quoril::hardware::tevvendorservice::V1_0::ITevVendorService& root,
        const ::tevcatalog::Area& area) {
    sandbox::ServiceScope scope;
    return area.get(root);
}

::tevcatalog::Answer callInService(::android::hidl::base::V1_0::IBase& service, const Call& call) {
    sandbox::ServiceScope scope;
    return ::tevcatalog::callOn(service, call);
}

std::string answerInService(
        ::vendor::quoril::hardware::tevvendorservice::V1_0::ITevVendorService& root,
        const Call& call) {
    sandbox::ServiceScope scope;
    return ::tevcatalog::answer(root, call);
}

Call tableCall(const NodeOperation& entry) {
    const tevcatalog::Area* area = tevcatalog::findArea(entry.area);
    const tevcatalog::Operation* op = area ? area->find(entry.op) : nullptr;
    if (op == nullptr) throw std::invalid_argument("no operation " + entry.name());
    return tevcatalog::parsedCall(*area, *op, entry.args);
}

std::vector<Call> everyOperation(bool readingOnly) {
    const std::vector<NodeOperation> table = nodeCalls();
    std::vector<Call> calls;
    for (const tevcatalog::Area* area : tevcatalog::allAreas()) {
        for (const tevcatalog::Operation& op : area->ops) {
            if (readingOnly && !op.reads) continue;
            Call call = plainCall(*area, op);
            for (const NodeOperation& entry : table) {
                if (entry.area == area->name && entry.op == op.name) {
                    call = tableCall(entry);
                    break;
                }
            }
            calls.push_back(call);
        }
    }
    return calls;
}

}  // namespace stress
}  // namespace tevhost
