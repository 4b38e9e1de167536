// Values, texts and an observer for the tests of the host's configurations.
#pragma once

#include <atomic>
#include <string>
#include <vector>

#include "host/config.h"
#include "host/text.h"

namespace zttest {

inline TConfigValue Long(int32_t aValue) {
    TConfigValue v = ConfigValueEmpty();
    v.eTypeID = ECVTInteger;
    v.iVal = aValue;
    return v;
}
inline TConfigValue Float(float aValue) {
    TConfigValue v = ConfigValueEmpty();
    v.eTypeID = ECVTFloat;
    v.fVal = aValue;
    return v;
}
inline TConfigValue Bool(bool aValue) {
    TConfigValue v = ConfigValueEmpty();
    v.eTypeID = ECVTBool;
    v.bVal = aValue;
    return v;
}
inline TConfigValue Guid(const GUID& aValue) {
    TConfigValue v = ConfigValueEmpty();
    v.eTypeID = ECVTGUID;
    v.guidVal = aValue;
    return v;
}
inline TConfigValue Colour(float aR, float aG, float aB, float aA) {
    TConfigValue v = ConfigValueEmpty();
    v.eTypeID = ECVTFloatColor;
    v.vecVal[0] = aR;
    v.vecVal[1] = aG;
    v.vecVal[2] = aB;
    v.vecVal[3] = aA;
    return v;
}
inline TConfigValue Vector(float aX, float aY, float aZ) {
    TConfigValue v = ConfigValueEmpty();
    v.eTypeID = ECVTVector3;
    v.vecVal[0] = aX;
    v.vecVal[1] = aY;
    v.vecVal[2] = aZ;
    return v;
}

// A string value that frees its text.
class String {
public:
    explicit String(std::u16string_view aText) {
        v.eTypeID = ECVTString;
        v.bstrVal = ZTStrAlloc(aText);
    }
    String(const String&) = delete;
    String& operator=(const String&) = delete;
    ~String() { ConfigValueClear(v); }
    operator const TConfigValue&() const { return v; }

    TConfigValue v = ConfigValueEmpty();
};

// The current value of an item as ItemValueGet gives it.
class Current {
public:
    Current(IConfig* aConfig, std::u16string_view aKey) : hr(aConfig->ItemValueGet(CZTStr(aKey), &v)) {}
    Current(const Current&) = delete;
    Current& operator=(const Current&) = delete;
    ~Current() { ConfigValueClear(v); }
    std::u16string text() const { return std::u16string(ZTStrView(v.bstrVal)); }

    TConfigValue v = ConfigValueEmpty();
    HRESULT hr;
};

inline ComPtr<ILocalizedString> Text(std::u16string aEnglish) { return zthost::MakeText(aEnglish, u"CZ " + aEnglish); }

// A new configuration made by class id, as an operation makes one.
inline ComPtr<zthost::CConfig> NewConfig() {
    ComPtr<IConfigBuilder> builder = zthost::Create<IConfigBuilder>(CLSID_ConfigBuilder);
    return zthost::CConfig::From(builder);
}

// Sets one value; the key as a length-prefixed string, as callers across interfaces pass it.
inline HRESULT SetOne(IConfig* aConfig, std::u16string_view aKey, const TConfigValue& aValue) {
    CZTStr key(aKey);
    const char16_t* keys[] = {key};
    return aConfig->ItemValuesSet(1, keys, &aValue);
}

// Remembers the keys of every notification.
class RecordingObserver final : public IConfigObserver {
public:
    static ComPtr<RecordingObserver> Create() { return ComPtr<RecordingObserver>(new RecordingObserver); }

    HRESULT QueryInterface(const IID& aIID, void** aOut) override {
        if (!aOut) return E_POINTER;
        *aOut = FindInterface<IConfigObserver>(this, aIID);
        if (!*aOut) return E_NOINTERFACE;
        AddRef();
        return S_OK;
    }
    uint32_t AddRef() override { return ++refs_; }
    uint32_t Release() override {
        uint32_t r = --refs_;
        if (r == 0) delete this;
        return r;
    }
    HRESULT Notify(IConfig* aConfig, uint32_t aCount, const char16_t* const* aKeys) override {
        std::vector<std::u16string> keys;
        for (uint32_t i = 0; i < aCount; ++i) keys.emplace_back(ZTStrView(aKeys[i]));
        calls.push_back(keys);
        return S_OK;
    }

    std::vector<std::vector<std::u16string>> calls;

private:
    RecordingObserver() = default;
    std::atomic<uint32_t> refs_{0};
};

}  // namespace zttest
