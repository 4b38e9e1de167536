// The commands of ztraster, one source file each: what the help shows of each and its run.
#pragma once

#include <string>
#include <vector>

#include "apps/ztraster/options.h"

namespace ztcli {

struct SCommand {
    const SCommandText& text;
    int (*run)(const std::vector<std::string>& aArgs);
};

extern const SCommand kListCommand;
extern const SCommand kDescribeCommand;
extern const SCommand kApplyCommand;

}  // namespace ztcli
