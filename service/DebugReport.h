#pragma once

#include <vendor/quoril/hardware/tevvendorservice/1.0/ITevVendorService.h>

namespace vendor::quoril::hardware::tevvendorservice::implementation {

// What `lshal debug` prints: the answer of every operation of every area that only reads and takes
// no arguments, as a table or, with the option "--json", as one JSON object. Each row of the table
// and each call of the JSON object goes out in one write, so a reader sees whole calls even when
// the service ends during the next one. Every other option is named in one line and ignored.
// Nothing but the descriptor in |handle| is written to.
void writeDebugReport(::vendor::quoril::hardware::tevvendorservice::V1_0::ITevVendorService& root,
                      const ::android::hardware::hidl_handle& handle,
                      const ::android::hardware::hidl_vec<::android::hardware::hidl_string>& options);

}  // namespace vendor::quoril::hardware::tevvendorservice::implementation
