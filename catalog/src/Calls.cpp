#include "CatalogCalls.h"

#include <stdexcept>

#include "Output.h"
#include "Parse.h"

namespace tevhost {
namespace stress {

namespace {

using tevctl::Type;

tevctl::Args parsed(const tevctl::Area& area, const tevctl::Operation& op,
                    const std::vector<std::string>& texts) {
    tevctl::Args args;
    std::string error;
    if (!tevctl::parseArgs(area, op, texts, &args, &error)) {
        throw std::invalid_argument(area.name + "." + op.name + ": " + error);
    }
    return args;
}

}  // namespace

std::string Call::name() const {
    std::string text = area->name + "." + op->name;
    for (const tevctl::Value& v : args.values()) text += " " + tevctl::textValue(v);
    return text;
}

Call plainCall(const tevctl::Area& area, const tevctl::Operation& op) {
    std::vector<std::string> texts;
    for (const tevctl::Param& p : op.params) {
        switch (p.type) {
            case Type::kInt32:
            case Type::kEnum:
                texts.push_back("1");
                break;
            case Type::kBool:
                texts.push_back("true");
                break;
            default:
                texts.push_back("");
                break;
        }
    }
    return {&area, &op, parsed(area, op, texts)};
}

Call tableCall(const NodeOperation& entry) {
    const tevctl::Area* area = tevctl::findArea(entry.area);
    const tevctl::Operation* op = area ? area->find(entry.op) : nullptr;
    if (op == nullptr) throw std::invalid_argument("no operation " + entry.name());
    return {area, op, parsed(*area, *op, entry.args)};
}

std::vector<Call> everyOperation(const Product& product, bool readingOnly) {
    const std::vector<NodeOperation> table = nodeOperations(product);
    std::vector<Call> calls;
    for (const tevctl::Area* area : tevctl::allAreas()) {
        for (const tevctl::Operation& op : area->ops) {
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

tevctl::Outcome callOn(::android::hidl::base::V1_0::IBase& service, const Call& call) {
    tevctl::Outcome out;
    call.op->call(service, call.args, out);
    return out;
}

std::string answerText(const Call& call, const tevctl::Outcome& out) {
    std::string text;
    if (out.result) text = tevctl::textValue(*out.result);
    for (const tevctl::Value& v : out.callbacks) text += " cb " + tevctl::textValue(v);
    if (call.op->callback != Type::kVoid && out.callbacks.empty()) text += " (no callback)";
    if (!out.transportError.empty()) text += " (transport error " + out.transportError + ")";
    return text;
}

std::string answer(::vendor::quoril::hardware::tevvendorservice::V1_0::ITevVendorService& root,
                   const Call& call) {
    ::android::sp<::android::hidl::base::V1_0::IBase> service = call.area->get(root);
    return answerText(call, callOn(*service, call));
}

}  // namespace stress
}  // namespace tevhost
