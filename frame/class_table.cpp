// One row per class, in table order; every operation that lands adds its row here.
#include "frame/class_table.h"

#include "operations/blur/blur.h"
#include "operations/colour/background_blend.h"
#include "operations/colour/color_transformations.h"
#include "operations/colour/colorize.h"
#include "operations/colour/convolution.h"
#include "operations/colour/fade.h"
#include "operations/colour/reduce_colors.h"
#include "operations/colour/shift_hue.h"
#include "operations/fill/auto_mask.h"
#include "operations/fill/modify_mask.h"
#include "operations/geometry/canvas_size.h"
#include "operations/geometry/perspective.h"
#include "operations/geometry/polar_transformation.h"
#include "operations/geometry/remove_border.h"
#include "operations/geometry/resample.h"
#include "operations/geometry/rotate.h"
#include "operations/geometry/transformers.h"
#include "operations/shape/bevel.h"
#include "operations/shape/contour_gradient.h"
#include "operations/shape/drop_shadow.h"
#include "operations/shape/long_shadow.h"
#include "operations/shape/outlines.h"
#include "operations/shape/projected_shadow.h"
#include "operations/shape/satin.h"

namespace zt {

namespace {

template <const GUID&... Ids>
const SCategoryEntry* Categories() {
    static const SCategoryEntry map[] = {{1, &Ids}..., {0, nullptr}};
    return map;
}

template <class T>
std::atomic<CFactoryBase*> g_factorySlot{nullptr};

template <class T>
HRESULT CreatePlain(IUnknown* aOuter, const IID& aIID, void** aOut) {
    if (aOuter) return CLASS_E_NOAGGREGATION;
    return GuardEntry([&] {
        auto* object = new CComObject<T>();
        object->AddRef();
        HRESULT hr = object->QueryInterface(aIID, aOut);
        object->Release();
        return hr;
    });
}

template <class T, const SCategoryEntry* (*CategoryMap)()>
constexpr SClassEntry Singleton() {
    return {&T::classId, nullptr, &CComClassFactorySingleton<T>::Get, &CreatePlain<T>, &g_factorySlot<T>, nullptr,
            CategoryMap, nullptr};
}

using namespace category;

constexpr SClassEntry kClasses[] = {
    Singleton<CDocumentOperationLongShadow, Categories<operation, shadow>>(),
    Singleton<CDocumentOperationRasterImageAutoMask, Categories<operation, mask>>(),
    Singleton<CDocumentOperationRasterImageBackgroundBlend, Categories<operation, background>>(),
    Singleton<CDocumentOperationRasterImageBlur, Categories<operation, filter>>(),
    Singleton<CDocumentOperationRasterImageCanvasSize, Categories<operation>>(),
    Singleton<CDocumentOperationRasterImageColorize, Categories<operation, colour>>(),
    Singleton<CDocumentOperationRasterImageColorTransformations, Categories<operation, colour>>(),
    Singleton<CDocumentOperationRasterImageConvolution, Categories<operation, filter>>(),
    Singleton<CDocumentOperationRasterImageDropShadow, Categories<operation, effect, shadow>>(),
    Singleton<CDocumentOperationRasterImageFade, Categories<operation, fade>>(),
    Singleton<CDocumentOperationRasterImageModifyMask, Categories<operation, mask>>(),
    Singleton<CDocumentOperationRasterImageOutlines, Categories<operation, effect, outline>>(),
    Singleton<CDocumentOperationRasterImagePerspective, Categories<operation, geometry>>(),
    Singleton<CTransformHelperTransform, Categories<>>(),
    Singleton<CDocumentOperationRasterImageReduceColors, Categories<operation, colour>>(),
    Singleton<CDocumentOperationRasterImageRemoveBorder, Categories<operation>>(),
    Singleton<CDocumentOperationRasterImageResample, Categories<operation>>(),
    Singleton<CDocumentOperationRasterImageRotate, Categories<operation, geometry>>(),
    Singleton<CDocumentOperationRasterImageSatin, Categories<operation, effect, surface>>(),
    Singleton<CRasterImagePolarTransformation, Categories<operation, geometry>>(),
    Singleton<CDocumentOperationRasterImageShiftHue, Categories<operation, colour>>(),
    Singleton<CRasterImageBevel, Categories<operation, effect, surface>>(),
    Singleton<CRasterImageContourGradient, Categories<operation, effect, surface>>(),
    Singleton<CRasterImageProjectedShadow, Categories<operation, effect, shadow>>(),
};

}  // namespace

std::span<const SClassEntry> ClassTable() { return kClasses; }

}  // namespace zt
