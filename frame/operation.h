// The operation contract: what the host calls on an operation, and the operation manager
// through which an operation runs another one.
#pragma once

#include "frame/host.h"

struct IOperationManager;
struct ICanvasInteractingWrapper;

using ZTHWND = void*;   // parent window handed through to anything that shows a window
using ZTHICON = void*;  // icon handle of the host's icon renderer

struct IDocumentOperation : IUnknown {
    ZT_IID("bc429154-a2b8-4808-a383-82517a57d209");
    virtual HRESULT NameGet(IOperationManager* aManager, ILocalizedString** aName) = 0;
    virtual HRESULT ConfigCreate(IOperationManager* aManager, IConfig** aConfig) = 0;
    virtual HRESULT CanActivate(IOperationManager* aManager, IDocument* aDocument, IConfig* aConfig,
                                IOperationContext* aContext) = 0;
    virtual HRESULT Activate(IOperationManager* aManager, IDocument* aDocument, IConfig* aConfig,
                             IOperationContext* aContext, ZTHWND aParentWindow, uint32_t aLanguage) = 0;
};

struct IRasterImageFilter : IUnknown {
    ZT_IID("ee53f3a2-c383-49fc-a3c8-6f9b952c5b20");
    virtual HRESULT Transform(IConfig* aConfig, const TImageSize* aCanvas, const TMatrix3x3f* aMatrix) = 0;
    virtual HRESULT AdjustDirtyRect(IConfig* aConfig, const TImageSize* aCanvas, TRasterImageRect* aRect) = 0;
    virtual HRESULT NeededToCompute(IConfig* aConfig, const TImageSize* aCanvas, TRasterImageRect* aRect) = 0;
    virtual HRESULT CopyTransformed(IDocument* aSource, IConfig* aConfig, IDocumentBase* aBase,
                                    const char16_t* aID) = 0;
    virtual HRESULT GetTransform(IConfig* aConfig, const TImageSize* aCanvas, TMatrix3x3f* aMatrix) = 0;
};

struct IConfigDescriptor : IUnknown {
    ZT_IID("ac5f0f5c-e5b5-4cde-8101-f65a728d33f8");
    virtual HRESULT Name(IOperationManager* aManager, IConfig* aConfig, ILocalizedString** aName) = 0;
    virtual HRESULT Reserved2() = 0;
    virtual HRESULT PreviewIconID(IOperationManager* aManager, IConfig* aConfig, GUID* aIconID) = 0;
    virtual HRESULT PreviewIcon(IOperationManager* aManager, IConfig* aConfig, uint32_t aSize, ZTHICON* aIcon) = 0;
    virtual HRESULT Reserved5() = 0;
    virtual HRESULT Reserved6() = 0;
    virtual HRESULT Reserved7() = 0;
};

// The module's own addition to its operations: short names of the options of pick-one items,
// so that scripts and the command line may say "gaussian" where the stored value is 3.
struct IOperationSchema : IUnknown {
    ZT_IID("1cdc6da8-0323-4daf-bc58-846939a24c2a");
    // The nickname of option aValue of item aKey; S_FALSE and null when it has none.
    virtual HRESULT OptionNickname(const char16_t* aKey, const TConfigValue* aValue, ZTBSTR* aNickname) = 0;
    // The value of the option of item aKey called aNickname, letter case aside;
    // E_HOST_ITEM_NOT_FOUND when there is none.
    virtual HRESULT OptionByNickname(const char16_t* aKey, const char16_t* aNickname, TConfigValue* aValue) = 0;
};

struct ILayerStyle : IUnknown {
    ZT_IID("b8ed39d6-9ded-45ff-9651-05107b0f74eb");
    virtual uint8_t ExecutionPriority() = 0;
    virtual HRESULT StyleFlagGet() = 0;
};

// Receives the outline of a canvas interaction.
struct IEditToolControlLines : IUnknown {
    ZT_IID("8e4d2a17-6c3b-49f0-b5d8-1a7e0c92f463");
    virtual HRESULT MoveTo(float aX, float aY) = 0;
    virtual HRESULT LineTo(float aX, float aY) = 0;
};

struct ICanvasInteractingWrapper : IUnknown {
    ZT_IID("d2a6f3c8-0e41-4b7a-9c53-7f18e2b6a045");
    virtual uint32_t GetControlPointCount() = 0;
    virtual HRESULT GetControlPoint(uint32_t aIndex, float* aPos, uint32_t* aClass) = 0;
    virtual HRESULT SetControlPoint(uint32_t aIndex, const float* aPos, bool aFinished, float aPointSize,
                                    ICanvasInteractingWrapper** aNew, uint32_t* aNewIndex) = 0;
    virtual HRESULT GetControlPointDesc(uint32_t aIndex, ILocalizedString** aDescription) = 0;
    virtual HRESULT GetControlLines(IEditToolControlLines* aLines) = 0;
    virtual HRESULT ToConfig(IConfig* aConfig) = 0;
};

struct ICanvasInteractingOperation : IUnknown {
    ZT_IID("154a0e9e-348b-4198-bbce-e00b16174c69");
    virtual HRESULT CreateWrapper(IConfig* aConfig, uint32_t aSizeX, uint32_t aSizeY,
                                  ICanvasInteractingWrapper** aWrapper) = 0;
};

struct IOperationManager : IUnknown {
    ZT_IID("f3b71d06-8a2e-4c95-b6d4-2e09a7c1f58b");
    // Adds an item that selects an operation, with that operation's configuration below it.
    virtual HRESULT InsertIntoConfigAs(IOperationManager* aManager, IConfigBuilder* aConfig, const char16_t* aKey,
                                       ILocalizedString* aName, ILocalizedString* aHelp, uint32_t aConditionCount,
                                       const TConfigOptionCondition* aConditions) = 0;
    virtual HRESULT CanActivate(IOperationManager* aManager, IDocument* aDocument, const TConfigValue* aOperationID,
                                IConfig* aConfig, IOperationContext* aContext) = 0;
    virtual HRESULT Activate(IOperationManager* aManager, IDocument* aDocument, const TConfigValue* aOperationID,
                             IConfig* aConfig, IOperationContext* aContext, ZTHWND aParentWindow,
                             uint32_t aLanguage) = 0;
};

// The module's exported entry points.
extern "C" {
HRESULT DllGetClassObject(const CLSID& aClassID, const IID& aIID, void** aOut);
HRESULT DllEnumClasses(void* aContext, ZTEnumClassesFn aCallback);
HRESULT DllCanUnloadNow();
HRESULT DllRegisterServer();
HRESULT DllUnregisterServer();
void ZTSetHostCreateInstance(ZTCreateInstanceFn aFunction);
}
using DllGetClassObjectFn = HRESULT (*)(const CLSID&, const IID&, void**);
using DllEnumClassesFn = HRESULT (*)(void*, ZTEnumClassesFn);
using DllCanUnloadNowFn = HRESULT (*)();
using ZTSetHostCreateInstanceFn = void (*)(ZTCreateInstanceFn);

// Category ids of the host.
namespace category {
constexpr GUID operation = MakeGuid("902734f0-00a5-477c-b336-b9221d46a3dd");
constexpr GUID shadow = MakeGuid("ae587b7f-218f-4b15-a3cc-7fce143552de");
constexpr GUID mask = MakeGuid("38804dc4-74d0-42d0-bd83-e22f94e2e84b");
constexpr GUID background = MakeGuid("fbbca1ad-9a90-4f9a-ac70-5e7b06fe0669");
constexpr GUID filter = MakeGuid("b3f00b7e-4e01-4643-9a7c-52af491a74fe");
constexpr GUID colour = MakeGuid("6ba5efcd-f26e-4428-80da-1e7846c91800");
constexpr GUID effect = MakeGuid("b5cc4ece-aad4-4335-b60a-e6e1253c6d18");
constexpr GUID surface = MakeGuid("f828311c-3938-46f4-9750-f1687310d373");
constexpr GUID geometry = MakeGuid("c2e92538-065a-4514-8f65-da9ae64edc5b");
constexpr GUID fade = MakeGuid("5dce1970-d9b9-4bb0-be19-a300aa92a754");
constexpr GUID outline = MakeGuid("2ce23bbb-fb21-485f-8061-8fc62d11fd2e");
constexpr GUID script_operation = MakeGuid("5fc14b40-b502-4001-8ab1-ee65c459f78e");
constexpr GUID script_object = MakeGuid("15a9709d-ee25-4120-a515-5861a20f401b");
constexpr GUID transformation = MakeGuid("d6313391-6375-4e57-9b8f-bd6e83faf501");
constexpr GUID menu_commands = MakeGuid("b635c3b9-a60d-4b58-a560-609d252b30e9");
constexpr GUID edit_tools = MakeGuid("96ab0dd0-2fe6-44b4-8566-42bfa0ebdfdc");
}  // namespace category
