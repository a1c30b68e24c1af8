#include "webdav/base/CThread.h"

#include <stdexcept>

#include "platform/Error.h"
#include "webdav/log/Log.h"

namespace webdav {

CThread::CThread() {
    if (killEvent_.valid()) {
        AddWaitHandle(killEvent_);
    } else {
        killEventError_ = platform::lastError();
    }
}

CThread::~CThread() = default;

void CThread::AddWaitHandle(platform::Event& event) {
    waitList_.push_back(&event);
}

bool CThread::Start() {
    if (IsRunning()) return true;
    // Told here and not where it happens: the log itself is such a thread, and not yet made there.
    if (killEventError_ != 0) {
        Log(kLogDebug, nullptr, "Unable to create thread kill event - GetLastError() = %d",
            static_cast<int>(killEventError_));
    } else {
        killEvent_.reset();
    }
    return thread_.emplace().start([this] { Run(); });
}

bool CThread::Stop(uint32_t timeoutMs) {
    if (!thread_) return true;
    if (!killEvent_.valid() || !killEvent_.set()) return false;
    return thread_->waitForEnd(timeoutMs);
}

bool CThread::IsRunning() {
    return thread_ && !thread_->waitForEnd(0);
}

void CThread::Run() {
    if (Init())
        while (WaitOnce()) {
        }
    OnExit();
}

bool CThread::WaitOnce() {
    using Kind = platform::WaitResult::Kind;
    if (waitList_.empty()) throw std::out_of_range("invalid vector<T> subscript");
    const platform::WaitResult result = platform::waitForAny(waitList_, timeoutMs_);
    switch (result.kind) {
        case Kind::kTimeout:
            OnTimeout();
            return true;
        case Kind::kSignalled:
            if (result.index == 0) return false;
            OnSignal(result.index);
            return true;
        case Kind::kFailed:
            break;
    }
    Log(kLogDebug, nullptr,
        "CThread::Run - WaitForMultipleObjects failed: GetLastError() = %d ID = %d",
        static_cast<int>(result.error), static_cast<int>(platform::currentThreadId()));
    return false;
}

}  // namespace webdav
