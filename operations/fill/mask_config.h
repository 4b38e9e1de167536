// The configuration that Auto mask and Modify mask share: the name of the mask state and the
// inner operation.
#pragma once

#include "frame/config.h"
#include "frame/host_masks.h"

namespace zt {

inline const SConfigSchema& MaskOperationSchema() {
    static const SConfigSchema schema = {
        Simple(u"SelectionSync", u"[0409]Selection sync ID[0405]ID synchronizace výběru",
               u"[0409]Identifier of the view state holding the image mask.[0405]Identifikátor stavu pohledu, "
               u"který uchovává masku obrázku.",
               String(IMAGEMASK_STATE)),
        NestedOperation(u"Operation", u"[0409]Operation[0405]Operace",
                        u"[0409]Type of the actual operation.[0405]Typ vlastní operace."),
    };
    return schema;
}

// The inner operation: its class id as stored, and its configuration.
struct SInnerOperation {
    CConfigValue id;
    ComPtr<IConfig> config;
};
inline void ReadInnerOperation(IConfig* aConfig, SInnerOperation& aInner) {
    ReadItem(aConfig, u"Operation", aInner.id);
    CZTStr key(u"Operation");
    aConfig->SubConfigGet(key, aInner.config.out());
}

// The mask state named by "SelectionSync"; null when there is none. A wrong type throws.
inline ComPtr<ISharedStateImageMask> ReadMaskState(IConfig* aConfig, IOperationContext* aContext,
                                                   std::u16string* aName = nullptr) {
    CConfigValue name;
    ReadItem(aConfig, u"SelectionSync", name);
    CZTStr text(name.AsString());
    if (aName) *aName = name.AsString();
    ComPtr<ISharedStateImageMask> state;
    if (aContext) aContext->StateGet(text, ISharedStateImageMask::iid, state.out());
    return state;
}

}  // namespace zt
