// Reading a 2-D item: any vector type is accepted and its first two numbers are used.
#pragma once

#include "frame/config.h"

namespace zt {

inline void ReadVector2(IConfig* aConfig, std::u16string_view aKey, float aOut[2]) {
    CConfigValue v;
    ReadItem(aConfig, aKey, v);
    if (v.TypeGet() != ECVTVector3 && v.TypeGet() != ECVTFloatColor) throw CConfigValue::CCastException();
    aOut[0] = v.Raw().vecVal[0];
    aOut[1] = v.Raw().vecVal[1];
}

}  // namespace zt
