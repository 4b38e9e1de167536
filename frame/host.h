// Declarations of what the module asks of its host: documents and their raster images,
// the operation context, configurations, text, and the host services.
// Slot order inside each interface is the binary contract; do not reorder.
#pragma once

#include "frame/abi.h"

// ---------------------------------------------------------------- plain records

struct TImagePoint {
    int32_t nX, nY;
};
struct TImageSize {
    uint32_t nX, nY;
};
struct TImageStride {
    uint32_t nX, nY;
};
// Dots per unit as fractions; the unit is a tenth of a millimetre (100/254 is 100 dpi).
struct TImageResolution {
    uint32_t nNumeratorX, nDenominatorX, nNumeratorY, nDenominatorY;
};

// 0xAARRGGBB: byte 0 blue, 1 green, 2 red, 3 alpha; sRGB-encoded, straight alpha.
struct TPixelChannel {
    union {
        uint32_t n;
        struct {
            uint8_t bB, bG, bR, bA;
        };
    };
};
static_assert(sizeof(TPixelChannel) == 4);

struct TImageTile {
    uint32_t nChannelID;
    int32_t nX, nY;
    uint32_t nSizeX, nSizeY;
    uint32_t nStrideX, nStrideY;
    uint32_t nPixels;
    const TPixelChannel* pData;
};

// Top left inclusive, bottom right exclusive.
struct TRasterImageRect {
    TImagePoint tTL, tBR;
};
constexpr TRasterImageRect RECT_WHOLE_PLANE = {{INT32_MIN, INT32_MIN}, {INT32_MAX, INT32_MAX}};

// Row-vector form: x' = (x m[0] + y m[3] + m[6]) / w, y' = (x m[1] + y m[4] + m[7]) / w,
// w = x m[2] + y m[5] + m[8].
struct TMatrix3x3f {
    float m[9];
};

constexpr uint32_t CHANNEL_COLOR = 1;  // the image's colour channel, the only one operations use
constexpr uint32_t ACCESS_MODE = 10;   // aMode of every TileGet, Inspect and BufferLock call

// ---------------------------------------------------------------- configuration values

enum EConfigValueType : uint32_t {
    ECVTEmpty = 0,
    ECVTInteger = 1,
    ECVTFloat = 2,
    ECVTBool = 3,
    ECVTString = 4,
    ECVTGUID = 5,
    ECVTFloatColor = 8,
    ECVTVector3 = 9,
};

struct TConfigValue {
    uint32_t eTypeID;
    union {
        int32_t iVal;
        float fVal;
        bool bVal;
        ZTBSTR bstrVal;
        GUID guidVal;
        float vecVal[4];
    };
};

enum EConditionType : uint32_t {
    ECOCEqual = 0,
    ECOCNotEqual = 1,
    ECOCLess = 2,
    ECOCLessEqual = 3,
    ECOCGreater = 4,
    ECOCGreaterEqual = 5,
};

struct TConfigOptionCondition {
    const char16_t* bstrID;  // key of the tested item
    uint32_t eConditionType;
    TConfigValue tValue;
};

// Frees a string payload and leaves the value empty.
inline void ConfigValueClear(TConfigValue& v) {
    if (v.eTypeID == ECVTString) ZTStrFree(v.bstrVal);
    v.eTypeID = ECVTEmpty;
    std::memset(v.vecVal, 0, sizeof(v.vecVal));
    v.guidVal = GUID_NULL;
}
inline TConfigValue ConfigValueEmpty() {
    TConfigValue v;
    v.eTypeID = ECVTEmpty;
    v.guidVal = GUID_NULL;
    return v;
}
// Deep copy; a string is allocated anew. Returns false when that fails.
inline bool ConfigValueCopy(TConfigValue& dst, const TConfigValue& src) {
    ConfigValueClear(dst);
    dst = src;
    if (src.eTypeID == ECVTString) {
        dst.bstrVal = ZTStrAlloc(ZTStrView(src.bstrVal));
        if (!dst.bstrVal) {
            dst.eTypeID = ECVTEmpty;
            return false;
        }
    }
    return true;
}

// ---------------------------------------------------------------- text

struct ILocalizedString : IUnknown {
    ZT_IID("e0da446e-64a4-4a43-b1bb-16239da9bbbf");
    // The text in the language of the current thread.
    virtual HRESULT Get(ZTBSTR* aText) = 0;
    // The text in the language whose id is in the low 16 bits of aLanguage; caller frees it.
    virtual HRESULT GetLocalized(uint32_t aLanguage, ZTBSTR* aText) = 0;
};

struct ITranslator : IUnknown {
    ZT_IID("abe95784-4aa1-4fe5-b477-b5b49ade5661");
    virtual HRESULT Translate(const char16_t* aText, uint32_t aLanguage, ZTBSTR* aTranslated) = 0;
};

// ---------------------------------------------------------------- documents

struct IRasterImageTransformer;
struct IDocumentBase;

struct IBlockOperations : IUnknown {
    ZT_IID("3ebe7e42-0cad-4dc0-b75a-e609884afb9e");
    virtual HRESULT WriteLock() = 0;
    virtual HRESULT WriteUnlock() = 0;
};

struct IDocument : IBlockOperations {
    ZT_IID("2b1ada5f-43bf-44d6-afb8-032e753df66a");
    virtual HRESULT QueryFeatureInterface(const IID& aIID, void** aFeature) = 0;
    // Copies this document into aBase under the name aID (aPrefix prefixes the names of sub-documents).
    virtual HRESULT DocumentCopy(const char16_t* aPrefix, IDocumentBase* aBase, const char16_t* aID,
                                 void* aReserved) = 0;
};

// A container that receives documents by DocumentCopy; the host's.
struct IDocumentBase : IUnknown {
    ZT_IID("2e5d4b66-1d8c-4a61-9f3e-6a0f2c7b9d10");
    // The document stored under aID (null: the root document).
    virtual HRESULT DocumentGet(const char16_t* aID, IDocument** aDocument) = 0;
};

struct IEnumImageChannels : IUnknown {
    ZT_IID("ea94e2fa-3b34-4b69-b9a5-841bf13985f7");
    virtual HRESULT Range(uint32_t* aStart, uint32_t* aCount) = 0;  // not used by the module
    // aPairs: aCount pairs of channel id and default pixel value.
    virtual HRESULT Consume(void* aReserved, uint32_t aCount, const uint32_t* aPairs) = 0;
};

struct IImageVisitor : IUnknown {
    ZT_IID("190e1b80-bf99-44e8-9792-6575f9cd6a8f");
    virtual HRESULT Visit(uint32_t aTileCount, const TImageTile* aTiles, void* aReserved) = 0;
};

struct IDocumentImage : IUnknown {
    ZT_IID("60d90f75-5dc0-4e9a-9f08-48aad78ccc8d");
    virtual HRESULT CanvasGet(TImageSize* aCanvas, TImageResolution* aResolution, TImagePoint* aContentOrigin,
                              TImageSize* aContentSize, void* aReserved) = 0;
    virtual HRESULT ChannelsEnum(void* aReserved1, void* aReserved2, IEnumImageChannels* aEnum) = 0;
    virtual HRESULT TileGet(uint32_t aChannelID, const TImagePoint* aOrigin, const TImageSize* aSize,
                            const TImageStride* aStride, uint32_t aPixelCount, TPixelChannel* aPixels, void* aReserved,
                            uint32_t aMode) = 0;
    virtual HRESULT Inspect(uint32_t aChannelID, const TImagePoint* aOrigin, const TImageSize* aSize,
                            IImageVisitor* aVisitor, void* aReserved, uint32_t aMode) = 0;
    virtual HRESULT BufferLock(uint32_t aChannelID, TImagePoint* aAllocOrigin, TImageSize* aAllocSize,
                               TImagePoint* aContentOrigin, TImageSize* aContentSize, const TPixelChannel** aPixels,
                               void* aReserved, uint32_t aMode) = 0;
    virtual HRESULT BufferUnlock(uint32_t aChannelID, const TPixelChannel* aPixels) = 0;
};

struct IDocumentEditableImage : IDocumentImage {
    ZT_IID("689f3cb8-a9e2-48e5-9a36-004af9b6dc99");
    // Two slots the module never calls.
    virtual HRESULT ResolutionSet(const TImageResolution* aResolution) = 0;
    virtual HRESULT ContentOriginSet(const TImagePoint* aOrigin) = 0;
    virtual HRESULT CanvasSet(const TImageSize* aCanvas, const TImageResolution* aResolution,
                              const TMatrix3x3f* aMatrix, IRasterImageTransformer* aTransformer) = 0;
    virtual HRESULT ChannelsSet(uint32_t aCount, const uint32_t* aChannelIDs, const TPixelChannel* aDefaults) = 0;
    virtual HRESULT TileSet(uint32_t aChannelID, const TImagePoint* aOrigin, const TImageSize* aSize,
                            const TImageStride* aStride, uint32_t aPixelCount, const TPixelChannel* aPixels,
                            int32_t aKeepContent) = 0;
};

using ZTPixelDeleter = void (*)(void*);

struct IDocumentRasterImage : IDocumentEditableImage {
    ZT_IID("0fa20c30-c04f-490f-9922-ea26effcb77f");
    virtual HRESULT BufferReplace(TImagePoint aAllocOrigin, TImageSize aAllocSize, const TImagePoint* aContentOrigin,
                                  const TImageSize* aContentSize, const uint64_t* aAlphaTotal, TPixelChannel* aPixels,
                                  ZTPixelDeleter aDeleter) = 0;
    virtual HRESULT BufferAllocate(TImageSize aSize, TPixelChannel** aPixels, ZTPixelDeleter* aDeleter) = 0;
};

struct IRasterImageTransformer : IUnknown {
    ZT_IID("6f7a1c52-5b0e-4d8b-9f6c-3d2e1a0b4c97");
    virtual HRESULT ProcessTile(uint32_t aChannelCount, float aGamma, const TPixelChannel* aDefault,
                                const TMatrix3x3f* aMatrix, const TPixelChannel* aSource, TImagePoint aSourceOrigin,
                                TImageSize aSourceSize, TImageStride aSourceStride, TPixelChannel* aTarget,
                                TImagePoint aTargetOrigin, TImageSize aTargetSize, TImageStride aTargetStride) = 0;
};

struct IOperationContext : IUnknown {
    ZT_IID("6c2f04d3-9b57-4f5e-8a43-0e1d7b2c5a68");
    virtual HRESULT StateGet(const char16_t* aName, const IID& aIID, void** aState) = 0;
    virtual HRESULT StateSet(const char16_t* aName, IUnknown* aState) = 0;
    virtual HRESULT IsCancelled() = 0;
    virtual HRESULT GetOperationInfo(uint32_t* aItemIndex, uint32_t* aItemsRemaining, uint32_t* aStepIndex,
                                     uint32_t* aStepsRemaining) = 0;
    virtual HRESULT SetErrorMessage(ILocalizedString* aMessage) = 0;
};

// ---------------------------------------------------------------- configuration

struct IConfig;
struct IConfigCustomGUI;

struct IConfigObserver : IUnknown {
    ZT_IID("3a6e9d41-7c25-4b0f-b8e2-5f1c0d9a7e36");
    // Called after each change, with the keys that changed.
    virtual HRESULT Notify(IConfig* aConfig, uint32_t aCount, const char16_t* const* aKeys) = 0;
};

struct IConfig : IUnknown {
    ZT_IID("0c8a41e7-2f6b-4d39-a5c1-8e7b3f90d2a4");
    // The empty value if the key is unknown. The caller clears aValue.
    virtual HRESULT ItemValueGet(const char16_t* aKey, TConfigValue* aValue) = 0;
    // Writes several items at once, as one change.
    virtual HRESULT ItemValuesSet(uint32_t aCount, const char16_t* const* aKeys, const TConfigValue* aValues) = 0;
    virtual HRESULT ItemGetUIInfo(const char16_t* aKey, const IID& aIID, void** aInfo) = 0;
    virtual HRESULT SubConfigGet(const char16_t* aKey, IConfig** aSubConfig) = 0;
    // Host side; the module does not call these.
    virtual HRESULT DuplicateCreate(IConfig** aCopy) = 0;
    virtual HRESULT CopyFrom(IConfig* aSource, const char16_t* aPrefix) = 0;
    virtual HRESULT ObserverIns(IConfigObserver* aObserver) = 0;
    virtual HRESULT ObserverDel(IConfigObserver* aObserver) = 0;
};

struct IConfigBuilder : IUnknown {
    ZT_IID("9abf9ca9-db43-45a9-a305-64759713a15c");
    virtual HRESULT ItemIns1ofN(const char16_t* aKey, ILocalizedString* aName, ILocalizedString* aHelp,
                                const TConfigValue* aDefault, void* aReserved) = 0;
    virtual HRESULT ItemOptionAdd(const char16_t* aKey, const TConfigValue* aValue, ILocalizedString* aName,
                                  uint32_t aConditionCount, const TConfigOptionCondition* aConditions) = 0;
    virtual HRESULT ItemInsRanged(const char16_t* aKey, ILocalizedString* aName, ILocalizedString* aHelp,
                                  const TConfigValue* aDefault, void* aReserved, const TConfigValue* aFrom,
                                  const TConfigValue* aTo, const TConfigValue* aStep, uint32_t aConditionCount,
                                  const TConfigOptionCondition* aConditions) = 0;
    virtual HRESULT ItemInsSimple(const char16_t* aKey, ILocalizedString* aName, ILocalizedString* aHelp,
                                  const TConfigValue* aDefault, void* aReserved, uint32_t aConditionCount,
                                  const TConfigOptionCondition* aConditions) = 0;
    // Attaches a sub-configuration to the item aKey (the host's operation manager uses it).
    virtual HRESULT SubConfigInsert(const char16_t* aKey, IConfig* aSubConfig) = 0;
    virtual HRESULT Finalize(IConfigCustomGUI* aGUI) = 0;
};

struct IConfigCustomGUI : IUnknown {
    ZT_IID("5d0b7e21-93a4-4c6f-8e15-b2f7c4a8d903");
};

// ---------------------------------------------------------------- services

struct IThreadedTask : IUnknown {
    ZT_IID("d81b296c-598a-42d9-9c91-4f89a5b4346b");
    // Does share aIndex of aTotal; S_FALSE when there is no such share.
    virtual HRESULT Execute(uint32_t aIndex, uint32_t aTotal) = 0;
};

struct IThreadPool : IUnknown {
    ZT_IID("996caa67-6efc-49c7-a1ae-2df08533c1d4");
    virtual HRESULT ThreadCount(uint32_t* aThreads) = 0;
    // Runs aTask in as many shares as the pool has threads (aThreads 0) and returns when all are done.
    virtual HRESULT Execute(uint32_t aThreads, IThreadedTask* aTask) = 0;
};

// The float record: 104 entries of the float-to-sRGB8 encoder, then 256 linear values of the bytes.
struct TSRGBFloatRecord {
    uint32_t encoder[104];
    float toLinear[256];
};
static_assert(sizeof(TSRGBFloatRecord) == 104 * 4 + 256 * 4);

struct IGammaTableCache : IUnknown {
    ZT_IID("28cb1317-2a27-4db3-afdc-e7c30f256e38");
    // 513 entries: 0..255 linear value of a byte (byte 255 gives 65535), 256..512 the inverse.
    virtual const uint16_t* GetSRGBTable() = 0;
    virtual const TSRGBFloatRecord* GetSRGBFloatTable() = 0;
};

struct IColorNameProvider : IUnknown {
    ZT_IID("2b78abf3-e2a6-4c47-8ee5-facd968f6113");
    // aColor is 0xAABBGGRR (red in the lowest byte). S_FALSE and null when no name is near.
    virtual HRESULT ColorName(uint32_t aColor, ILocalizedString** aName) = 0;
};

// Host class ids, created through the activation function.
// Why the last call on this thread failed, as the component-object error info of this
// platform: the module says why where it knows, whoever called it reads the reason.
struct IFailureReason : IUnknown {
    ZT_IID("00c50ae0-e75a-48c6-8786-babc6e14b7e0");
    virtual HRESULT SetReason(HRESULT aResult, ILocalizedString* aReason) = 0;
    // The last reason of this thread and its result, handed over and forgotten; S_FALSE
    // (and null) when there is none.
    virtual HRESULT TakeReason(HRESULT* aResult, ILocalizedString** aReason) = 0;
};

constexpr CLSID CLSID_ConfigBuilder = MakeGuid("98D37AED-647D-44F6-9290-1854B1F59C5C");
constexpr CLSID CLSID_ThreadPool = MakeGuid("321CCCC6-4E78-47A2-A629-FAA8871F6BB8");
constexpr CLSID CLSID_GammaTableCache = MakeGuid("0DB564F7-62B2-48B5-88FD-FFDF224F1AC7");
constexpr CLSID CLSID_Translator = MakeGuid("A8527808-1328-4221-9858-18E47799C379");
constexpr CLSID CLSID_ColorNameProvider = MakeGuid("B3C37487-B60A-491C-A0D7-D33CA10E12B9");
constexpr CLSID CLSID_FailureReason = MakeGuid("5d0f6a0c-8f4e-4c1b-9a57-3e2c7b1d9f60");
constexpr CLSID CLSID_OperationManager = MakeGuid("7a3c9e15-4b82-4f6d-a0e9-c51d28f7b364");
