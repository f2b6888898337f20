// tevctl on the handset: the commands that make sense on a live handset, on the service obtained
// over hwbinder. The report is headed by the handset's device name.
#include <sys/system_properties.h>

#include "Live.h"

int main(int argc, char** argv) {
    char device[PROP_VALUE_MAX] = "";
    __system_property_get("ro.product.device", device);
    return tevctl::live::runTool(
            argc, argv, [](const std::function<void()>& work) { work(); }, device);
}
