// Calls of any operation of the service through the catalogue, which lists every operation of
// every area with its argument types and whether it only reads.
#pragma once

#include <tevcatalog/Catalog.h>

#include <string>
#include <vector>

namespace tevcatalog {

struct Call {
    const Area* area = nullptr;
    const Operation* op = nullptr;
    Args args;

    std::string name() const;
};

// |op| of |area| with its arguments parsed from |texts| (as tevctl takes them on its command
// line); throws std::invalid_argument when they do not parse.
Call parsedCall(const Area& area, const Operation& op, const std::vector<std::string>& texts);
// |op| of |area| with plain arguments: 1 for numbers and enums, true, empty texts and lists.
Call plainCall(const Area& area, const Operation& op);

// Makes the call on |service| (an object of the call's area) and returns what came back.
Answer callOn(IBase& service, const Call& call);

// What an answer holds, as text: the return value and each value the callback received, or
// "(no callback)", then the transport error if there was one.
std::string answerText(const Call& call, const Answer& answer);

// Makes the call on the area |root| hands out and returns what it answered, as text.
std::string answer(ITevVendorService& root, const Call& call);

}  // namespace tevcatalog
