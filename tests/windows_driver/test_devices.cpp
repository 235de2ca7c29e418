#include "test_devices.h"

#include <stdexcept>
#include <string>

#include <windows.h>

#include <newdev.h>
#include <setupapi.h>

#include "test_control.h"

namespace zerix::test {

namespace {

// The system class.
constexpr GUID kClass = {
    0x4D36E97D, 0xE325, 0x11CE, {0xBF, 0xC1, 0x08, 0x00, 0x2B, 0xE1, 0x03, 0x18}};

void Need(BOOL worked, const char *what)
{
    if (!worked)
        throw std::runtime_error(std::string(what) + " failed with error " +
                                 std::to_string(GetLastError()));
}

std::string InstanceName(int number)
{
    return std::string(TEST_DRIVER_HARDWARE_ID) + "\\000" + std::to_string(number);
}

class DeviceSet {
public:
    DeviceSet() { data.cbSize = sizeof data; }
    ~DeviceSet() { SetupDiDestroyDeviceInfoList(set); }
    DeviceSet(const DeviceSet &) = delete;
    DeviceSet &operator=(const DeviceSet &) = delete;

    HDEVINFO set = SetupDiCreateDeviceInfoList(nullptr, nullptr);
    SP_DEVINFO_DATA data{};
};

} // namespace

void MakeDevice(int number)
{
    // Two zeros at the end: a list of one text.
    static constexpr char kHardwareIds[] = TEST_DRIVER_HARDWARE_ID "\0";
    DeviceSet device;
    Need(SetupDiCreateDeviceInfoA(device.set, InstanceName(number).c_str(), &kClass, nullptr,
                                  nullptr, 0, &device.data),
         "making the device");
    Need(SetupDiSetDeviceRegistryPropertyA(device.set, &device.data, SPDRP_HARDWAREID,
                                           reinterpret_cast<const BYTE *>(kHardwareIds),
                                           sizeof kHardwareIds),
         "naming the device");
    Need(SetupDiCallClassInstaller(DIF_REGISTERDEVICE, device.set, &device.data),
         "registering the device");
}

void InstallDriver(const char *infPath)
{
    char path[MAX_PATH];
    Need(GetFullPathNameA(infPath, sizeof path, path, nullptr) != 0, "finding the driver");
    BOOL needsRestart = FALSE;
    Need(UpdateDriverForPlugAndPlayDevicesA(nullptr, TEST_DRIVER_HARDWARE_ID, path, 0,
                                            &needsRestart),
         "installing the driver");
}

void RemoveDevice(int number)
{
    DeviceSet device;
    Need(SetupDiOpenDeviceInfoA(device.set, InstanceName(number).c_str(), nullptr, 0, &device.data),
         "finding the device");
    Need(SetupDiCallClassInstaller(DIF_REMOVE, device.set, &device.data), "removing the device");
}

} // namespace zerix::test
