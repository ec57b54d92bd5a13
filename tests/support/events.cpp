#include "support/events.h"

#include <cstdio>
#include <cstdlib>
#include <unistd.h>

namespace xt {

namespace {
thread_local EventRecorder* t_active = nullptr;
}

EventRecorder::EventRecorder(uint32_t mode, int32_t verdict) : verdict_(verdict) {
    outer_ = t_active;
    t_active = this;
    saved_status_ = xebGetErrStatus();
    saved_callback_ = xebSetErrorCallBack(&EventRecorder::callback);
    // Replace the reporting field as a whole (the callback bit was just set).
    saved_mode_ = xebSetMode(mode);
}

EventRecorder::~EventRecorder() {
    xebSetErrorCallBack(saved_callback_);
    xebSetMode(saved_mode_ & XEB_REPORT_MASK ? saved_mode_ & XEB_REPORT_MASK : XEB_REPORT_NONE);
    xebSetErrStatus(saved_status_);
    t_active = outer_;
}

int32_t EventRecorder::callback(XebErrorRecord* r) {
    EventRecorder* self = t_active;
    if (self == nullptr) return 0;
    self->events_.push_back({r->code, r->index, r->a, r->b, r->y, r->z, std::string(r->name)});
    if (self->edit_ != nullptr) self->edit_(r);
    return self->verdict_;
}

StderrCapture::StderrCapture() {
    std::fflush(stderr);
    char path[] = "/tmp/xebruk-stderr-XXXXXX";
    file_fd_ = mkstemp(path);
    if (file_fd_ < 0) std::abort();
    unlink(path);
    saved_fd_ = dup(2);
    dup2(file_fd_, 2);
}

std::string StderrCapture::finish() {
    if (done_) return text_;
    done_ = true;
    std::fflush(stderr);
    dup2(saved_fd_, 2);
    close(saved_fd_);
    lseek(file_fd_, 0, SEEK_SET);
    char buf[4096];
    ssize_t k;
    while ((k = read(file_fd_, buf, sizeof buf)) > 0) text_.append(buf, static_cast<std::size_t>(k));
    close(file_fd_);
    return text_;
}

StderrCapture::~StderrCapture() { finish(); }

}  // namespace xt
