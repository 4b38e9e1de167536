// The module's type library, ZTOperationImageRasterLib: the scripting interfaces as data, from
// which the generic dispatcher of frame/automation.h serves every scripted object.
#pragma once

#include "frame/automation.h"

namespace zt {

const STypeLibrary& ScriptingTypeLibrary();
const SInterfaceType& ScriptedRasterImageType();
const SInterfaceType& ScriptedBlenderType();
// The tool's static members; its dynamic ones (a tool id as a method, ids from 100) come with
// the tools manager.
const SInterfaceType& ScriptedToolType();

}  // namespace zt
