// The interface library of the sibling sensor test service on the host: what the device's
// vendor.quoril.hardware.tevsensorservice@1.0 and @1.1 libraries supply for ITevSensorService.
#include <tevhost/InterfaceGlue.h>
#include <vendor/quoril/hardware/tevsensorservice/1.1/ITevSensorService.h>

#define BASE "android.hidl.base@1.0::IBase"
#define SENSOR_1_0 "vendor.quoril.hardware.tevsensorservice@1.0::ITevSensorService"
#define SENSOR_1_1 "vendor.quoril.hardware.tevsensorservice@1.1::ITevSensorService"

TEVHOST_INTERFACE(vendor::quoril::hardware::tevsensorservice::V1_0, ITevSensorService, SENSOR_1_0,
                  BASE)
TEVHOST_SELF_CAST(vendor::quoril::hardware::tevsensorservice::V1_0, ITevSensorService)

TEVHOST_INTERFACE(vendor::quoril::hardware::tevsensorservice::V1_1, ITevSensorService, SENSOR_1_1,
                  SENSOR_1_0, BASE)
TEVHOST_SELF_CAST(vendor::quoril::hardware::tevsensorservice::V1_1, ITevSensorService)
TEVHOST_PARENT_CAST(vendor::quoril::hardware::tevsensorservice::V1_1, ITevSensorService,
                    ::vendor::quoril::hardware::tevsensorservice::V1_0::ITevSensorService)
