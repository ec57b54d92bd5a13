// A status of the library as a person reads it: its name, its number and
// what it means.
#pragma once

#include <cstdint>
#include <string>

namespace cli {

// "RUK_ERROR_BAD_ARGUMENT (-3): an argument the call cannot work with";
// an unknown status gives "status N".
std::string status_text(int32_t status);

}  // namespace cli
