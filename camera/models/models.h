// All model classes, which are exported by these names. Those with little of their own are declared
// here, the others in their headers; those without a body are all in their rows of the model table.
// A model without a class is a ModelCamera.
#pragma once

#include "camera/models/astrel_d1.h"
#include "camera/models/astrel_e1.h"
#include "camera/models/astrel_intensified.h"
#include "camera/models/benchmate.h"
#include "camera/models/metrol.h"
#include "camera/models/model_camera.h"
#include "camera/models/noctis_b1.h"

namespace ZX {

// A camera whose model number this library doesn't know.
class ZERIX_API Unknown final : public ModelCamera {
public:
    explicit Unknown(HALCamera camera);
    void GetSymmetricalBinningModes(std::vector<uint16_t> &modes) override;
    uint32_t GetAnalogBoardType() override;
};

class ZERIX_API AstrelA1 final : public ModelCamera {
public:
    explicit AstrelA1(HALCamera camera);
    // One with the sensor of an Astrel B1 is to be treated as one.
    uint16_t ReturnMasqueradedModel() override;
};

class ZERIX_API AstrelA2 final : public ModelCamera {
public:
    explicit AstrelA2(HALCamera camera);
};

class ZERIX_API SparrowB final : public ModelCamera {
public:
    explicit SparrowB(HALCamera camera);
};

class ZERIX_API SparrowIR final : public ModelCamera {
public:
    explicit SparrowIR(HALCamera camera);
    bool IsRGBFilterSupported() override;
};

class ZERIX_API AstrelC1 final : public ModelCamera {
public:
    explicit AstrelC1(HALCamera camera);
};

class ZERIX_API AstrelB1 final : public ModelCamera {
public:
    explicit AstrelB1(HALCamera camera);
    // Constant, for the registers of one that was an Astrel A1 still say so.
    uint16_t GetModel() override;
};

class ZERIX_API NoctisA1 final : public ModelCamera {
public:
    explicit NoctisA1(HALCamera camera);
    bool IsRGBFilterSupported() override;
};

class ZERIX_API AstrelC2 final : public ModelCamera {
public:
    explicit AstrelC2(HALCamera camera);
};

class ZERIX_API AstrelB2 final : public ModelCamera {
public:
    explicit AstrelB2(HALCamera camera);
};

class ZERIX_API AstrelF1 final : public ModelCamera {
public:
    explicit AstrelF1(HALCamera camera);
};

class ZERIX_API NoctisA2 final : public ModelCamera {
public:
    explicit NoctisA2(HALCamera camera);
};

class ZERIX_API AstrelE2 final : public ModelCamera {
public:
    explicit AstrelE2(HALCamera camera);
};

class ZERIX_API AstrelC3 final : public ModelCamera {
public:
    explicit AstrelC3(HALCamera camera);
};

class ZERIX_API AstrelB3 final : public ModelCamera {
public:
    explicit AstrelB3(HALCamera camera);
};

class ZERIX_API MeridCobalt final : public ModelCamera {
public:
    explicit MeridCobalt(HALCamera camera);
};

class ZERIX_API MeridTeal final : public ModelCamera {
public:
    explicit MeridTeal(HALCamera camera);
};

class ZERIX_API AstrelG1 final : public ModelCamera {
public:
    explicit AstrelG1(HALCamera camera);
};

class ZERIX_API AstrelOem1 final : public ModelCamera {
public:
    explicit AstrelOem1(HALCamera camera);
};

} // namespace ZX
