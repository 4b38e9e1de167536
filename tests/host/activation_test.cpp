// Host activation: host classes, modules, and class names.
#include <gtest/gtest.h>

#include <dlfcn.h>

#include <algorithm>

#include "host/registry.h"
#include "host/zthost.h"

namespace {

constexpr CLSID kFakeClass = MakeGuid("5a1e0c3b-2f7d-4e8a-9b61-0c4d7e2f8a13");
constexpr CLSID kShiftHue = MakeGuid("ce877eae-2e47-4bd2-a817-d4055adddeee");

// The one object of the fake module's one class.
class FakeTask : public IThreadedTask {
public:
    HRESULT QueryInterface(const IID& aIID, void** aOut) override {
        *aOut = FindInterface<IThreadedTask>(this, aIID);
        return *aOut ? S_OK : E_NOINTERFACE;
    }
    uint32_t AddRef() override { return 2; }
    uint32_t Release() override { return 1; }
    HRESULT Execute(uint32_t, uint32_t) override { return S_OK; }
} gFakeTask;

class FakeFactory : public IClassFactory {
public:
    HRESULT QueryInterface(const IID& aIID, void** aOut) override {
        *aOut = FindInterface<IClassFactory>(this, aIID);
        return *aOut ? S_OK : E_NOINTERFACE;
    }
    uint32_t AddRef() override { return 2; }
    uint32_t Release() override { return 1; }
    HRESULT CreateInstance(IUnknown* aOuter, const IID& aIID, void** aOut) override {
        *aOut = nullptr;
        if (aOuter) return CLASS_E_NOAGGREGATION;
        return gFakeTask.QueryInterface(aIID, aOut);
    }
    HRESULT LockServer(int32_t) override { return S_OK; }
} gFakeFactory;

ZTCreateInstanceFn gHostFunction = nullptr;

HRESULT FakeGetClassObject(const CLSID& aClassID, const IID& aIID, void** aOut) {
    *aOut = nullptr;
    if (aClassID != kFakeClass) return CLASS_E_CLASSNOTAVAILABLE;
    return gFakeFactory.QueryInterface(aIID, aOut);
}
HRESULT FakeEnumClasses(void* aContext, ZTEnumClassesFn aCallback) {
    const GUID categories[2] = {category::operation, category::colour};
    return aCallback(aContext, kFakeClass, 2, categories);
}
HRESULT FakeCanUnloadNow() { return S_FALSE; }
void FakeSetHostCreateInstance(ZTCreateInstanceFn aFunction) { gHostFunction = aFunction; }

bool IsRegistered(const CLSID& aClassID) {
    auto classes = zthost::RegisteredClasses();
    return std::any_of(classes.begin(), classes.end(), [&](const zthost::ClassInfo& c) { return c.id == aClassID; });
}

TEST(Activation, AnUnknownClassIsNotAvailableAndLeavesTheOutPointerNull) {
    void* object = reinterpret_cast<void*>(8);
    EXPECT_EQ(ZTCoCreateInstance(kFakeClass, nullptr, ZT_CREATE_CONTEXT, IUnknown::iid, &object),
              CLASS_E_CLASSNOTAVAILABLE);
    EXPECT_EQ(object, nullptr);
}

TEST(Activation, AggregationAndANullOutPointerAreRefused) {
    void* object = reinterpret_cast<void*>(8);
    EXPECT_EQ(ZTCoCreateInstance(CLSID_ThreadPool, &gFakeTask, ZT_CREATE_CONTEXT, IThreadPool::iid, &object),
              CLASS_E_NOAGGREGATION);
    EXPECT_EQ(object, nullptr);
    EXPECT_EQ(ZTCoCreateInstance(CLSID_ThreadPool, nullptr, ZT_CREATE_CONTEXT, IThreadPool::iid, nullptr), E_POINTER);
}

TEST(Activation, TheHostServicesAreThereFromTheStart) {
    EXPECT_TRUE(zthost::Create<IThreadPool>(CLSID_ThreadPool));
    EXPECT_TRUE(zthost::Create<IGammaTableCache>(CLSID_GammaTableCache));
    EXPECT_TRUE(zthost::Create<IColorNameProvider>(CLSID_ColorNameProvider));
    EXPECT_FALSE(zthost::Create<ITranslator>(CLSID_Translator));
    void* wrong = nullptr;
    EXPECT_EQ(zthost::CreateInstance(CLSID_ThreadPool, IGammaTableCache::iid, &wrong), E_NOINTERFACE);
}

TEST(Activation, ARegisteredHostClassIsCreatedUntilUnregistered) {
    zthost::RegisterHostClass(kFakeClass,
                              [](const IID& aIID, void** aOut) { return gFakeTask.QueryInterface(aIID, aOut); });
    EXPECT_EQ(zthost::Create<IThreadedTask>(kFakeClass).get(), &gFakeTask);
    zthost::UnregisterHostClass(kFakeClass);
    EXPECT_FALSE(zthost::Create<IThreadedTask>(kFakeClass));
}

TEST(Activation, TheActivationFunctionIsExportedFromTheProgram) {
    void* program = dlopen(nullptr, RTLD_NOW);
    ASSERT_NE(program, nullptr);
    EXPECT_EQ(dlsym(program, "ZTCoCreateInstance"), reinterpret_cast<void*>(&ZTCoCreateInstance));
    dlclose(program);
}

TEST(Activation, AModuleListsItsClassesAndCreatesThemWhileItIsRegistered) {
    zthost::ModuleFunctions functions;
    functions.getClassObject = FakeGetClassObject;
    functions.enumClasses = FakeEnumClasses;
    functions.canUnloadNow = FakeCanUnloadNow;
    functions.setHostCreateInstance = FakeSetHostCreateInstance;
    auto module = zthost::Module::FromFunctions(functions);
    ASSERT_TRUE(module);
    EXPECT_EQ(gHostFunction, &ZTCoCreateInstance);
    ASSERT_EQ(module->Classes().size(), 1u);
    EXPECT_EQ(module->Classes()[0].id, kFakeClass);
    EXPECT_EQ(module->Classes()[0].categories, (std::vector<GUID>{category::operation, category::colour}));
    EXPECT_TRUE(IsRegistered(kFakeClass));

    void* object = nullptr;
    EXPECT_EQ(ZTCoCreateInstance(kFakeClass, nullptr, ZT_CREATE_CONTEXT, IThreadedTask::iid, &object), S_OK);
    EXPECT_EQ(object, static_cast<IThreadedTask*>(&gFakeTask));

    module.reset();
    EXPECT_FALSE(IsRegistered(kFakeClass));
    EXPECT_EQ(zthost::CreateInstance(kFakeClass, IThreadedTask::iid, &object), CLASS_E_CLASSNOTAVAILABLE);
}

TEST(Activation, LoadingAMissingFileNamesTheFile) {
    std::string error;
    EXPECT_FALSE(zthost::Module::Load("/nonexistent/libNothing.so", &error));
    EXPECT_NE(error.find("/nonexistent/libNothing.so"), std::string::npos) << error;
}

TEST(Activation, LoadingALibraryWithoutEntryPointsNamesTheEntryPoint) {
    std::string error;
    EXPECT_FALSE(zthost::Module::Load("libm.so.6", &error));
    EXPECT_NE(error.find("libm.so.6"), std::string::npos) << error;
    EXPECT_NE(error.find("DllGetClassObject"), std::string::npos) << error;
}

TEST(Activation, ClassIdFromNameTakesShortNamesInAnyCase) {
    CLSID id{};
    ASSERT_TRUE(zthost::ClassIdFromName("shifthue", &id));
    EXPECT_EQ(id, kShiftHue);
    ASSERT_TRUE(zthost::ClassIdFromName("SHIFTHUE", &id));
    EXPECT_EQ(id, kShiftHue);
    ASSERT_TRUE(zthost::ClassIdFromName("LongShadow", &id));
    EXPECT_EQ(id, MakeGuid("6c85431b-87f2-4d07-8a1d-fdea836165ba"));
    ASSERT_TRUE(zthost::ClassIdFromName("polartransformation", &id));
    EXPECT_EQ(id, MakeGuid("46f6ecdf-1b48-494c-a27d-4a50020f3959"));
    ASSERT_TRUE(zthost::ClassIdFromName("ContourGradient", &id));
    EXPECT_EQ(id, MakeGuid("20f5be48-08d2-4b8f-8dfc-5de8576e1a3f"));
}

TEST(Activation, ClassIdFromNameTakesFullNamesAndClassIdTexts) {
    const CLSID blur = MakeGuid("4dd76d14-45a2-4fe5-9870-0dc94a53df75");
    CLSID id{};
    ASSERT_TRUE(zthost::ClassIdFromName("CDocumentOperationRasterImageBlur", &id));
    EXPECT_EQ(id, blur);
    ASSERT_TRUE(zthost::ClassIdFromName("{4DD76D14-45A2-4FE5-9870-0DC94A53DF75}", &id));
    EXPECT_EQ(id, blur);
    ASSERT_TRUE(zthost::ClassIdFromName("5a1e0c3b-2f7d-4e8a-9b61-0c4d7e2f8a13", &id));
    EXPECT_EQ(id, kFakeClass);
    EXPECT_FALSE(zthost::ClassIdFromName("Sharpen", &id));
    EXPECT_FALSE(zthost::ClassIdFromName("", &id));
}

TEST(Activation, ShortNamesDropTheLongestPrefix) {
    EXPECT_EQ(zthost::ClassNameOf(kShiftHue), "CDocumentOperationRasterImageShiftHue");
    EXPECT_EQ(zthost::ShortNameOf(kShiftHue), "ShiftHue");
    EXPECT_EQ(zthost::ShortNameOf(MakeGuid("6c85431b-87f2-4d07-8a1d-fdea836165ba")), "LongShadow");
    EXPECT_EQ(zthost::ShortNameOf(MakeGuid("bc29f53a-6940-4c6d-abc9-ebe5536d07ed")), "Bevel");
    EXPECT_EQ(zthost::ShortNameOf(MakeGuid("7d22d397-d956-491e-9b55-652021dd6bac")), "CTransformHelperTransform");
    EXPECT_EQ(zthost::ShortNameOf(MakeGuid("3c18a690-5565-41d6-90af-4da75dedd2f3")), "ProjectedShadow");
    EXPECT_EQ(zthost::ClassNameOf(kFakeClass), "");
    EXPECT_EQ(zthost::ShortNameOf(kFakeClass), "");
}

TEST(Activation, TextOfReadsALocalisedStringAsUtf8) {
    ComPtr<ILocalizedString> name;
    zthost::Create<IColorNameProvider>(CLSID_ColorNameProvider)->ColorName(0xFF00FFFF, name.out());
    EXPECT_EQ(zthost::TextOf(name, LANG_CZECH), "Žlutá");
    EXPECT_EQ(zthost::TextOf(nullptr, LANG_CZECH), "");
}

}  // namespace
