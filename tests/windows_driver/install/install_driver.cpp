// install_driver INF: makes the two devices of the test driver and installs the driver for them.
#include <cstdio>
#include <exception>

#include "../test_control.h"
#include "../test_devices.h"

int main(int count, char **arguments)
{
    if (count != 2) {
        std::fprintf(stderr, "usage: install_driver INF\n");
        return 2;
    }
    try {
        for (int number = 0; number < kTestDevices; ++number)
            zerix::test::MakeDevice(number);
        zerix::test::InstallDriver(arguments[1]);
    } catch (const std::exception &failure) {
        std::fprintf(stderr, "install_driver: %s\n", failure.what());
        return 1;
    }
    return 0;
}
