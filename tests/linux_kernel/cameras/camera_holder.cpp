#include "camera_holder.h"

#include "camera_session.h"
#include "tests/virtual_bus/bus_tap.h"

#include <cstdio>
#include <unistd.h>

namespace linux_kernel {

int HoldCamera()
{
    const auto driver = MakeDriver();
    zerix::test::BusTap::Replace(*driver);
    ZerixCameraListItem row = {};
    std::uint32_t count = 1;
    ZerixHandle camera = nullptr;
    if (Zerix_LoadDriver() != 0 || Zerix_ListCameras(&row, &count) != 0 || count != 1 ||
        Zerix_OpenCamera(row.cameraId, &camera) != 0 || Zerix_SetStreaming(camera, 1) != 0)
        return 1;
    std::puts("held");
    std::fflush(stdout);
    char byte = 0;
    const bool isTold = read(STDIN_FILENO, &byte, 1) == 0;
    _exit(isTold ? 0 : 2);
}

} // namespace linux_kernel
