// A registered generator for the law tests that hands out a script: the
// numbers to return, used cyclically, as they stand (whatever the interval
// asked for) or scaled to that interval, and the status of each call
// (missing ones are 0).  It logs the count of every call.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "support/streams.h"

namespace xt {

struct Script {
    std::vector<double> values;
    std::vector<int32_t> statuses, calls;
    bool as_is = true;
    std::size_t next = 0;
};
inline Script script;
void reset_script(std::vector<double> values, std::vector<int32_t> statuses = {}, bool as_is = true);
// A new stream of the script generator, registered at its first use.
void new_script_stream(StreamHandle& h);

}  // namespace xt
