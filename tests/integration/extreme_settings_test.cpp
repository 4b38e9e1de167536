// Every operation of the module, each setting in turn at the ends of its type (huge, NaN,
// infinite, the integer limits): the run may fail, but it never crashes, never reads or
// writes outside its buffers and never reaches undefined arithmetic (the sanitizer build
// checks those).
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "host/zthost.h"

namespace {

std::vector<TConfigValue> ExtremesOf(uint32_t aType) {
    std::vector<TConfigValue> values;
    auto add = [&](auto set) {
        TConfigValue v = ConfigValueEmpty();
        v.eTypeID = aType;
        set(v);
        values.push_back(v);
    };
    const float inf = std::numeric_limits<float>::infinity(), nan = std::numeric_limits<float>::quiet_NaN();
    switch (aType) {
        case ECVTInteger:
            for (int32_t i : {INT32_MAX, INT32_MIN, 0, -1}) add([&](TConfigValue& v) { v.iVal = i; });
            break;
        case ECVTFloat:
            for (float f : {1e30f, -1e30f, nan, inf, -inf, 0.0f}) add([&](TConfigValue& v) { v.fVal = f; });
            break;
        case ECVTFloatColor:
        case ECVTVector3:
            for (float f : {1e30f, -1e30f, nan})
                add([&](TConfigValue& v) { v.vecVal[0] = v.vecVal[1] = v.vecVal[2] = v.vecVal[3] = f; });
            break;
        case ECVTString:
            for (const char16_t* text : {u"", u"nan nan nan", u"1e39 1 1\n1 -1e39 1\n1 1 inf", u"1,2;3", u"\x1"})
                add([&](TConfigValue& v) { v.bstrVal = ZTStrAlloc(text); });
            break;
        default: break;
    }
    return values;
}

// A shape with soft edges and a transparent border, on a canvas a little larger than it.
ComPtr<IDocument> SmallDocument() {
    std::vector<TPixelChannel> pixels(24 * 17);
    for (uint32_t y = 0; y < 17; ++y)
        for (uint32_t x = 0; x < 24; ++x) {
            const uint32_t alpha = (x > 3 && x < 20 && y > 3 && y < 13) ? 255 : (x * 11 + y * 7) % 3 * 60;
            pixels[y * 24 + x].n = alpha << 24 | (x * 10) << 16 | (y * 15) << 8 | 0x40;
        }
    zthost::RasterImageInit init;
    init.canvas = {30, 20};
    init.contentOrigin = {2, 1};
    init.contentSize = {24, 17};
    init.pixels = pixels.data();
    init.defaultPixel.n = 0x20102030u;
    return zthost::CreateRasterDocument(init);
}

}  // namespace

TEST(ExtremeSettings, EveryOperationSurvivesEverySettingAtTheEndsOfItsType) {
    std::string error;
    auto module = zthost::Module::Load(ZT_MODULE_FILE, &error);
    ASSERT_TRUE(module) << error;
    ComPtr<IOperationManager> manager = zthost::OperationManager();
    // Large results are refused quickly instead of filling the machine's memory.
    zthost::SetBufferLimit(4u << 20);
    int runs = 0;
    for (const zthost::ClassInfo& c : module->Classes()) {
        ComPtr<IDocumentOperation> op;
        zthost::CreateInstance(c.id, IDocumentOperation::iid, op.out());
        if (!op) continue;
        ComPtr<IConfig> config;
        ASSERT_EQ(S_OK, op->ConfigCreate(manager, config.out())) << zthost::ShortNameOf(c.id);
        for (const zthost::ConfigItemInfo& item : zthost::DescribeConfig(config)) {
            std::vector<TConfigValue> values = ExtremesOf(item.defaultValue->eTypeID);
            for (TConfigValue& value : values) {
                ComPtr<IConfig> copy;
                ASSERT_EQ(S_OK, config->DuplicateCreate(copy.out()));
                const char16_t* key = item.key.c_str();
                CZTStr keyText(key);
                const char16_t* keys[] = {keyText.get()};
                copy->ItemValuesSet(1, keys, &value);
                ComPtr<IDocument> doc = SmallDocument();
                if (op->CanActivate(manager, doc, copy, nullptr) == S_OK) {
                    ComPtr<IOperationContext> context = zthost::CreateOperationContext();
                    op->Activate(manager, doc, copy, context, nullptr, LANG_ENGLISH);
                }
                ComPtr<IConfigDescriptor> descriptor = ComPtr<IConfigDescriptor>::query(op.get());
                ComPtr<ILocalizedString> name;
                if (descriptor) descriptor->Name(manager, copy, name.out());
                ++runs;
                ConfigValueClear(value);
            }
        }
    }
    zthost::SetBufferLimit(UINT64_MAX);
    EXPECT_GT(runs, 100);
}
