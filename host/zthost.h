// The reference host's own C++ face, for applications and tests that embed it.
// The module never sees this header: it reaches the host only through ZTCoCreateInstance
// and the interfaces of frame/host.h.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "frame/operation.h"

// The activation function the module looks up in the main program.
extern "C" HRESULT ZTCoCreateInstance(const CLSID& aClassID, IUnknown* aOuter, uint32_t aContext, const IID& aIID,
                                      void** aOut);

namespace zthost {

// ------------------------------------------------------------ activation and modules

// Creates a host class, or a class of a registered module, by class id.
HRESULT CreateInstance(const CLSID& aClassID, const IID& aIID, void** aOut);

template <class T>
ComPtr<T> Create(const CLSID& aClassID) {
    ComPtr<T> p;
    CreateInstance(aClassID, T::iid, p.out());
    return p;
}

struct ModuleFunctions {
    DllGetClassObjectFn getClassObject = nullptr;
    DllEnumClassesFn enumClasses = nullptr;
    DllCanUnloadNowFn canUnloadNow = nullptr;
    ZTSetHostCreateInstanceFn setHostCreateInstance = nullptr;
};

struct ClassInfo {
    CLSID id;
    std::vector<GUID> categories;
};

// A module whose classes the host can create: loaded from a file with dlopen, or (in unit
// tests) given as the functions of a module linked into the program.
class Module {
public:
    // Loads the file and registers it; on failure returns null and sets aError.
    static std::shared_ptr<Module> Load(const std::string& aPath, std::string* aError);
    // Registers a module linked into the program.
    static std::shared_ptr<Module> FromFunctions(const ModuleFunctions& aFunctions);
    ~Module();  // unregisters; unloads a loaded file

    const std::vector<ClassInfo>& Classes() const { return classes_; }
    HRESULT GetClassObject(const CLSID& aClassID, const IID& aIID, void** aOut) const;
    HRESULT CanUnloadNow() const;
    const ModuleFunctions& Functions() const { return functions_; }

private:
    Module() = default;
    void* handle_ = nullptr;
    ModuleFunctions functions_;
    std::vector<ClassInfo> classes_;
};

// Every class of all registered modules, in module and table order.
std::vector<ClassInfo> RegisteredClasses();

// The known class names of the module's class table ("CDocumentOperationRasterImageShiftHue").
// Empty when the id is not known.
std::string ClassNameOf(const CLSID& aClassID);
// The short name: the class name without "CDocumentOperationRasterImage", "CDocumentOperation"
// or "CRasterImage" ("ShiftHue", "LongShadow", "ContourGradient").
std::string ShortNameOf(const CLSID& aClassID);
// A short name (case-insensitive), a full class name or a class id text, to a class id.
bool ClassIdFromName(const std::string& aName, CLSID* aClassID);

// ------------------------------------------------------------ services

// Number of workers of the shared pool (default: hardware threads). Takes effect at once.
void SetThreadCount(uint32_t aThreads);
uint32_t ThreadCount();

// Language that text is shown in when no language is asked for (0x0409 or 0x0405).
void SetLanguage(uint32_t aLanguage);
uint32_t Language();

// Text of a localised string in a language, as UTF-8 ("" when it has none).
std::string TextOf(ILocalizedString* aText, uint32_t aLanguage);

// The reason the module gave on this thread for the failure aResult, in the host's language,
// and forgotten; "" when it gave none (or gave one for another result).
std::string TakeFailureReason(HRESULT aResult);
// Forgets a reason left from an earlier call, before a call whose failure will be explained.
void ForgetFailureReason();

// ------------------------------------------------------------ documents

struct RasterImageInit {
    TImageSize canvas{1, 1};
    TImagePoint contentOrigin{0, 0};
    TImageSize contentSize{0, 0};
    const TPixelChannel* pixels = nullptr;  // contentSize.nX * contentSize.nY pixels, rows tight; null: default pixels
    TPixelChannel defaultPixel{};
    TImageResolution resolution{100, 254, 100, 254};
    float gamma = 2.2f;
};

// A document with the raster image feature, held in memory.
ComPtr<IDocument> CreateRasterDocument(const RasterImageInit& aInit);

// What a raster document holds, read without going through the module's interfaces.
struct RasterImageState {
    TImageSize canvas;
    TImagePoint contentOrigin;
    TImageSize contentSize;
    TPixelChannel defaultPixel;
    TImageResolution resolution;
    float gamma;
    std::vector<TPixelChannel> content;  // the content rectangle, rows tight
    // Counters of the calls that change the document, and the last alpha total handed over.
    uint32_t bufferReplaceCount = 0;
    bool lastAlphaTotalGiven = false;
    uint64_t lastAlphaTotal = 0;
};
// False when aDocument is not a document of this host.
bool InspectRasterDocument(IDocument* aDocument, RasterImageState* aState);

// Largest buffer, in pixels, that BufferAllocate hands out; larger requests fail with
// E_OUTOFMEMORY as if memory had run out (default: no limit beyond the interfaces' own).
void SetBufferLimit(uint64_t aPixels);

// A copy of a raster document with its own pixels.
ComPtr<IDocument> CopyRasterDocument(IDocument* aDocument);

// ------------------------------------------------------------ operation context

ComPtr<IOperationContext> CreateOperationContext();

// ------------------------------------------------------------ configurations

// One item of a configuration as the host holds it (for describe, windows and the text form).
struct ConfigOption {
    TConfigValue value;  // owned by the configuration
    ComPtr<ILocalizedString> name;
    std::vector<TConfigOptionCondition> conditions;  // owned by the configuration
};
enum class ConfigItemKind { pickOne, ranged, simple, operation };
struct ConfigItemInfo {
    std::u16string key;
    ConfigItemKind kind;
    ComPtr<ILocalizedString> name;
    ComPtr<ILocalizedString> help;  // may be null
    const TConfigValue* defaultValue;
    const TConfigValue* from;  // ranged items only
    const TConfigValue* to;
    const TConfigValue* step;
    std::vector<const ConfigOption*> options;
    const std::vector<TConfigOptionCondition>* conditions;
    bool active;  // all conditions hold
};
// The items of a configuration made by this host's builder, in order; empty otherwise.
std::vector<ConfigItemInfo> DescribeConfig(IConfig* aConfig);

// Text form: one "key=value" line per item, nested keys joined by '\'.
std::string ConfigToText(IConfig* aConfig);
// Reads the text form; unknown keys or bad values fail with a message naming them.
HRESULT ConfigFromText(IConfig* aConfig, const std::string& aText, std::string* aError);

// Parses one value for an item by the item's type (long decimal or 0x-hex, float, bool
// true/false/1/0, string, GUID in braces or an operation's short name, colour and vectors
// as comma-separated floats). Nested keys use '/' or '\'. The message names key, value and
// the expected form.
HRESULT ConfigSetFromString(IConfig* aConfig, const std::string& aKey, const std::string& aValue, std::string* aError);
// Renders one value as the text form writes it.
std::string ConfigValueToString(const TConfigValue& aValue);

// ------------------------------------------------------------ operation manager

// The host's manager: creates operations of the registered modules by class id.
ComPtr<IOperationManager> OperationManager();

}  // namespace zthost
