// Calls for the stress checks, made through the catalogue: every operation once, with the
// arguments that make it open its nodes.
#pragma once

#include <tevcatalog/Calls.h>

#include <vector>

#include "NodeOperations.h"

namespace tevhost {
namespace stress {

using ::tevcatalog::answer;
using ::tevcatalog::answerText;
using ::tevcatalog::Call;
using ::tevcatalog::callOn;
using ::tevcatalog::plainCall;

// The call a node table entry describes.
Call tableCall(const NodeOperation& entry);

// Every operation of the root's pass-throughs and of the twelve areas once: with the arguments of
// the first node table entry for it (so that it opens its nodes), else plain ones. With
// |readingOnly|, only the operations that drive nothing.
std::vector<Call> everyOperation(bool readingOnly);

}  // namespace stress
}  // namespace tevhost
