// The functions of zerix_sim.h that tell which racks and scenes there are. Safe from any thread.
#include <algorithm>
#include <string_view>

#include "sim/model_names.h"
#include "sim/rack_catalogue.h"
#include "sim/scene.h"
#include "sim/sensor.h"
#include "sim/sim_error.h"
#include "zerix/zerix_sim.h"

namespace {

using namespace zerix::sim;

// What doesn't fit is cut off; the rest of the field is zero.
template <size_t kSize>
void CopyText(std::string_view text, char (&target)[kSize])
{
    std::fill_n(target, kSize, '\0');
    std::copy_n(text.begin(), std::min(text.size(), kSize - 1), target);
}

uint32_t NoSuchRow(const char *what, uint32_t index)
{
    return Fail(ZERIX_SIM_NOT_KNOWN, std::string("There is no ") + what + " number " +
                                         std::to_string(index) + "; they count from 0.");
}

} // namespace

uint32_t ZerixSim_RackCount(uint32_t *count)
{
    return Exported([&]() -> uint32_t {
        if (count == nullptr)
            return NullPointer();
        *count = static_cast<uint32_t>(RackCatalogue().size());
        return Succeed();
    });
}

uint32_t ZerixSim_GetRack(uint32_t index, ZerixSimRack *rack)
{
    return Exported([&]() -> uint32_t {
        if (rack == nullptr)
            return NullPointer();
        if (index >= RackCatalogue().size())
            return NoSuchRow("rack", index);
        const KnownRack &known = RackCatalogue()[index];
        CopyText(known.name, rack->name);
        CopyText(known.meaning, rack->meaning);
        rack->speed = known.rack.speed;
        rack->isFastClock = known.rack.fastClock ? 1 : 0;
        rack->isBuiltIn = known.isBuiltIn ? 1 : 0;
        rack->cameraCount = static_cast<uint32_t>(known.rack.cameras.size());
        return Succeed();
    });
}

uint32_t ZerixSim_GetRackCamera(uint32_t rack, uint32_t camera, ZerixSimRackCamera *description)
{
    return Exported([&]() -> uint32_t {
        if (description == nullptr)
            return NullPointer();
        if (rack >= RackCatalogue().size())
            return NoSuchRow("rack", rack);
        const auto &cameras = RackCatalogue()[rack].rack.cameras;
        if (camera >= cameras.size())
            return NoSuchRow("camera", camera);
        const CameraDescription &known = cameras[camera];
        const SensorType &sensor = *FindSensorType(known.ccdModel);
        description->model = known.model;
        description->uniqueId = static_cast<uint32_t>(known.uniqueId);
        description->width = sensor.columns;
        description->height = sensor.rows;
        CopyText(ModelName(known.model), description->modelName);
        CopyText(known.serial, description->serial);
        CopyText(sensor.name, description->sensor);
        CopyText(known.scene, description->scene);
        return Succeed();
    });
}

uint32_t ZerixSim_SceneCount(uint32_t *count)
{
    return Exported([&]() -> uint32_t {
        if (count == nullptr)
            return NullPointer();
        *count = static_cast<uint32_t>(KnownScenes().size());
        return Succeed();
    });
}

uint32_t ZerixSim_GetScene(uint32_t index, ZerixSimScene *scene)
{
    return Exported([&]() -> uint32_t {
        if (scene == nullptr)
            return NullPointer();
        if (index >= KnownScenes().size())
            return NoSuchRow("scene", index);
        CopyText(KnownScenes()[index].usage, scene->usage);
        CopyText(KnownScenes()[index].meaning, scene->meaning);
        return Succeed();
    });
}
