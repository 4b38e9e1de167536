// ztraster apply: runs an operation on an image file, or on a layered image made of several,
// and writes the result.
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <chrono>
#include <climits>
#include <cmath>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "apps/ztraster/commands.h"
#include "apps/ztraster/image_io.h"
#include "apps/ztraster/layers.h"
#include "apps/ztraster/masks.h"
#include "apps/ztraster/module.h"

namespace ztcli {

namespace {

// The class a nested key's item belongs to: the class for a plain key, else the class that
// the item above it selects (Operation/Method: the operation stored in "Operation").
CLSID OwnerOf(const CLSID& aClass, IConfig* aConfig, const std::string& aKey, std::string* aItem) {
    const size_t slash = aKey.rfind('/');
    *aItem = aKey.substr(slash == std::string::npos ? 0 : slash + 1);
    if (slash == std::string::npos) return aClass;
    SValue selected;
    CZTStr parent(Utf8ToUtf16(aKey.substr(0, slash)));
    if (FAILED(aConfig->ItemValueGet(parent, &selected.v)) || selected.v.eTypeID != ECVTGUID) return CLSID{};
    return selected.v.guidVal;
}

// A nickname of a pick-one option (Method=gaussian) as the text of its value; the text itself
// when the item's operation knows no such nickname.
std::string OptionValueText(const CLSID& aClass, IConfig* aConfig, const std::string& aKey, const std::string& aValue) {
    std::string item;
    const CLSID owner = OwnerOf(aClass, aConfig, aKey, &item);
    ComPtr<IOperationSchema> schema = SchemaOf(owner);
    if (!schema || aValue.empty()) return aValue;
    CZTStr key(Utf8ToUtf16(item)), nickname(Utf8ToUtf16(aValue));
    SValue value;
    if (schema->OptionByNickname(key, nickname, &value.v) == S_OK) return zthost::ConfigValueToString(value.v);
    // A word where a pick-one item with nicknames wants its option: say which ones there are.
    if (!std::isalpha(static_cast<unsigned char>(aValue[0]))) return aValue;
    ComPtr<IConfig> items(aConfig);
    if (const size_t slash = aKey.rfind('/'); slash != std::string::npos) {
        CZTStr parent(Utf8ToUtf16(aKey.substr(0, slash)));
        items = nullptr;
        aConfig->SubConfigGet(parent, items.out());
    }
    if (!items) return aValue;
    for (const zthost::ConfigItemInfo& info : zthost::DescribeConfig(items)) {
        if (Utf16ToUtf8(info.key) != item || info.kind != zthost::ConfigItemKind::pickOne) continue;
        std::string options;
        for (const zthost::ConfigOption* o : info.options) {
            const std::string nick = NicknameOf(schema, info.key, o->value);
            options += (options.empty() ? "" : ", ") + ValueText(o->value) + (nick.empty() ? "" : " " + nick);
        }
        Usage("--set: " + T("key ", "klíč ") + Quote(aKey) + ": " + Quote(aValue) +
              T(" is none of its options: ", " není žádná z jeho možností: ") + options);
    }
    return aValue;
}

struct ApplyOptions {
    std::string operation, input, output;
    std::vector<std::pair<std::string, std::string>> sets;
    uint32_t threads = 0;
    bool hasCanvas = false;
    TImageSize canvas{0, 0};
    TImagePoint origin{0, 0};
    TPixelChannel defaultPixel{};
    float gamma = 2.2f;
    bool contentRegion = false;
    bool info = false;
    uint32_t repeat = 0;
    std::vector<MaskOption> masks;  // the last one is the run's
    std::vector<LayerOption> layers;
    bool flatten = false;
};

long long ParseInteger(const std::string& aOption, const std::string& aText, long long aMin, long long aMax) {
    errno = 0;
    char* end = nullptr;
    long long v = std::strtoll(aText.c_str(), &end, 0);
    if (aText.empty() || *end || errno || v < aMin || v > aMax)
        Usage(aOption + ": " + Quote(aText) + T(" is not an integer from ", " není celé číslo od ") +
              std::to_string(aMin) + T(" to ", " do ") + std::to_string(aMax));
    return v;
}

std::vector<long long> ParseList(const std::string& aOption, const std::string& aText, size_t aCount, long long aMin,
                                 long long aMax, const char* aForm) {
    std::vector<long long> values;
    size_t start = 0;
    while (true) {
        size_t comma = aText.find(',', start);
        std::string part = aText.substr(start, comma == std::string::npos ? std::string::npos : comma - start);
        values.push_back(ParseInteger(aOption, part, aMin, aMax));
        if (comma == std::string::npos) break;
        start = comma + 1;
    }
    if (values.size() != aCount)
        Usage(aOption + ": " + Quote(aText) + T(" is not of the form ", " nemá tvar ") + aForm);
    return values;
}

const std::vector<SOption<ApplyOptions>> kOptions = {
    {{"--set",
      nullptr,
      {"KEY=VALUE", "KLÍČ=HODNOTA"},
      {"sets a setting; nested keys with / (Operation/Angle=40); an option by its\n"
       "number or its name (Method=3 or Method=gaussian, see describe)",
       "nastaví hodnotu; vnořené klíče s / (Operation/Angle=40); možnost číslem\n"
       "nebo jménem (Method=3 nebo Method=gaussian, viz describe)"}},
     [](ApplyOptions& o, const std::string&, const std::string& kv) {
         const size_t eq = kv.find('=');
         if (eq == std::string::npos || eq == 0)
             Usage("--set: " + Quote(kv) + T(" is not of the form KEY=VALUE", " nemá tvar KLÍČ=HODNOTA"));
         o.sets.emplace_back(kv.substr(0, eq), kv.substr(eq + 1));
     }},
    {{"--threads",
      nullptr,
      {"N", "N"},
      {"number of worker threads (default: all hardware threads)",
       "počet pracovních vláken (výchozí: všechna vlákna procesoru)"}},
     [](ApplyOptions& o, const std::string& a, const std::string& v) {
         o.threads = static_cast<uint32_t>(ParseInteger(a, v, 1, 256));
     }},
    {{"--canvas",
      nullptr,
      {"W,H", "Š,V"},
      {"canvas size (default: the image size)", "velikost plátna (výchozí: velikost obrázku)"}},
     [](ApplyOptions& o, const std::string& a, const std::string& v) {
         const auto n = ParseList(a, v, 2, 1, UINT32_MAX, "W,H");
         o.canvas = {uint32_t(n[0]), uint32_t(n[1])};
         o.hasCanvas = true;
     }},
    {{"--origin",
      nullptr,
      {"X,Y", "X,Y"},
      {"where the image stands on the canvas (default 0,0)", "kde obrázek leží na plátně (výchozí 0,0)"}},
     [](ApplyOptions& o, const std::string& a, const std::string& v) {
         const auto n = ParseList(a, v, 2, INT32_MIN, INT32_MAX, "X,Y");
         o.origin = {int32_t(n[0]), int32_t(n[1])};
     }},
    {{"--default",
      nullptr,
      {"0xAARRGGBB", "0xAARRGGBB"},
      {"the pixel outside the image (default 0)", "pixel mimo obrázek (výchozí 0)"}},
     [](ApplyOptions& o, const std::string& a, const std::string& v) {
         o.defaultPixel.n = static_cast<uint32_t>(ParseInteger(a, v, 0, UINT32_MAX));
     }},
    {{"--gamma",
      nullptr,
      {"G", "G"},
      {"the document's gamma attribute (default 2.2)", "atribut gama dokumentu (výchozí 2,2)"}},
     [](ApplyOptions& o, const std::string&, const std::string& g) {
         char* end = nullptr;
         const double v = std::strtod(g.c_str(), &end);
         if (g.empty() || *end || !(v > 0.0) || v > 100.0)
             Usage("--gamma: " + Quote(g) + T(" is not a number above 0", " není číslo větší než 0"));
         o.gamma = static_cast<float>(v);
     }},
    {{"--region",
      nullptr,
      {"canvas|content", "canvas|content"},
      {"write the canvas (default) or the content rectangle", "zapíše plátno (výchozí) nebo obdélník obsahu"}},
     [](ApplyOptions& o, const std::string&, const std::string& r) {
         if (r != "canvas" && r != "content")
             Usage("--region: " + Quote(r) + T(" is neither canvas nor content", " není canvas ani content"));
         o.contentRegion = r == "content";
     }},
    {{"--info",
      nullptr,
      {},
      {"print one JSON line with the result and the document's geometry",
       "vypíše řádek JSON s výsledkem a geometrií dokumentu"}},
     [](ApplyOptions& o, const std::string&, const std::string&) { o.info = true; }},
    {{"--mask",
      nullptr,
      {"FILE[@X,Y]", "SOUBOR[@X,Y]"},
      {"a selection mask from a grey image (white selects), for the operations\n"
       "that use one; the last mask option counts",
       "výběrová maska ze šedého obrázku (bílá vybírá) pro operace, které ji\n"
       "používají; platí poslední volba masky"}},
     [](ApplyOptions& o, const std::string&, const std::string& v) { o.masks.push_back(ParseMaskFile(v)); }},
    {{"--mask-rect", nullptr, {"X,Y,W,H", "X,Y,Š,V"}, {"a rectangular selection mask", "obdélníková výběrová maska"}},
     [](ApplyOptions& o, const std::string&, const std::string& v) { o.masks.push_back(ParseMaskRect(v)); }},
    {{"--repeat",
      nullptr,
      {"N", "N"},
      {"run N times on fresh copies and print the median time of the run",
       "provede N běhů na čerstvých kopiích a vypíše medián doby běhu"}},
     [](ApplyOptions& o, const std::string& a, const std::string& v) {
         o.repeat = static_cast<uint32_t>(ParseInteger(a, v, 1, 100000));
     }},
    {{"--layer",
      nullptr,
      {"FILE[@X,Y]", "SOUBOR[@X,Y]"},
      {"a layer of a layered image (repeat; INPUT, if any, is the bottom one)",
       "vrstva vrstveného obrázku (opakujte; VSTUP, je-li zadán, je nejspodnější)"}},
     [](ApplyOptions& o, const std::string&, const std::string& v) { o.layers.push_back(ParseLayer(v)); }},
    {{"--flatten",
      nullptr,
      {},
      {"write the layers composited into one image (else -o needs %d)",
       "zapíše vrstvy složené do jednoho obrázku (jinak -o potřebuje %d)"}},
     [](ApplyOptions& o, const std::string&, const std::string&) { o.flatten = true; }},
    {{"-o", "--output", {"OUTPUT", "VÝSTUP"}, {"output file; .png or .jpg", "výstupní soubor; .png nebo .jpg"}},
     [](ApplyOptions& o, const std::string&, const std::string& v) { o.output = v; }},
};

const SCommandText kText = {"apply",
                            {"OPERATION [OPTION]... INPUT -o OUTPUT", "OPERACE [VOLBA]... VSTUP -o VÝSTUP"},
                            {"runs an operation on an image file (PNG or JPEG) and writes the result",
                             "provede operaci na obrázku (PNG nebo JPEG) a zapíše výsledek"},
                            TextsOf(kOptions)};

ApplyOptions ParseApply(const std::vector<std::string>& aArgs) {
    ApplyOptions o;
    const std::vector<std::string> positional = ParseOptions(kOptions, aArgs, o);
    if (positional.size() != 2 && !(positional.size() == 1 && !o.layers.empty()))
        Usage(T("apply needs OPERATION and INPUT (see ztraster --help)",
                "apply potřebuje OPERACI a VSTUP (viz ztraster --help)"));
    o.operation = positional[0];
    if (positional.size() == 2) o.input = positional[1];
    if (o.output.empty()) Usage(T("apply needs -o OUTPUT", "apply potřebuje -o VÝSTUP"));
    if (!o.layers.empty() && (o.info || o.repeat))
        Usage(T("--info and --repeat work on one image, not with --layer",
                "--info a --repeat pracují s jedním obrázkem, ne s --layer"));
    if (!o.layers.empty() && !o.flatten && o.output.find("%d") == std::string::npos)
        Usage(T("a layered result needs -o with %d (one file per layer) or --flatten",
                "vrstvený výsledek potřebuje -o s %d (soubor pro každou vrstvu) nebo --flatten"));
    return o;
}

// The input image as a document: content at the origin, canvas given or the image's size.
ComPtr<IDocument> MakeDocument(const ApplyOptions& o, const ztio::Image& aImage) {
    zthost::RasterImageInit init;
    init.canvas = o.hasCanvas ? o.canvas : TImageSize{aImage.width, aImage.height};
    if (uint64_t(init.canvas.nX) * init.canvas.nY > (uint64_t(1) << 31))
        Usage(T("the canvas ", "plátno ") + std::to_string(init.canvas.nX) + "x" + std::to_string(init.canvas.nY) +
              T(" has more than 2^31 pixels", " má víc než 2^31 pixelů"));
    init.contentOrigin = o.origin;
    init.contentSize = {aImage.width, aImage.height};
    std::vector<TPixelChannel> pixels(aImage.pixels.size());
    std::memcpy(pixels.data(), aImage.pixels.data(), pixels.size() * 4);
    init.pixels = pixels.data();
    init.defaultPixel = o.defaultPixel;
    init.gamma = o.gamma;
    if (aImage.hasResolution) {
        // Pixels per metre over 10000 is pixels per tenth of a millimetre, the document's unit.
        init.resolution = {uint32_t(std::lround(aImage.dpiX / 0.0254)), 10000,
                           uint32_t(std::lround(aImage.dpiY / 0.0254)), 10000};
    }
    ComPtr<IDocument> doc = zthost::CreateRasterDocument(init);
    if (!doc) Failed(T("there is not enough memory for the document", "na dokument není dost paměti"));
    return doc;
}

// Shows how long the run takes, on a terminal, once it has taken half a second.
class ProgressLine {
public:
    explicit ProgressLine(std::string aWhat) : what_(std::move(aWhat)) {
        if (isatty(STDERR_FILENO)) thread_ = std::thread([this] { Run(); });
    }
    ~ProgressLine() {
        {
            std::lock_guard<std::mutex> lock(mutex_);
            done_ = true;
        }
        wake_.notify_all();
        if (thread_.joinable()) thread_.join();
    }

private:
    void Run() {
        const auto start = std::chrono::steady_clock::now();
        std::unique_lock<std::mutex> lock(mutex_);
        if (wake_.wait_for(lock, std::chrono::milliseconds(500), [this] { return done_; })) return;
        static const char spin[] = "|/-\\";
        for (int i = 0; !wake_.wait_for(lock, std::chrono::milliseconds(100), [this] { return done_; }); ++i) {
            double s = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
            std::fprintf(stderr, "\r%c %s %.1f s ", spin[i % 4], what_.c_str(), s);
            std::fflush(stderr);
        }
        std::fprintf(stderr, "\r%*s\r", int(what_.size() + 16), "");
        std::fflush(stderr);
    }
    std::string what_;
    std::mutex mutex_;
    std::condition_variable wake_;
    bool done_ = false;
    std::thread thread_;
};

void WriteResult(const ApplyOptions& o, IDocument* aDocument) {
    ComPtr<IDocumentImage> image;
    aDocument->QueryFeatureInterface(IDocumentImage::iid, image.out());
    if (!image) Failed(T("the document has no image", "dokument nemá obrázek"));
    TImageSize canvas{1, 1}, size{0, 0};
    TImagePoint origin{0, 0};
    TImageResolution res{100, 254, 100, 254};
    image->CanvasGet(&canvas, &res, &origin, &size, nullptr);
    TImagePoint from = o.contentRegion ? origin : TImagePoint{0, 0};
    TImageSize extent = o.contentRegion ? size : canvas;
    if (extent.nX == 0 || extent.nY == 0)
        Failed(T("the result is empty: nothing to write", "výsledek je prázdný: není co zapsat"));
    if (uint64_t(extent.nX) * extent.nY > (uint64_t(1) << 31))
        Failed(T("the result has more than 2^31 pixels", "výsledek má víc než 2^31 pixelů"));
    ztio::Image out;
    out.width = extent.nX;
    out.height = extent.nY;
    out.pixels.resize(size_t(extent.nX) * extent.nY);
    HRESULT hr = image->TileGet(CHANNEL_COLOR, &from, &extent, nullptr, uint32_t(out.pixels.size()),
                                reinterpret_cast<TPixelChannel*>(out.pixels.data()), nullptr, ACCESS_MODE);
    if (FAILED(hr)) Failed(T("reading the result failed: ", "čtení výsledku selhalo: ") + ResultText(hr));
    if (res.nDenominatorX && res.nDenominatorY) {
        out.hasResolution = true;
        out.dpiX = double(res.nNumeratorX) / res.nDenominatorX * 254.0;
        out.dpiY = double(res.nNumeratorY) / res.nDenominatorY * 254.0;
    }
    std::string error;
    if (!ztio::WriteImage(o.output, out, &error)) Failed(error);
}

void PrintInfo(HRESULT aResult, IDocument* aDocument) {
    ComPtr<IDocumentImage> image;
    aDocument->QueryFeatureInterface(IDocumentImage::iid, image.out());
    TImageSize canvas{1, 1}, size{0, 0};
    TImagePoint origin{0, 0};
    TImageResolution res{100, 254, 100, 254};
    TPixelChannel def{};
    if (image) {
        image->CanvasGet(&canvas, &res, &origin, &size, nullptr);
        zthost::RasterImageState state;
        if (zthost::InspectRasterDocument(aDocument, &state)) def = state.defaultPixel;
    }
    auto dpi = [](uint32_t n, uint32_t d) { return d ? double(n) / d * 254.0 : 0.0; };
    char hex[16], code[16];
    std::snprintf(hex, sizeof hex, "0x%08X", def.n);
    std::snprintf(code, sizeof code, "0x%08X", uint32_t(aResult));
    std::string name = ResultText(aResult);
    name = name.substr(0, name.find(' '));
    std::printf(
        "{\"result\":%s,\"code\":\"%s\",\"canvas\":[%u,%u],\"contentOrigin\":[%d,%d],\"contentSize\":[%u,%u],"
        "\"default\":\"%s\",\"resolution\":[%.6g,%.6g]}\n",
        JsonString(name).c_str(), code, canvas.nX, canvas.nY, origin.nX, origin.nY, size.nX, size.nY, hex,
        dpi(res.nNumeratorX, res.nDenominatorX), dpi(res.nNumeratorY, res.nDenominatorY));
}

// The result code, and the reason the run left with the host where it left one.
std::string FailureText(HRESULT aResult) {
    const std::string reason = zthost::TakeFailureReason(aResult);
    return ResultText(aResult) + (reason.empty() ? "" : ": " + reason);
}

// A layered image from INPUT and the --layer files, written per layer or flattened.
int ApplyLayered(const ApplyOptions& o, IDocumentOperation* aOp, const std::string& aName, IConfig* aConfig) {
    std::vector<LayerOption> all = o.layers;
    if (!o.input.empty()) all.insert(all.begin(), LayerOption{o.input, o.origin.nX, o.origin.nY});
    const LayeredInput in = MakeLayeredInput(all, o.hasCanvas ? &o.canvas : nullptr, o.defaultPixel, o.gamma);
    ComPtr<IOperationManager> manager = zthost::OperationManager();
    ComPtr<IOperationContext> context = zthost::CreateOperationContext();
    InstallMasks(o.masks, aConfig, context);
    HRESULT hr = aOp->CanActivate(manager, in.document, aConfig, context);
    if (hr != S_OK)
        Failed(aName +
               T(" cannot run on a layered image (CanActivate answered ",
                 " nemůže běžet na vrstveném obrázku (CanActivate odpovědělo ") +
               ResultText(hr) + ")");
    zthost::ForgetFailureReason();
    hr = aOp->Activate(manager, in.document, aConfig, context, nullptr, Language());
    if (FAILED(hr)) Failed(aName + T(" failed: ", " selhala: ") + FailureText(hr));
    WriteLayers(o.output, in.layers, o.flatten, o.contentRegion);
    std::printf("%s -> %s\n", aName.c_str(), o.output.c_str());
    return kExitOk;
}

int Apply(const std::vector<std::string>& aArgs) {
    const ApplyOptions o = ParseApply(aArgs);
    auto module = LoadModule();
    const CLSID id = ResolveOperation(*module, o.operation);
    const std::string shortName = zthost::ShortNameOf(id);
    if (o.threads) zthost::SetThreadCount(o.threads);
    // Lets a test (or a careful user) make large runs fail as if memory were short.
    if (const char* limit = std::getenv("ZT_HOST_BUFFER_LIMIT"))
        zthost::SetBufferLimit(static_cast<uint64_t>(ParseInteger("ZT_HOST_BUFFER_LIMIT", limit, 0, LLONG_MAX)));
    ComPtr<IOperationManager> manager = zthost::OperationManager();
    ComPtr<IDocumentOperation> op = CreateOperation(id, shortName);

    ComPtr<IConfig> config;
    HRESULT hr = op->ConfigCreate(manager, config.out());
    if (!config) Failed(shortName + T(": ConfigCreate failed: ", ": ConfigCreate selhalo: ") + ResultText(hr));
    for (const auto& [key, value] : o.sets) {
        std::string error;
        if (FAILED(zthost::ConfigSetFromString(config, key, OptionValueText(id, config, key, value), &error)))
            Usage("--set: " + error);
    }

    if (!o.layers.empty()) return ApplyLayered(o, op, shortName, config);
    ztio::Image input;
    std::string error;
    if (!ztio::ReadImage(o.input, &input, &error)) Usage(error);
    ComPtr<IDocument> source = MakeDocument(o, input);
    ComPtr<IOperationContext> context = zthost::CreateOperationContext();
    InstallMasks(o.masks, config, context);

    hr = op->CanActivate(manager, source, config, context);
    if (hr != S_OK)
        Failed(shortName +
               T(" cannot run on this document (CanActivate answered ",
                 " nemůže běžet na tomto dokumentu (CanActivate odpovědělo ") +
               ResultText(hr) + ")");

    ComPtr<IDocument> document = source;
    std::vector<double> times;
    const uint32_t runs = o.repeat ? o.repeat : 1;
    {
        ProgressLine progress(shortName);
        for (uint32_t i = 0; i < runs; ++i) {
            if (o.repeat) document = zthost::CopyRasterDocument(source);
            if (!document) Failed(T("there is not enough memory for the document", "na dokument není dost paměti"));
            const auto start = std::chrono::steady_clock::now();
            zthost::ForgetFailureReason();
            hr = op->Activate(manager, document, config, context, nullptr, Language());
            times.push_back(
                std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count());
            if (FAILED(hr)) break;
        }
    }
    if (FAILED(hr)) {
        if (o.info) PrintInfo(hr, document);
        Failed(shortName + T(" failed: ", " selhala: ") + FailureText(hr));
    }

    ComPtr<IConfigDescriptor> descriptor = ComPtr<IConfigDescriptor>::query(op.get());
    ComPtr<ILocalizedString> done;
    if (descriptor) descriptor->Name(manager, config, done.out());
    if (!done) op->NameGet(manager, done.out());

    WriteResult(o, document);
    std::printf("%s -> %s\n", Text(done).c_str(), o.output.c_str());
    if (o.repeat) {
        std::vector<double> sorted = times;
        std::sort(sorted.begin(), sorted.end());
        std::printf("%s: %s %.3f ms, min %.3f ms, max %.3f ms (%u %s)\n", T("Activate", "Activate").c_str(),
                    T("median", "medián").c_str(), sorted[sorted.size() / 2], sorted.front(), sorted.back(), runs,
                    T("runs", "běhů").c_str());
    }
    if (o.info) PrintInfo(hr, document);
    return kExitOk;
}

}  // namespace

const SCommand kApplyCommand = {kText, Apply};

}  // namespace ztcli
