// Localised text made by the host itself: option names, messages, texts in tests.
#pragma once

#include <string>

#include "frame/host.h"

namespace zthost {

// A text in English and Czech; any other language gets the English one.
ComPtr<ILocalizedString> MakeText(std::u16string aEnglish, std::u16string aCzech);

}  // namespace zthost
