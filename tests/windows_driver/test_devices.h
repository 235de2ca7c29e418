// The test driver's devices in the system: made, given their driver, taken away. Each call throws
// std::runtime_error if the system refuses. One thread.
#pragma once

namespace zerix::test {

// Makes device 0 or 1, without a driver.
void MakeDevice(int number);
// Installs the driver that the file describes for every device that is there.
void InstallDriver(const char *infPath);
// Takes a device away, under whoever has it open.
void RemoveDevice(int number);

} // namespace zerix::test
