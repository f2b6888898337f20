// Host stand-in: fast message queues are not used by this HAL; the generated headers include this.
#pragma once

#include <hidl/HidlSupport.h>
