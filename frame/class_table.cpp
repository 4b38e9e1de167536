// One row per class, in table order; every operation that lands adds its row here.
#include "frame/class_table.h"

#include "operations/colour/shift_hue.h"

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
    return {&T::classId, nullptr, &CComClassFactorySingleton<T>::Get, &CreatePlain<T>, &g_factorySlot<T>,
            nullptr, CategoryMap, nullptr};
}

using namespace category;

constexpr SClassEntry kClasses[] = {
    Singleton<CDocumentOperationRasterImageShiftHue, Categories<operation, colour>>(),
};

}  // namespace

std::span<const SClassEntry> ClassTable() { return kClasses; }

}  // namespace zt
