// The module's type library, ZTOperationImageRasterLib: the scripting interfaces as data, from
// which the generic dispatcher of frame/automation.h serves every scripted object.
#pragma once

#include "frame/automation.h"

namespace zt {

const STypeLibrary& ScriptingTypeLibrary();
const SInterfaceType& ScriptedRasterImageType();

}  // namespace zt
