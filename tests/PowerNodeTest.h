// The charger and battery tests' fixture, now shared by every area test.
#pragma once

#include "AreaTest.h"

namespace tevhost {
using PowerNodeTest = AreaTest;
}  // namespace tevhost
