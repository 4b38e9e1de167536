// Shared pieces of the command line: language of messages, errors with exit codes,
// result-code names and JSON text.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

#include "frame/abi.h"

namespace ztcli {

constexpr int kExitOk = 0;
constexpr int kExitFailed = 1;  // the operation or the environment failed; nothing written
constexpr int kExitUsage = 2;   // bad arguments or bad input

// The language of messages and texts: 0x0409 or 0x0405.
uint32_t Language();
void SetLanguage(uint32_t aLanguage);
// Picks the English or the Czech text.
inline std::string T(const char* aEnglish, const char* aCzech) { return Language() == LANG_CZECH ? aCzech : aEnglish; }

// An error that ends the command with a message on stderr and an exit status.
struct Error : std::runtime_error {
    Error(int aStatus, const std::string& aMessage) : std::runtime_error(aMessage), status(aStatus) {}
    int status;
};
[[noreturn]] inline void Usage(const std::string& aMessage) { throw Error(kExitUsage, aMessage); }
[[noreturn]] inline void Failed(const std::string& aMessage) { throw Error(kExitFailed, aMessage); }

// "E_UNEXPECTED (0x8000FFFF)".
std::string ResultText(HRESULT aResult);

std::string JsonString(const std::string& aText);

}  // namespace ztcli
