#include "frame/boundary.h"

#include <string>

#include "frame/classes.h"
#include "frame/config.h"
#include "frame/text.h"

namespace zt {

namespace {

// "a number" and the like, in both languages, for the message of a wrong setting type.
struct STypeWords {
    const char16_t* english;
    const char16_t* czech;
};
STypeWords WordsFor(uint32_t aType) {
    switch (aType) {
        case ECVTInteger: return {u"a whole number", u"celé číslo"};
        case ECVTFloat: return {u"a number", u"číslo"};
        case ECVTBool: return {u"a yes/no value", u"hodnotu ano/ne"};
        case ECVTString: return {u"a text", u"text"};
        case ECVTGUID: return {u"a class id", u"id třídy"};
        case ECVTFloatColor: return {u"a colour", u"barvu"};
        case ECVTVector3: return {u"a vector", u"vektor"};
        default: return {u"nothing", u"nic"};
    }
}

std::u16string CastReason(const CConfigValue::CCastException& e) {
    const std::u16string key = e.key ? u"\"" + std::u16string(e.key) + u"\"" : u"";
    const STypeWords found = WordsFor(e.found), expected = WordsFor(e.expected);
    if (e.found == ECVTEmpty)
        return u"[0409]The setting " + key + u" is missing or empty; it must hold " + expected.english +
               u".[0405]Nastavení " + key + u" chybí nebo je prázdné; musí obsahovat " + expected.czech + u".";
    return u"[0409]The setting " + key + u" holds " + found.english + u" where " + expected.english +
           u" is expected.[0405]Nastavení " + key + u" obsahuje " + found.czech + u", očekává se " + expected.czech +
           u".";
}

void Leave(HRESULT aResult, std::u16string_view aReason) {
    ComPtr<IFailureReason> service = HostCreate<IFailureReason>(CLSID_FailureReason);
    if (service) service->SetReason(aResult, MultiLanguage(aReason));
}

}  // namespace

HRESULT Fail(HRESULT aResult, const char16_t* aReason) noexcept {
    try {
        Leave(aResult, aReason);
    } catch (...) {
        // No memory for the reason: the result alone must do.
    }
    return aResult;
}

HRESULT FailFromException(HRESULT aResult) noexcept {
    try {
        try {
            throw;
        } catch (const CConfigValue::CCastException& e) {
            Leave(aResult, CastReason(e));
        } catch (const std::bad_alloc&) {
            Leave(aResult, u"[0409]Out of memory.[0405]Nedostatek paměti.");
        } catch (const CHResultException& e) {
            if (e.reason) Leave(aResult, e.reason);
        } catch (...) {
            Leave(aResult, u"[0409]An unexpected internal error.[0405]Neočekávaná vnitřní chyba.");
        }
    } catch (...) {
    }
    return aResult;
}

}  // namespace zt
