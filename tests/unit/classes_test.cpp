#include <gtest/gtest.h>

#include <vector>

#include "frame/class_table.h"
#include "operations/colour/shift_hue.h"

using namespace zt;

namespace {

constexpr CLSID kOkClass = MakeGuid("11111111-0000-0000-0000-000000000001");
constexpr CLSID kFailingClass = MakeGuid("11111111-0000-0000-0000-000000000002");
constexpr CLSID kPlainClass = MakeGuid("11111111-0000-0000-0000-000000000003");
constexpr CLSID kWeakClass = MakeGuid("11111111-0000-0000-0000-000000000004");
constexpr CLSID kUnknownClass = MakeGuid("11111111-0000-0000-0000-0000000000ff");

struct ITestObject : IUnknown {
    ZT_IID("11111111-0000-0000-0000-0000000000aa");
    virtual int Value() = 0;
};

struct CTestObject : ITestObject {
    void* FindInterfaceImpl(const IID& aIID) { return FindInterface<ITestObject>(this, aIID); }
    int Value() override { return 7; }
};

int g_failingConstructions = 0;
struct CFailingObject : CTestObject {
    HRESULT FinalConstruct() {
        ++g_failingConstructions;
        return E_FAIL;
    }
};

template <class T>
std::atomic<CFactoryBase*> g_slot{nullptr};

const GUID kIds[17] = {
    MakeGuid("22222222-0000-0000-0000-000000000000"), MakeGuid("22222222-0000-0000-0000-000000000001"),
    MakeGuid("22222222-0000-0000-0000-000000000002"), MakeGuid("22222222-0000-0000-0000-000000000003"),
    MakeGuid("22222222-0000-0000-0000-000000000004"), MakeGuid("22222222-0000-0000-0000-000000000005"),
    MakeGuid("22222222-0000-0000-0000-000000000006"), MakeGuid("22222222-0000-0000-0000-000000000007"),
    MakeGuid("22222222-0000-0000-0000-000000000008"), MakeGuid("22222222-0000-0000-0000-000000000009"),
    MakeGuid("22222222-0000-0000-0000-00000000000a"), MakeGuid("22222222-0000-0000-0000-00000000000b"),
    MakeGuid("22222222-0000-0000-0000-00000000000c"), MakeGuid("22222222-0000-0000-0000-00000000000d"),
    MakeGuid("22222222-0000-0000-0000-00000000000e"), MakeGuid("22222222-0000-0000-0000-00000000000f"),
    MakeGuid("22222222-0000-0000-0000-000000000010")};

const SCategoryEntry* SeventeenCategories() {
    static SCategoryEntry map[18];
    for (int i = 0; i < 17; ++i) map[i] = {1, &kIds[i]};
    map[17] = {0, nullptr};
    return map;
}
const SCategoryEntry* NoCategories() {
    static const SCategoryEntry map[] = {{0, nullptr}};
    return map;
}

const SClassEntry kTable[] = {
    {&kOkClass, nullptr, &CComClassFactorySingleton<CTestObject>::Get, nullptr, &g_slot<CTestObject>, nullptr,
     &SeventeenCategories, nullptr},
    {&kFailingClass, nullptr, &CComClassFactorySingleton<CFailingObject>::Get, nullptr, &g_slot<CFailingObject>,
     nullptr, &NoCategories, nullptr},
    {&kPlainClass, nullptr, &CComClassFactory<CTestObject>::Get, nullptr, &g_slot<CComClassFactory<CTestObject>>,
     nullptr, nullptr, nullptr},
    {&kWeakClass, nullptr, &CComClassFactoryWeakSingleton<CTestObject>::Get, nullptr,
     &g_slot<CComClassFactoryWeakSingleton<CTestObject>>, nullptr, nullptr, nullptr},
};

ComPtr<ITestObject> Make(const CLSID& aClass, HRESULT* aResult = nullptr) {
    ComPtr<IClassFactory> factory;
    HRESULT hr = GetClassObjectFrom(kTable, std::size(kTable), aClass, IClassFactory::iid, factory.out());
    ComPtr<ITestObject> object;
    if (SUCCEEDED(hr)) hr = factory->CreateInstance(nullptr, ITestObject::iid, object.out());
    if (aResult) *aResult = hr;
    return object;
}

struct SEnumerated {
    CLSID id;
    std::vector<GUID> categories;
};

HRESULT Collect(void* aContext, const CLSID& aClass, uint32_t aCount, const GUID* aCategories) {
    static_cast<std::vector<SEnumerated>*>(aContext)->push_back({aClass, {aCategories, aCategories + aCount}});
    return S_OK;
}

}  // namespace

TEST(ClassTable, ClassWithMoreThanSixteenCategoriesIsListedWithItsFirstSixteen) {
    std::vector<SEnumerated> seen;
    ASSERT_EQ(S_OK, EnumClassesFrom(kTable, std::size(kTable), &seen, &Collect));
    ASSERT_EQ(4u, seen.size());
    ASSERT_EQ(16u, seen[0].categories.size());
    for (int i = 0; i < 16; ++i) EXPECT_EQ(kIds[i], seen[0].categories[i]);
}

TEST(ClassTable, ClassWithEmptyCategoryMapIsListedWithCountZero) {
    std::vector<SEnumerated> seen;
    EnumClassesFrom(kTable, std::size(kTable), &seen, &Collect);
    EXPECT_EQ(kFailingClass, seen[1].id);
    EXPECT_TRUE(seen[1].categories.empty());
    EXPECT_TRUE(seen[2].categories.empty());  // no map at all
}

TEST(ClassTable, FailingCallbackEndsTheEnumerationWithItsResult) {
    int calls = 0;
    struct S {
        static HRESULT Fail(void* aContext, const CLSID&, uint32_t, const GUID*) {
            ++*static_cast<int*>(aContext);
            return static_cast<HRESULT>(0x80004004u);
        }
    };
    EXPECT_EQ(static_cast<HRESULT>(0x80004004u), EnumClassesFrom(kTable, std::size(kTable), &calls, &S::Fail));
    EXPECT_EQ(1, calls);
    EXPECT_EQ(E_POINTER, EnumClassesFrom(kTable, std::size(kTable), nullptr, nullptr));
}

TEST(ClassTable, SecondRequestForASingletonReturnsTheSameObject) {
    ComPtr<ITestObject> a = Make(kOkClass), b = Make(kOkClass);
    ASSERT_TRUE(a);
    EXPECT_EQ(a.get(), b.get());
    EXPECT_EQ(7, a->Value());
}

TEST(ClassTable, FailedSingletonCreationIsStoredAndNotRetried) {
    HRESULT first = S_OK, second = S_OK;
    EXPECT_FALSE(Make(kFailingClass, &first));
    EXPECT_FALSE(Make(kFailingClass, &second));
    EXPECT_EQ(E_FAIL, first);
    EXPECT_EQ(E_FAIL, second);
    EXPECT_EQ(1, g_failingConstructions);
}

TEST(ClassTable, PlainFactoryMakesANewObjectPerRequest) {
    ComPtr<ITestObject> a = Make(kPlainClass), b = Make(kPlainClass);
    ASSERT_TRUE(a && b);
    EXPECT_NE(a.get(), b.get());
}

TEST(ClassTable, WeakSingletonLivesOnlyWhileHeld) {
    const long before = ModuleLockCount();
    ComPtr<ITestObject> a = Make(kWeakClass), b = Make(kWeakClass);
    ASSERT_TRUE(a);
    EXPECT_EQ(a.get(), b.get());
    EXPECT_GT(ModuleLockCount(), before);
    a.reset();
    b.reset();
    EXPECT_EQ(before, ModuleLockCount());
    EXPECT_TRUE(Make(kWeakClass));  // made anew
}

TEST(ClassTable, UnknownClassAndNullOut) {
    void* out = reinterpret_cast<void*>(1);
    EXPECT_EQ(CLASS_E_CLASSNOTAVAILABLE,
              GetClassObjectFrom(kTable, std::size(kTable), kUnknownClass, IClassFactory::iid, &out));
    EXPECT_EQ(nullptr, out);
    EXPECT_EQ(E_POINTER, GetClassObjectFrom(kTable, std::size(kTable), kOkClass, IClassFactory::iid, nullptr));
}

TEST(ClassTable, SingletonRefusesAggregation) {
    ComPtr<IClassFactory> factory;
    GetClassObjectFrom(kTable, std::size(kTable), kOkClass, IClassFactory::iid, factory.out());
    void* out = nullptr;
    IUnknown* outer = factory.get();
    EXPECT_EQ(CLASS_E_NOAGGREGATION, factory->CreateInstance(outer, ITestObject::iid, &out));
    EXPECT_EQ(nullptr, out);
}

TEST(ClassTable, ReferencesHoldTheModule) {
    const long before = ModuleLockCount();
    {
        ComPtr<ITestObject> a = Make(kOkClass);
        EXPECT_GT(ModuleLockCount(), before);
    }
    EXPECT_EQ(before, ModuleLockCount());
}

TEST(ClassTable, ModuleTableListsShiftHueWithItsCategories) {
    std::vector<SEnumerated> seen;
    ASSERT_EQ(S_OK, DllEnumClasses(&seen, &Collect));
    auto it = std::find_if(seen.begin(), seen.end(),
                           [](const SEnumerated& e) { return e.id == CDocumentOperationRasterImageShiftHue::classId; });
    ASSERT_NE(seen.end(), it);
    EXPECT_EQ((std::vector<GUID>{category::operation, category::colour}), it->categories);
}
