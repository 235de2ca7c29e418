// Drives a camera by its class, from the list of all cameras to one picture, without the calls of
// zerix.h. Try it without a camera:
//     ZERIX_BUS=simulated ./camera_classes
#include <cstdint>
#include <cstdio>
#include <memory>
#include <vector>

#include "camera/z_camera.h"
#include "image/z_ex_image.h"

namespace {

constexpr uint64_t kExposure = 20'000'000; // nanoseconds

struct ImageDeleter {
    void operator()(ZX::ZExImage *image) const { ZX::ZCamera::FreeImage(image); }
};
using OwnedImage = std::unique_ptr<ZX::ZExImage, ImageDeleter>;

void Describe(ZX::ZCamera &camera)
{
    std::printf("%s %s, %u x %u pixels\n", camera.GetModelString(), camera.GetSerialNumberString(),
                static_cast<unsigned>(camera.GetCCDWidth()),
                static_cast<unsigned>(camera.GetCCDHeight()));
}

// The smallest binning above 1 that the camera has.
uint16_t BinningOf(ZX::ZCamera &camera)
{
    std::vector<uint16_t> modes;
    camera.GetSymmetricalBinningModes(modes);
    return modes.size() > 1 ? modes[1] : uint16_t{1};
}

// Setters change the driver's picture of the camera; UpdateSettingsOnCamera makes them effective
// together.
uint16_t ChangeSettings(ZX::ZCamera &camera)
{
    uint16_t status = camera.SetSymmetricalBinning(BinningOf(camera));
    if (status == ZX::kStatusOk)
        status = camera.SetExposure(kExposure);
    if (status == ZX::kStatusOk)
        status = camera.UpdateSettingsOnCamera();
    return status;
}

uint16_t TakePicture(ZX::ZCamera &camera)
{
    ZX::ZExImage *received = nullptr;
    const uint16_t status = camera.GetOneImage(&received);
    const OwnedImage image(received);
    if (status != ZX::kStatusOk)
        return status;
    if (image == nullptr)
        return ZX::kStatusNoImage;
    std::printf("one picture of %u x %u pixels, %u bits, binning %u, exposed for %u ms\n",
                static_cast<unsigned>(image->GetWidth()), static_cast<unsigned>(image->GetHeight()),
                image->GetBitDepth(), image->GetSymmetricalBinningMode(),
                static_cast<unsigned>(image->GetExposure() / 1'000'000));
    return image->GetErrorCode();
}

uint16_t WorkWith(ZX::ZCamera &camera)
{
    uint16_t status = camera.OpenCamera();
    if (status == ZX::kStatusOk)
        status = ChangeSettings(camera);
    if (status == ZX::kStatusOk)
        status = TakePicture(camera);
    camera.CloseCamera();
    return status;
}

} // namespace

int main()
{
    ZX::ZCamera::Initialize();
    ZX::ZCameraList cameras; // owns its cameras until FreeCameraList
    uint16_t status = ZX::ZCamera::GetCameraList(cameras);
    for (ZX::ZCamera *camera : cameras)
        Describe(*camera);
    if (status == ZX::kStatusOk)
        status = cameras.empty() ? uint16_t{ZX::kStatusNoImage} : WorkWith(*cameras.front());
    ZX::ZCamera::FreeCameraList(cameras);
    ZX::ZCamera::Shutdown();
    if (status != ZX::kStatusOk)
        std::fprintf(stderr, "status %u\n", status);
    return status == ZX::kStatusOk ? 0 : 1;
}
