// Records every event a kernel raises on this thread, through the error
// callback, and puts the thread's callback, mode and status back afterwards.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "xebruk/frame.h"

namespace xt {

struct Event {
    int code;
    int index;
    double a, b, y, z;
    std::string name;
};

class EventRecorder {
public:
    // mode: the reporting field to run under (callback alone by default);
    // verdict: what the callback returns (0 go on, non-zero handled).
    explicit EventRecorder(uint32_t mode = XEB_REPORT_CALLBACK, int32_t verdict = 0);
    ~EventRecorder();
    EventRecorder(const EventRecorder&) = delete;
    EventRecorder& operator=(const EventRecorder&) = delete;

    const std::vector<Event>& events() const { return events_; }
    void clear() { events_.clear(); }
    // A hook run inside the callback, e.g. to change the record.
    void set_edit(void (*edit)(XebErrorRecord*)) { edit_ = edit; }
    void set_verdict(int32_t v) { verdict_ = v; }

private:
    static int32_t callback(XebErrorRecord* r);
    std::vector<Event> events_;
    int32_t verdict_;
    void (*edit_)(XebErrorRecord*) = nullptr;
    uint32_t saved_mode_;
    XebErrorCallBack saved_callback_;
    int32_t saved_status_;
    EventRecorder* outer_;
};

// Captures what is written to stderr (file descriptor 2) while alive.
class StderrCapture {
public:
    StderrCapture();
    ~StderrCapture();
    std::string finish();  // stops capturing and returns the text

private:
    int saved_fd_ = -1;
    int file_fd_ = -1;
    bool done_ = false;
    std::string text_;
};

}  // namespace xt
