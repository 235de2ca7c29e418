// The tests, or one of two other programs:
//     linux_kernel_cameras [GTEST OPTION...]
//     linux_kernel_cameras rack RACK PROGRAM [ARGUMENT...]
//     linux_kernel_cameras hold
#include "camera_holder.h"
#include "rack_program.h"

#include <cstring>
#include <gtest/gtest.h>

int main(int count, char **arguments)
{
    if (count == 2 && std::strcmp(arguments[1], linux_kernel::kHoldCommand) == 0)
        return linux_kernel::HoldCamera();
    if (count > 3 && std::strcmp(arguments[1], linux_kernel::kRackCommand) == 0)
        return linux_kernel::RunWithRack(arguments[2], arguments + 3);
    testing::InitGoogleTest(&count, arguments);
    return RUN_ALL_TESTS();
}
