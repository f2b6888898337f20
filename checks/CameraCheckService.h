#pragma once

#include <vendor/quoril/hardware/tevvendorservice/1.0/ICameraCheckService.h>

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "Vocabulary.h"

namespace vendor::quoril::hardware::tevvendorservice::implementation {

using ::android::hardware::hidl_string;
using ::android::hardware::hidl_vec;
using ::android::hardware::Return;
using ::vendor::quoril::hardware::tevvendorservice::V1_0::ICameraCheckService;

// Cameras and torches: translates the test application's camera types into the framework's camera
// ids for this product, reports camera capabilities, module information and calibration state,
// and drives the flash LEDs in torch mode (CameraTorch.cpp). The product name is read once, at
// construction.
class CameraCheckService : public ICameraCheckService {
  public:
    CameraCheckService();

    Return<int32_t> getCameraId(int32_t type) override;
    Return<bool> isSupportPopCamera() override;
    Return<bool> needAutopushCamera() override;
    Return<bool> popCamera() override;
    Return<bool> pushCamera() override;
    Return<bool> isDualCameraCanZoomFocus(int32_t type) override;
    Return<bool> isDualCameraJustTakePic(int32_t type) override;
    Return<bool> getPreviewOrCapture(int32_t type) override;
    Return<void> getCameraModuleInfo(getCameraModuleInfo_cb _hidl_cb) override;
    Return<bool> needCameraCalibration() override;
    Return<int32_t> getCameraCalFlag() override;
    Return<void> controlTorch(int32_t type, bool on) override;
    Return<void> updateTorchBrightness(int32_t level) override;
    Return<void> getTorchList(getTorchList_cb _hidl_cb) override;
    Return<void> extFun(const hidl_string& name, const hidl_vec<hidl_string>& args,
                        extFun_cb _hidl_cb) override;

    // Replaces every occurrence of |from| in |text| by |to|, searching again from the beginning
    // after each replacement. |from| must not be empty and |to| must not contain it, or this never
    // ends.
    std::string replaceCamera(std::string text, std::string from, std::string to);

  private:
    // Camera type to camera id, one row per product key, in the table's order.
    std::vector<std::pair<std::string, std::map<int32_t, int32_t>>> cameraIdMap;
    std::string product_name;
    // Products whose blue and yellow torches share the two switch nodes.
    ProductList torchSwitchProducts;
};

}  // namespace vendor::quoril::hardware::tevvendorservice::implementation
