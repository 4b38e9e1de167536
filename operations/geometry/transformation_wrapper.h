// Control points of the transform operation on the canvas: four corners of a perspective
// quadrilateral, or corners, edges, rotation handle and centre of a moved, scaled and turned
// rectangle. Wrappers are immutable: each edit gives a new object.
#pragma once

#include "frame/operation.h"

namespace zt {

class CTransformationWrapper : public ICanvasInteractingWrapper {
public:
    CTransformationWrapper(uint32_t aSizeX, uint32_t aSizeY, uint32_t aMode, const float aPoints[8]);
    void* FindInterfaceImpl(const IID& aIID) { return FindInterface<ICanvasInteractingWrapper>(this, aIID); }

    uint32_t GetControlPointCount() override { return 4; }
    HRESULT GetControlPoint(uint32_t aIndex, float* aPos, uint32_t* aClass) override;
    HRESULT SetControlPoint(uint32_t aIndex, const float* aPos, bool aFinished, float aPointSize,
                            ICanvasInteractingWrapper** aNew, uint32_t* aNewIndex) override;
    HRESULT GetControlPointDesc(uint32_t, ILocalizedString**) override { return E_NOTIMPL; }
    HRESULT GetControlLines(IEditToolControlLines* aLines) override;
    HRESULT ToConfig(IConfig* aConfig) override;

private:
    uint32_t sizeX_, sizeY_, mode_;
    float points_[8];
};

class CTransformationWrapperAffine : public ICanvasInteractingWrapper {
public:
    CTransformationWrapperAffine(uint32_t aSizeX, uint32_t aSizeY, const float aScale[2], float aAngle,
                                 const float aTranslation[2]);
    void* FindInterfaceImpl(const IID& aIID) { return FindInterface<ICanvasInteractingWrapper>(this, aIID); }

    uint32_t GetControlPointCount() override { return 10; }
    HRESULT GetControlPoint(uint32_t aIndex, float* aPos, uint32_t* aClass) override;
    HRESULT SetControlPoint(uint32_t aIndex, const float* aPos, bool aFinished, float aPointSize,
                            ICanvasInteractingWrapper** aNew, uint32_t* aNewIndex) override;
    HRESULT GetControlPointDesc(uint32_t, ILocalizedString**) override { return E_NOTIMPL; }
    HRESULT GetControlLines(IEditToolControlLines* aLines) override;
    HRESULT ToConfig(IConfig* aConfig) override;

    // Corner i (0..3, clockwise from the upper left) and the centre.
    void Corner(uint32_t aIndex, float aOut[2]) const;
    void Centre(float aOut[2]) const;

private:
    uint32_t sizeX_, sizeY_;
    float scale_[2];
    float angle_;
    float translation_[2];
};

}  // namespace zt
