// The operation context of a run.
#include <gtest/gtest.h>

#include "host/operation_context.h"
#include "host/zthost.h"

namespace {

// A state object of some kind: a colour's name will do.
ComPtr<ILocalizedString> SomeObject() {
    ComPtr<ILocalizedString> name;
    zthost::Create<IColorNameProvider>(CLSID_ColorNameProvider)->ColorName(0xFF0000FF, name.out());
    return name;
}

TEST(OperationContext, AStateIsFoundByNameAndAskedForTheInterface) {
    auto context = zthost::CreateOperationContext();
    auto object = SomeObject();
    ASSERT_EQ(context->StateSet(u"IMAGEMASK", object), S_OK);
    ComPtr<ILocalizedString> found;
    ASSERT_EQ(context->StateGet(u"IMAGEMASK", ILocalizedString::iid, found.out()), S_OK);
    EXPECT_EQ(found.get(), object.get());
    void* other = nullptr;
    EXPECT_EQ(context->StateGet(u"IMAGEMASK", IThreadPool::iid, &other), E_NOINTERFACE);
    EXPECT_EQ(other, nullptr);
}

TEST(OperationContext, AMissingStateIsItemNotFoundWithNullOut) {
    auto context = zthost::CreateOperationContext();
    void* state = reinterpret_cast<void*>(8);
    EXPECT_EQ(context->StateGet(u"IMAGEMASK", IUnknown::iid, &state), E_HOST_ITEM_NOT_FOUND);
    EXPECT_EQ(state, nullptr);
}

TEST(OperationContext, SettingANullStateRemovesIt) {
    auto context = zthost::CreateOperationContext();
    ASSERT_EQ(context->StateSet(u"A", SomeObject()), S_OK);
    ASSERT_EQ(context->StateSet(u"B", SomeObject()), S_OK);
    EXPECT_EQ(context->StateSet(u"A", nullptr), S_OK);
    ComPtr<IUnknown> state;
    EXPECT_EQ(context->StateGet(u"A", IUnknown::iid, state.out()), E_HOST_ITEM_NOT_FOUND);
    EXPECT_EQ(context->StateGet(u"B", IUnknown::iid, state.out()), S_OK);
    EXPECT_EQ(context->StateSet(u"never set", nullptr), S_OK);
}

TEST(OperationContext, ARunGoesOnUntilTheHostCancelsIt) {
    auto context = zthost::CreateOperationContext();
    EXPECT_EQ(context->IsCancelled(), S_FALSE);
    EXPECT_TRUE(zthost::CancelOperation(context));
    EXPECT_EQ(context->IsCancelled(), S_OK);
}

TEST(OperationContext, OperationInfoIsZeroAndTakesNullPointers) {
    auto context = zthost::CreateOperationContext();
    uint32_t item = 9, remaining = 9, step = 9;
    EXPECT_EQ(context->GetOperationInfo(&item, &remaining, &step, nullptr), S_OK);
    EXPECT_EQ(item, 0u);
    EXPECT_EQ(remaining, 0u);
    EXPECT_EQ(step, 0u);
}

TEST(OperationContext, TheHostReadsTheLastErrorMessage) {
    auto context = zthost::CreateOperationContext();
    EXPECT_FALSE(zthost::LastErrorMessage(context));
    auto message = SomeObject();
    EXPECT_EQ(context->SetErrorMessage(message), S_OK);
    EXPECT_EQ(zthost::TextOf(zthost::LastErrorMessage(context), LANG_ENGLISH), "Red");
    EXPECT_FALSE(zthost::LastErrorMessage(nullptr));
}

}  // namespace
