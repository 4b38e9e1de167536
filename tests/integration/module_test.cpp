// The module as a host sees it: loaded with dlopen, reached only through its entry points.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "host/zthost.h"

namespace {

constexpr CLSID kShiftHue = MakeGuid("ce877eae-2e47-4bd2-a817-d4055adddeee");

std::shared_ptr<zthost::Module> LoadModule() {
    std::string error;
    auto module = zthost::Module::Load(ZT_MODULE_FILE, &error);
    EXPECT_TRUE(module) << error;
    return module;
}

}  // namespace

TEST(ModuleLoading, ExportsOnlyTheEntryPoints) {
    void* handle = dlopen(ZT_MODULE_FILE, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(nullptr, handle) << dlerror();
    for (const char* name : {"DllGetClassObject", "DllEnumClasses", "DllCanUnloadNow", "DllRegisterServer",
                             "DllUnregisterServer", "ZTSetHostCreateInstance"})
        EXPECT_NE(nullptr, dlsym(handle, name)) << name;
    // Internals stay hidden.
    EXPECT_EQ(nullptr, dlsym(handle, "_ZN2zt11ModuleLockEv"));
    auto registerServer = reinterpret_cast<HRESULT (*)()>(dlsym(handle, "DllRegisterServer"));
    EXPECT_EQ(S_OK, registerServer());
    dlclose(handle);
}

TEST(ModuleLoading, EnumeratesShiftHueWithItsCategories) {
    auto module = LoadModule();
    ASSERT_TRUE(module);
    const auto& classes = module->Classes();
    auto it =
        std::find_if(classes.begin(), classes.end(), [](const zthost::ClassInfo& c) { return c.id == kShiftHue; });
    ASSERT_NE(classes.end(), it);
    EXPECT_EQ((std::vector<GUID>{category::operation, category::colour}), it->categories);
}

TEST(ModuleLoading, UnknownClassIsNotAvailable) {
    auto module = LoadModule();
    void* out = reinterpret_cast<void*>(1);
    EXPECT_EQ(CLASS_E_CLASSNOTAVAILABLE,
              module->GetClassObject(MakeGuid("00000000-1111-2222-3333-444444444444"), IClassFactory::iid, &out));
    EXPECT_EQ(nullptr, out);
    EXPECT_EQ(E_POINTER, module->GetClassObject(kShiftHue, IClassFactory::iid, nullptr));
}

TEST(ModuleLoading, ShiftHueSingletonRunsOnAHostDocumentAndTheModuleCanUnloadAfterRelease) {
    auto module = LoadModule();
    ASSERT_TRUE(module);
    {
        ComPtr<IClassFactory> factory;
        ASSERT_EQ(S_OK, module->GetClassObject(kShiftHue, IClassFactory::iid, factory.out()));
        ComPtr<IDocumentOperation> first, second;
        ASSERT_EQ(S_OK, factory->CreateInstance(nullptr, IDocumentOperation::iid, first.out()));
        ASSERT_EQ(S_OK, factory->CreateInstance(nullptr, IDocumentOperation::iid, second.out()));
        EXPECT_EQ(first.get(), second.get());
        EXPECT_EQ(S_FALSE, module->CanUnloadNow());

        std::vector<TPixelChannel> pixels(3);
        pixels[0].n = 0xFFFF0000u;
        pixels[1].n = 0xFF00FF00u;
        pixels[2].n = 0x7F0000FFu;
        zthost::RasterImageInit init;
        init.canvas = {3, 1};
        init.contentSize = {3, 1};
        init.pixels = pixels.data();
        ComPtr<IDocument> doc = zthost::CreateRasterDocument(init);
        ComPtr<IConfig> config;
        ASSERT_EQ(S_OK, first->ConfigCreate(zthost::OperationManager(), config.out()));
        std::string error;
        ASSERT_EQ(S_OK, zthost::ConfigSetFromString(config, "Angle", "120", &error)) << error;
        ASSERT_EQ(S_OK, first->CanActivate(zthost::OperationManager(), doc, config, nullptr));
        ASSERT_EQ(S_OK, first->Activate(zthost::OperationManager(), doc, config, zthost::CreateOperationContext(),
                                        nullptr, LANG_ENGLISH));
        zthost::RasterImageState s;
        ASSERT_TRUE(zthost::InspectRasterDocument(doc, &s));
        EXPECT_EQ(0xFF00FF00u, s.content[0].n);
        EXPECT_EQ(0xFF0000FFu, s.content[1].n);
        EXPECT_EQ(0x7FFF0000u, s.content[2].n);
        EXPECT_EQ(255u + 255u + 127u, s.lastAlphaTotal);
    }
    EXPECT_EQ(S_OK, module->CanUnloadNow());
}

TEST(ModuleLoading, ModuleReachesHostServicesThroughTheActivationFunction) {
    // The configuration comes from the host's builder, which the module can only reach
    // through ZTCoCreateInstance.
    auto module = LoadModule();
    ComPtr<IDocumentOperation> op;
    ASSERT_EQ(S_OK, zthost::CreateInstance(kShiftHue, IDocumentOperation::iid, op.out()));
    ComPtr<IConfig> config;
    ASSERT_EQ(S_OK, op->ConfigCreate(zthost::OperationManager(), config.out()));
    EXPECT_EQ(1u, zthost::DescribeConfig(config).size());
}
