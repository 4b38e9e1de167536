#include "frame/automation.h"

#include <charconv>
#include <cmath>
#include <limits>

namespace zt {

TVariant VariantEmpty() {
    TVariant v{};
    v.vt = VT_EMPTY;
    return v;
}

void VariantClear(TVariant& aValue) {
    if (aValue.vt == VT_BSTR) ZTStrFree(aValue.bstrVal);
    if ((aValue.vt == VT_DISPATCH || aValue.vt == VT_UNKNOWN) && aValue.punkVal) aValue.punkVal->Release();
    aValue = VariantEmpty();
}

HRESULT VariantCopy(const TVariant& aFrom, TVariant* aTo) {
    TVariant copy = aFrom;
    if (aFrom.vt == VT_BSTR && aFrom.bstrVal) {
        copy.bstrVal = ZTStrAlloc(ZTStrView(aFrom.bstrVal));
        if (!copy.bstrVal) return E_OUTOFMEMORY;
    }
    if ((aFrom.vt == VT_DISPATCH || aFrom.vt == VT_UNKNOWN) && aFrom.punkVal) aFrom.punkVal->AddRef();
    VariantClear(*aTo);
    *aTo = copy;
    return S_OK;
}

TVariant VariantOf(int32_t aValue) {
    TVariant v = VariantEmpty();
    v.vt = VT_I4;
    v.lVal = aValue;
    return v;
}
TVariant VariantOfUnsigned(uint32_t aValue) {
    TVariant v = VariantEmpty();
    v.vt = VT_UI4;
    v.ulVal = aValue;
    return v;
}
TVariant VariantOf(float aValue) {
    TVariant v = VariantEmpty();
    v.vt = VT_R4;
    v.fltVal = aValue;
    return v;
}
TVariant VariantOf(bool aValue) {
    TVariant v = VariantEmpty();
    v.vt = VT_BOOL;
    v.boolVal = aValue ? -1 : 0;
    return v;
}
TVariant VariantOfString(std::u16string_view aText) {
    TVariant v = VariantEmpty();
    v.vt = VT_BSTR;
    v.bstrVal = ZTStrAlloc(aText);
    return v;
}
TVariant VariantOf(IDispatch* aObject) {
    TVariant v = VariantEmpty();
    v.vt = VT_DISPATCH;
    v.pdispVal = aObject;
    if (aObject) aObject->AddRef();
    return v;
}

namespace {

// A number of the source as a double, and whether it was one.
bool NumberOf(const TVariant& aValue, double* aNumber) {
    switch (aValue.vt) {
        case VT_EMPTY: *aNumber = 0; return true;
        case VT_I1: *aNumber = aValue.cVal; return true;
        case VT_UI1: *aNumber = aValue.bVal; return true;
        case VT_I2: *aNumber = aValue.iVal; return true;
        case VT_UI2: *aNumber = aValue.uiVal; return true;
        case VT_I4:
        case VT_INT: *aNumber = aValue.lVal; return true;
        case VT_UI4:
        case VT_UINT: *aNumber = aValue.ulVal; return true;
        case VT_R4: *aNumber = aValue.fltVal; return true;
        case VT_R8: *aNumber = aValue.dblVal; return true;
        case VT_BOOL: *aNumber = aValue.boolVal ? -1 : 0; return true;
        default: return false;
    }
}

// Decimal text to a number; blanks around it are passed over.
bool ParseNumber(std::u16string_view aText, double* aNumber) {
    std::string narrow;
    for (char16_t c : aText) {
        if (c >= 128) return false;
        narrow += char(c);
    }
    const size_t first = narrow.find_first_not_of(" \t"), last = narrow.find_last_not_of(" \t");
    if (first == std::string::npos) return false;
    const char* begin = narrow.data() + first + (narrow[first] == '+' ? 1 : 0);
    const char* end = narrow.data() + last + 1;
    const auto [stop, error] = std::from_chars(begin, end, *aNumber);
    return error == std::errc() && stop == end;
}

std::u16string TextOf(double aValue, bool aSingle) {
    char text[40];
    const auto [end, error] = aSingle ? std::to_chars(text, text + sizeof text, float(aValue))
                                      : std::to_chars(text, text + sizeof text, aValue);
    return error == std::errc() ? std::u16string(text, end) : std::u16string();
}

bool IsInteger(uint16_t aType) {
    switch (aType) {
        case VT_I1:
        case VT_UI1:
        case VT_I2:
        case VT_UI2:
        case VT_I4:
        case VT_UI4:
        case VT_INT:
        case VT_UINT: return true;
        default: return false;
    }
}

// A double into an integer type: rounded half to even, DISP_E_OVERFLOW out of its range.
HRESULT ToInteger(double aValue, uint16_t aType, TVariant* aOut) {
    const double r = std::nearbyint(aValue);
    double lo = 0, hi = 0;
    switch (aType) {
        case VT_I1: lo = -128, hi = 127; break;
        case VT_UI1: lo = 0, hi = 255; break;
        case VT_I2: lo = -32768, hi = 32767; break;
        case VT_UI2: lo = 0, hi = 65535; break;
        case VT_I4:
        case VT_INT: lo = -2147483648.0, hi = 2147483647.0; break;
        default: lo = 0, hi = 4294967295.0; break;
    }
    if (!(r >= lo && r <= hi)) return DISP_E_OVERFLOW;
    TVariant v = VariantEmpty();
    v.vt = aType;
    switch (aType) {
        case VT_I1: v.cVal = int8_t(r); break;
        case VT_UI1: v.bVal = uint8_t(r); break;
        case VT_I2: v.iVal = int16_t(r); break;
        case VT_UI2: v.uiVal = uint16_t(r); break;
        case VT_I4:
        case VT_INT: v.lVal = int32_t(r); break;
        default: v.ulVal = uint32_t(r); break;
    }
    *aOut = v;
    return S_OK;
}

}  // namespace

HRESULT VariantConvert(const TVariant& aFrom, uint16_t aType, TVariant* aTo) {
    if (!aTo) return E_POINTER;
    const TVariant& from = aFrom.vt == VT_VARIANT && aFrom.pvarVal ? *aFrom.pvarVal : aFrom;
    if (aType == VT_VARIANT || from.vt == aType) return VariantCopy(from, aTo);
    TVariant out = VariantEmpty();
    double number = 0;
    const bool isNumber = NumberOf(from, &number);
    switch (aType) {
        case VT_EMPTY: break;
        case VT_R4:
        case VT_R8:
            if (!isNumber && !(from.vt == VT_BSTR && ParseNumber(ZTStrView(from.bstrVal), &number)))
                return DISP_E_TYPEMISMATCH;
            if (aType == VT_R4 && std::isfinite(number) && std::fabs(number) > std::numeric_limits<float>::max())
                return DISP_E_OVERFLOW;
            out.vt = aType;
            if (aType == VT_R4)
                out.fltVal = float(number);
            else
                out.dblVal = number;
            break;
        case VT_BOOL:
            if (from.vt == VT_BSTR) {
                const std::u16string_view text = ZTStrView(from.bstrVal);
                std::u16string lower;
                for (char16_t c : text) lower += (c >= u'A' && c <= u'Z') ? char16_t(c + 32) : c;
                if (lower == u"true")
                    number = 1;
                else if (lower == u"false")
                    number = 0;
                else if (!ParseNumber(text, &number))
                    return DISP_E_TYPEMISMATCH;
            } else if (!isNumber) {
                return DISP_E_TYPEMISMATCH;
            }
            out = VariantOf(number != 0);
            break;
        case VT_BSTR: {
            std::u16string text;
            if (from.vt == VT_BOOL)
                text = from.boolVal ? u"True" : u"False";
            else if (from.vt == VT_R4 || from.vt == VT_R8)
                text = TextOf(number, from.vt == VT_R4);
            else if (from.vt == VT_EMPTY)
                text.clear();
            else if (isNumber)
                text = TextOf(number, false);
            else
                return DISP_E_TYPEMISMATCH;
            out = VariantOfString(text);
            if (!out.bstrVal) return E_OUTOFMEMORY;
            break;
        }
        case VT_DISPATCH:
        case VT_UNKNOWN: {
            if (from.vt != VT_DISPATCH && from.vt != VT_UNKNOWN) return DISP_E_TYPEMISMATCH;
            out.vt = aType;
            out.punkVal = nullptr;
            if (from.punkVal) {
                void* p = nullptr;
                if (FAILED(from.punkVal->QueryInterface(aType == VT_DISPATCH ? IDispatch::iid : IUnknown::iid, &p)))
                    return DISP_E_TYPEMISMATCH;
                out.punkVal = static_cast<IUnknown*>(p);
            }
            break;
        }
        default: {
            if (!IsInteger(aType)) return DISP_E_BADVARTYPE;
            if (!isNumber && !(from.vt == VT_BSTR && ParseNumber(ZTStrView(from.bstrVal), &number)))
                return DISP_E_TYPEMISMATCH;
            const HRESULT hr = ToInteger(number, aType, &out);
            if (FAILED(hr)) return hr;
            break;
        }
    }
    VariantClear(*aTo);
    *aTo = out;
    return S_OK;
}

// ---- the type library

namespace {
bool SameName(std::u16string_view a, std::u16string_view b) {
    if (a.size() != b.size()) return false;
    for (size_t i = 0; i < a.size(); ++i) {
        const char16_t x = a[i] >= u'A' && a[i] <= u'Z' ? char16_t(a[i] + 32) : a[i];
        const char16_t y = b[i] >= u'A' && b[i] <= u'Z' ? char16_t(b[i] + 32) : b[i];
        if (x != y) return false;
    }
    return true;
}
}  // namespace

const STypeMember* SInterfaceType::Find(int32_t aId) const {
    for (const STypeMember& m : members)
        if (m.id == aId) return &m;
    return nullptr;
}

const STypeMember* SInterfaceType::Find(std::u16string_view aName) const {
    for (const STypeMember& m : members)
        if (SameName(m.name, aName)) return &m;
    return nullptr;
}

HRESULT DispatchIDsOfNames(const SInterfaceType& aType, const char16_t* const* aNames, uint32_t aCount, int32_t* aIds) {
    if (!aIds || (aCount && !aNames)) return E_POINTER;
    HRESULT hr = S_OK;
    for (uint32_t i = 0; i < aCount; ++i) {
        const STypeMember* m = i == 0 && aNames[i] ? aType.Find(std::u16string_view(aNames[i])) : nullptr;
        aIds[i] = m ? m->id : DISPID_UNKNOWN;
        if (!m) hr = DISP_E_UNKNOWNNAME;
    }
    return hr;
}

HRESULT PrepareInvocation(const SInterfaceType& aType, int32_t aId, uint16_t aFlags, const TDispParams* aParams,
                          uint32_t* aArgError, const STypeMember** aMember, std::vector<CVariant>* aArgs, bool* aPut) {
    const STypeMember* m = aType.Find(aId);
    if (!m) return DISP_E_MEMBERNOTFOUND;
    const uint32_t count = aParams ? aParams->count : 0;
    if (count && !aParams->args) return E_POINTER;
    // What the flags ask for, and whether the member is of that kind.
    bool put = false;
    if (m->kind == EMemberKind::method) {
        if (!(aFlags & DISPATCH_METHOD)) return DISP_E_MEMBERNOTFOUND;
    } else if (aFlags & DISPATCH_PROPERTYPUT) {
        if (m->kind != EMemberKind::propertyGetPut) return DISP_E_MEMBERNOTFOUND;
        put = true;
    } else if (!(aFlags & (DISPATCH_PROPERTYGET | DISPATCH_METHOD))) {
        return DISP_E_MEMBERNOTFOUND;
    }
    *aMember = m;
    *aPut = put;
    aArgs->clear();
    if (put) {
        // The value of a put is one argument, the named DISPID_PROPERTYPUT.
        if (count != 1) return DISP_E_BADPARAMCOUNT;
        aArgs->emplace_back();
        const HRESULT hr = VariantConvert(aParams->args[0], m->result, aArgs->back().out());
        if (FAILED(hr) && aArgError) *aArgError = 0;
        return hr;
    }
    const size_t declared = m->params.size();
    size_t required = declared;
    while (required > 0 && m->params[required - 1].optional) --required;
    if (count > declared || count < required) return DISP_E_BADPARAMCOUNT;
    for (size_t i = 0; i < declared; ++i) {
        aArgs->emplace_back();
        TVariant* slot = aArgs->back().out();
        const bool given = i < count;
        // Arguments come reversed: the first declared is the last in the array.
        const TVariant* arg = given ? &aParams->args[count - 1 - i] : nullptr;
        const bool missing = !given || (arg->vt == VT_ERROR && arg->scode == DISP_E_PARAMNOTFOUND);
        if (missing) {
            if (!m->params[i].optional) {
                if (aArgError) *aArgError = uint32_t(count - 1 - i);
                return DISP_E_PARAMNOTOPTIONAL;
            }
            slot->vt = VT_ERROR;
            slot->scode = DISP_E_PARAMNOTFOUND;
            continue;
        }
        const HRESULT hr = VariantConvert(*arg, m->params[i].type, slot);
        if (FAILED(hr)) {
            if (aArgError) *aArgError = uint32_t(count - 1 - i);
            return hr;
        }
    }
    return S_OK;
}

}  // namespace zt
