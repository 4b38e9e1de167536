// Automation on this platform: the dispatch interface, the 16-byte tagged value its arguments
// come in, the one routine that converts tagged values, and the type library as data, from
// which one generic dispatcher answers GetIDsOfNames and Invoke for every scripted object.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "frame/unknown.h"
#include "frame/ztstr.h"

// ---- the tagged value

enum EVarType : uint16_t {
    VT_EMPTY = 0,
    VT_NULL = 1,
    VT_I2 = 2,
    VT_I4 = 3,
    VT_R4 = 4,
    VT_R8 = 5,
    VT_BSTR = 8,
    VT_DISPATCH = 9,
    VT_ERROR = 10,  // with DISP_E_PARAMNOTFOUND: an optional parameter left out
    VT_BOOL = 11,   // -1 true, 0 false
    VT_VARIANT = 12,
    VT_UNKNOWN = 13,
    VT_I1 = 16,
    VT_UI1 = 17,
    VT_UI2 = 18,
    VT_UI4 = 19,
    VT_INT = 22,
    VT_UINT = 23,
};

struct IDispatch;

struct TVariant {
    uint16_t vt;
    uint16_t reserved1, reserved2, reserved3;
    union {
        int8_t cVal;
        uint8_t bVal;
        int16_t iVal;
        uint16_t uiVal;
        int32_t lVal;
        uint32_t ulVal;
        int32_t intVal;
        uint32_t uintVal;
        float fltVal;
        double dblVal;
        int16_t boolVal;
        HRESULT scode;
        ZTBSTR bstrVal;
        IUnknown* punkVal;
        IDispatch* pdispVal;
        TVariant* pvarVal;  // VT_VARIANT: a reference to another value
    };
};
static_assert(sizeof(TVariant) == 16, "a tagged value is 16 bytes");

// Dispatch results.
constexpr HRESULT DISP_E_MEMBERNOTFOUND = HRESULT(0x80020003);
constexpr HRESULT DISP_E_PARAMNOTFOUND = HRESULT(0x80020004);
constexpr HRESULT DISP_E_TYPEMISMATCH = HRESULT(0x80020005);
constexpr HRESULT DISP_E_UNKNOWNNAME = HRESULT(0x80020006);
constexpr HRESULT DISP_E_BADVARTYPE = HRESULT(0x80020008);
constexpr HRESULT DISP_E_OVERFLOW = HRESULT(0x8002000A);
constexpr HRESULT DISP_E_BADPARAMCOUNT = HRESULT(0x8002000E);
constexpr HRESULT DISP_E_PARAMNOTOPTIONAL = HRESULT(0x8002000F);

// Invoke's flags.
constexpr uint16_t DISPATCH_METHOD = 1;
constexpr uint16_t DISPATCH_PROPERTYGET = 2;
constexpr uint16_t DISPATCH_PROPERTYPUT = 4;
// The named argument that carries the value of a property put.
constexpr int32_t DISPID_PROPERTYPUT = -3;
constexpr int32_t DISPID_UNKNOWN = -1;

struct TDispParams {
    TVariant* args;  // reversed: the last argument first
    int32_t* namedIds;
    uint32_t count;
    uint32_t namedCount;
};

struct IDispatch : IUnknown {
    ZT_IID("00020400-0000-0000-c000-000000000046");
    virtual HRESULT GetTypeInfoCount(uint32_t* aCount) = 0;
    virtual HRESULT GetTypeInfo(uint32_t aIndex, uint32_t aLocale, void** aInfo) = 0;
    virtual HRESULT GetIDsOfNames(const IID& aIID, const char16_t* const* aNames, uint32_t aCount, uint32_t aLocale,
                                  int32_t* aIds) = 0;
    virtual HRESULT Invoke(int32_t aId, const IID& aIID, uint32_t aLocale, uint16_t aFlags, TDispParams* aParams,
                           TVariant* aResult, void* aException, uint32_t* aArgError) = 0;
};

namespace zt {

TVariant VariantEmpty();
// Frees what the value owns (a string, a reference) and leaves it empty.
void VariantClear(TVariant& aValue);
// A deep copy: strings are copied, references added.
HRESULT VariantCopy(const TVariant& aFrom, TVariant* aTo);

// Owns one tagged value.
class CVariant {
public:
    CVariant() : v_(VariantEmpty()) {}
    CVariant(const CVariant&) = delete;
    CVariant& operator=(const CVariant&) = delete;
    CVariant(CVariant&& aOther) noexcept : v_(aOther.v_) { aOther.v_ = VariantEmpty(); }
    ~CVariant() { VariantClear(v_); }
    TVariant* out() {
        VariantClear(v_);
        return &v_;
    }
    const TVariant& Raw() const { return v_; }
    TVariant& Raw() { return v_; }

private:
    TVariant v_;
};

// The one conversion between tagged values: aFrom (a reference to a variant followed) to
// aType. Numbers convert among themselves with a range check (DISP_E_OVERFLOW; floats to
// integers round half to even, as automation does), to and from strings by their decimal
// text, booleans to -1 and 0; empty is 0, "" or false; a dispatch or unknown reference
// converts to either of the two. Anything else is DISP_E_TYPEMISMATCH.
HRESULT VariantConvert(const TVariant& aFrom, uint16_t aType, TVariant* aTo);

// Makers of tagged values.
TVariant VariantOf(int32_t aValue);
TVariant VariantOfUnsigned(uint32_t aValue);
TVariant VariantOf(float aValue);
TVariant VariantOf(bool aValue);
TVariant VariantOfString(std::u16string_view aText);  // the value owns a copy
TVariant VariantOf(IDispatch* aObject);               // adds a reference

// ---- the type library as data

enum class EMemberKind : uint8_t {
    method,
    propertyGet,     // read-only property
    propertyGetPut,  // read and write
};

struct STypeParam {
    const char16_t* name;
    uint16_t type;  // VT_VARIANT: any value, passed as it came
    bool optional;
};

struct STypeMember {
    const char16_t* name;
    int32_t id;
    EMemberKind kind;
    uint16_t result;  // VT_EMPTY: none
    std::vector<STypeParam> params;
};

struct SInterfaceType {
    const char16_t* name;
    IID iid;
    std::vector<STypeMember> members;
    const STypeMember* Find(int32_t aId) const;
    const STypeMember* Find(std::u16string_view aName) const;  // letter case aside
};

struct STypeLibrary {
    GUID id;
    const char16_t* name;
    const char16_t* text;
    GUID application;
    std::vector<const SInterfaceType*> interfaces;
};

// ---- the generic dispatcher

// One call as the dispatcher hands it to an object: the member, the arguments converted to
// their declared types in declared order (an omitted optional one is VT_ERROR with
// DISP_E_PARAMNOTFOUND), whether it is a put, and the result slot (null when the caller wants none).
struct SInvocation {
    const STypeMember& member;
    std::vector<CVariant> args;
    bool put;
    TVariant* result;
};

// Fills aIds by the member names (null-terminated; the first name) and DISPID_UNKNOWN for names it lacks;
// DISP_E_UNKNOWNNAME when any is unknown. Parameter names after the first are not named
// arguments here: they are answered with DISPID_UNKNOWN too.
HRESULT DispatchIDsOfNames(const SInterfaceType& aType, const char16_t* const* aNames, uint32_t aCount, int32_t* aIds);

// Checks the call against the member (kind and flags, argument count, optional parameters),
// converts the arguments and hands the call to aCall. The result is converted to the member's
// result type. Errors: DISP_E_MEMBERNOTFOUND for an unknown id or a kind the flags do not
// allow, DISP_E_BADPARAMCOUNT, DISP_E_PARAMNOTOPTIONAL, DISP_E_TYPEMISMATCH or DISP_E_OVERFLOW
// with aArgError naming the argument (its position as the caller counts it, reversed).
template <class F>
HRESULT DispatchInvoke(const SInterfaceType& aType, int32_t aId, uint16_t aFlags, const TDispParams* aParams,
                       TVariant* aResult, uint32_t* aArgError, F&& aCall);

// A member's implementation in an object of class T, bound to the member by its dispatch id:
// objects keep a table of these instead of a switch over the members.
template <class T>
struct SMemberBinding {
    int32_t id;
    HRESULT (*call)(T& aObject, SInvocation& aCall);
};

// Calls the binding of the invocation's member; DISP_E_MEMBERNOTFOUND without one.
template <class T, size_t N>
HRESULT CallBinding(const SMemberBinding<T> (&aBindings)[N], T& aObject, SInvocation& aCall) {
    for (const SMemberBinding<T>& b : aBindings)
        if (b.id == aCall.member.id) return b.call(aObject, aCall);
    return DISP_E_MEMBERNOTFOUND;
}

// Hands a value to the caller's result slot, or frees it when the caller wants none.
inline void GiveResult(SInvocation& aCall, TVariant aValue) {
    if (aCall.result)
        *aCall.result = aValue;
    else
        VariantClear(aValue);
}

// The checking and converting half of DispatchInvoke.
HRESULT PrepareInvocation(const SInterfaceType& aType, int32_t aId, uint16_t aFlags, const TDispParams* aParams,
                          uint32_t* aArgError, const STypeMember** aMember, std::vector<CVariant>* aArgs, bool* aPut);

template <class F>
HRESULT DispatchInvoke(const SInterfaceType& aType, int32_t aId, uint16_t aFlags, const TDispParams* aParams,
                       TVariant* aResult, uint32_t* aArgError, F&& aCall) {
    const STypeMember* member = nullptr;
    std::vector<CVariant> args;
    bool put = false;
    HRESULT hr = PrepareInvocation(aType, aId, aFlags, aParams, aArgError, &member, &args, &put);
    if (FAILED(hr)) return hr;
    CVariant result;
    SInvocation call{*member, std::move(args), put, result.out()};
    hr = aCall(call);
    if (FAILED(hr) || !aResult || member->result == VT_EMPTY || put) return hr;
    const HRESULT converted = VariantConvert(result.Raw(), member->result, aResult);
    return FAILED(converted) ? converted : hr;
}

}  // namespace zt
