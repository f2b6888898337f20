// The one class of the closed sensor calibration library, libsensor_cal_for_tevvendorservice. The
// library ships without a header: this declares the methods the sensor area calls, with the types
// the library exports them with. Every method works on the one object the sensor area creates; none
// takes ownership of anything. The library keeps its state to itself: the object has no members
// the caller must make room for.
#pragma once

class SensorCalibration {
  public:
    // Prepares the library; safe to call while the service object is being built.
    SensorCalibration();
    // Releases the library's resources.
    ~SensorCalibration();

    // Whether the device has an orientation sensor to test.
    bool isOrientsensor();
    // Whether the Hall sensor test is shown full screen.
    bool isHallTestFullScreen();
    // Writes the Hall magnet's screen position; either output may be left untouched.
    void getHallPosition(int* x, int* y);
    // 0 when the calibration of the sensor |type| succeeded, anything else on failure.
    int sensor_calibrate(int type, int para);
    // True when the sensor of |type| was switched on / off.
    bool sensor_enable(int type);
    bool sensor_disable(int type);
    // The stored configuration (calibration) value of one axis of one sensor.
    double sensor_getconfig(int type, int axis);
    // The SAR sensor working mode, and how many SAR sensors the device has.
    int getSarSensorMode();
    int getSarSensorNumber();
    // Whether the proximity function is an ultrasound sensor.
    bool isUltrasoundSensor();
};
