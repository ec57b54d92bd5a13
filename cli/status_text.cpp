#include "status_text.h"

#include "xebruk/xebruk.h"

namespace cli {
namespace {

struct StatusName {
    int32_t status;
    const char* name;
    const char* meaning;
};

const StatusName kStatuses[] = {
    {RUK_OK, "RUK_OK", "success"},
    {RUK_ERROR_UNKNOWN_METHOD, "RUK_ERROR_UNKNOWN_METHOD", "no such method"},
    {RUK_ERROR_BAD_ARGUMENT, "RUK_ERROR_BAD_ARGUMENT",
     "an argument the call cannot work with, or a stream whose numbers it cannot use"},
    {RUK_ERROR_NO_MEMORY, "RUK_ERROR_NO_MEMORY", "out of memory"},
    {RUK_ERROR_NULL_ARG, "RUK_ERROR_NULL_ARG", "a null pointer where one is needed"},
    {RUK_ERROR_UNKNOWN_BRNG, "RUK_ERROR_UNKNOWN_BRNG", "no such generator"},
    {RUK_ERROR_NO_LEAPFROG, "RUK_ERROR_NO_LEAPFROG", "the generator has no leapfrog for these arguments"},
    {RUK_ERROR_NO_SKIP, "RUK_ERROR_NO_SKIP", "the generator cannot skip ahead by this count"},
    {RUK_ERROR_BRNG_MISMATCH, "RUK_ERROR_BRNG_MISMATCH", "the streams belong to different generators"},
    {RUK_ERROR_REGISTRY_FULL, "RUK_ERROR_REGISTRY_FULL", "no room for another generator"},
    {RUK_ERROR_CLOSE_FAILED, "RUK_ERROR_CLOSE_FAILED", "closing the stream file failed"},
    {RUK_ERROR_OPEN_FAILED, "RUK_ERROR_OPEN_FAILED", "the stream file cannot be opened"},
    {RUK_ERROR_WRITE_FAILED, "RUK_ERROR_WRITE_FAILED", "writing the stream file failed"},
    {RUK_ERROR_READ_FAILED, "RUK_ERROR_READ_FAILED", "the stream file is shorter than it says"},
    {RUK_ERROR_BAD_STREAM_FILE, "RUK_ERROR_BAD_STREAM_FILE", "not a stream file this library can use"},
    {RUK_ERROR_STREAM_FILE_VERSION, "RUK_ERROR_STREAM_FILE_VERSION", "a stream file of a later format"},
};

}  // namespace

std::string status_text(int32_t status) {
    for (const StatusName& s : kStatuses)
        if (s.status == status) return std::string(s.name) + " (" + std::to_string(status) + "): " + s.meaning;
    return "status " + std::to_string(status);
}

}  // namespace cli
