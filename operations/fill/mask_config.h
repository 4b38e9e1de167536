// The settings that Auto mask and Modify mask share: the name of the mask state and the
// inner operation.
#pragma once

#include <string>

#include "frame/host_masks.h"
#include "frame/schema.h"

namespace zt {

struct SMaskOperationSettings {
    std::u16string selectionSync;
    SNestedOperation operation;
};

inline const CSchema<SMaskOperationSettings>& MaskOperationSchema() {
    using S = SMaskOperationSettings;
    static const CSchema<S> schema = {
        Simple(u"SelectionSync", &S::selectionSync, u"[0409]Selection sync ID[0405]ID synchronizace výběru",
               u"[0409]Identifier of the view state holding the image mask.[0405]Identifikátor stavu pohledu, "
               u"který uchovává masku obrázku.",
               IMAGEMASK_STATE),
        NestedOperation(u"Operation", &S::operation, u"[0409]Operation[0405]Operace",
                        u"[0409]Type of the actual operation.[0405]Typ vlastní operace."),
    };
    return schema;
}

inline SNestedOperation ReadInnerOperation(IConfig* aConfig) {
    return MaskOperationSchema().Read(aConfig, &SMaskOperationSettings::operation);
}

// The mask state named by "SelectionSync"; null when there is none. A wrong type throws.
inline ComPtr<ISharedStateImageMask> ReadMaskState(IConfig* aConfig, IOperationContext* aContext,
                                                   std::u16string* aName = nullptr) {
    const std::u16string name = MaskOperationSchema().Read(aConfig, &SMaskOperationSettings::selectionSync);
    if (aName) *aName = name;
    ComPtr<ISharedStateImageMask> state;
    CZTStr text(name);
    if (aContext) aContext->StateGet(text, ISharedStateImageMask::iid, state.out());
    return state;
}

}  // namespace zt
