#include <tevcatalog/Calls.h>
#include <tevcatalog/Values.h>

#include <stdexcept>

namespace tevcatalog {

std::string Call::name() const {
    std::string text = area->name + "." + op->name;
    for (const Value& v : args.values()) text += " " + textOf(v);
    return text;
}

Call parsedCall(const Area& area, const Operation& op, const std::vector<std::string>& texts) {
    Call call{&area, &op, {}};
    std::string error;
    if (!parseArgs(area, op, texts, &call.args, &error)) {
        throw std::invalid_argument(area.name + "." + op.name + ": " + error);
    }
    return call;
}

Call plainCall(const Area& area, const Operation& op) {
    std::vector<std::string> texts;
    for (const Param& p : op.params) {
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
    return parsedCall(area, op, texts);
}

Answer callOn(IBase& service, const Call& call) {
    Answer out;
    call.op->call(service, call.args, out);
    return out;
}

std::string answerText(const Call& call, const Answer& out) {
    std::string text = oneLine(answerTexts(out, call.op->callback != Type::kVoid));
    if (!out.transportError.empty()) text += " (transport error: " + out.transportError + ")";
    return text;
}

std::string answer(ITevVendorService& root, const Call& call) {
    sp<IBase> service = call.area->get(root);
    return answerText(call, callOn(*service, call));
}

}  // namespace tevcatalog
