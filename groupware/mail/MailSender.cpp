#include "groupware/mail/MailSender.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>

#include "groupware/engine/Engine.h"
#include "groupware/engine/FailureLog.h"
#include "groupware/mail/MailSettings.h"
#include "groupware/mail/SmtpTransfer.h"
#include "groupware/mail/Spool.h"
#include "platform/Files.h"
#include "platform/LocalTime.h"
#include "platform/Thread.h"

namespace groupware {

namespace {

/// How long a library that is unloaded waits for the thread. Not for ever: the system may need its
/// loader for a look-up of a name, and whoever unloads a library holds that.
constexpr uint32_t kWaitForEndMs = 5'000;
/// Between two looks at a spool that another process works on.
constexpr int64_t kLookAgainMs = 60'000;

}  // namespace

/// What the thread works on; it may outlive the sender.
class MailSender::Work {
  public:
    explicit Work(MailSenderOptions options)
        : options_(std::move(options)), spool_(options_.dataDirectory) {}

    static void wake(const std::shared_ptr<Work>& work);
    void stop();

  private:
    using Kind = SmtpOutcome::Kind;

    void run();
    int64_t sendDue();
    Kind sendOne(const SpoolEntry& entry, const MailSettings& settings);
    void putOff(const SpoolEntry& entry, const MailSettings& settings, const std::string& reason);
    bool wait(int64_t ms);
    int64_t delayAfter(int64_t attempts) const;

    const MailSenderOptions options_;
    const Spool spool_;
    platform::Thread thread_;
    std::mutex lock_;
    std::condition_variable changed_;
    bool started_ = false;
    bool woken_ = false;
    bool told_ = false;  ///< that there is no mail server
    std::atomic<bool> stopped_ = false;
};

void MailSender::Work::wake(const std::shared_ptr<Work>& work) {
    const bool server = !MailSettings::read(work->options_.settingsFile).smtpHost.empty();
    const std::lock_guard guard(work->lock_);
    if (!server) {
        if (work->told_) return;
        work->told_ =
            tellFailure("messages wait in " + platform::nativePath(work->spool_.directory()) +
                        " for the mail server: there is no SmtpHost in section [Mail] of " +
                        platform::nativePath(work->options_.settingsFile));
        return;
    }
    work->woken_ = true;
    work->changed_.notify_one();
    if (work->started_) return;
    work->started_ = work->thread_.start([work] { work->run(); });
    if (!work->started_) tellFailure("the thread that sends mail cannot be started");
}

void MailSender::Work::stop() {
    {
        const std::lock_guard guard(lock_);
        stopped_ = true;
        changed_.notify_one();
    }
    thread_.waitForEnd(kWaitForEndMs);
}

void MailSender::Work::run() {
    while (!stopped_) {
        int64_t pause = kLookAgainMs;
        try {
            pause = sendDue();
        } catch (const std::exception& failure) {
            tellFailure(failure.what());
        }
        if (!wait(pause)) return;
    }
}

/// False when it is time to end.
bool MailSender::Work::wait(int64_t ms) {
    std::unique_lock guard(lock_);
    changed_.wait_for(guard, std::chrono::milliseconds(ms),
                      [this] { return woken_ || stopped_.load(); });
    woken_ = false;
    return !stopped_;
}

/// Sends what is due; how long nothing else will be.
int64_t MailSender::Work::sendDue() {
    const MailSettings settings = MailSettings::read(options_.settingsFile);
    if (settings.smtpHost.empty()) return kLookAgainMs;
    const auto lock = spool_.tryLock();
    if (lock == nullptr) return kLookAgainMs;
    int64_t pause = kLookAgainMs;
    for (const SpoolEntry& entry : spool_.entries()) {
        const int64_t early = entry.dueMs - platform::nowUtcMs();
        if (early > 0) return std::min(pause, early);
        if (stopped_) break;
        const Kind kind = sendOne(entry, settings);
        if (kind == Kind::kUnreachable) return delayAfter(0);
        if (kind == Kind::kTryLater) pause = std::min(pause, delayAfter(entry.attempts));
    }
    return pause;
}

SmtpOutcome::Kind MailSender::Work::sendOne(const SpoolEntry& entry, const MailSettings& settings) {
    const auto message = spool_.read(entry);
    if (!message) {
        spool_.giveUp(entry, "this is no message with an envelope");
        return Kind::kRefused;
    }
    const SmtpOutcome outcome = sendBySmtp(settings, *message, [this] { return stopped_.load(); });
    if (outcome.kind == Kind::kSent) {
        spool_.remove(entry);
    } else if (outcome.kind == Kind::kRefused) {
        tellFailure("the mail server refuses a message, which is put aside: " + outcome.reason);
        spool_.giveUp(entry, outcome.reason);
    } else if (!stopped_) {
        putOff(entry, settings, outcome.reason);
    }
    return outcome.kind;
}

void MailSender::Work::putOff(const SpoolEntry& entry, const MailSettings& settings,
                              const std::string& reason) {
    const int64_t now = platform::nowUtcMs();
    if (now - entry.createdMs >= settings.giveUpAfterMs) {
        tellFailure("a message could not be sent for too long and is put aside: " + reason);
        spool_.giveUp(entry, reason);
        return;
    }
    tellFailure("a message is not sent yet: " + reason);
    spool_.putOff(entry, now + delayAfter(entry.attempts));
}

int64_t MailSender::Work::delayAfter(int64_t attempts) const {
    const auto last = static_cast<int64_t>(options_.delaysMs.size()) - 1;
    return options_.delaysMs[static_cast<size_t>(std::min(attempts, last))];
}

MailSender::MailSender(MailSenderOptions options)
    : work_(std::make_shared<Work>(std::move(options))) {}

MailSender::~MailSender() {
    work_->stop();
}

void MailSender::wake() {
    Work::wake(work_);
}

namespace {

/// The one sender of the process, for the data directory that it was last woken for.
struct ProcessSender {
    std::mutex mutex;
    std::string dataDirectory;
    std::unique_ptr<MailSender> sender;
};

ProcessSender& processSender() {
    static ProcessSender process;
    return process;
}

}  // namespace

void sendSpooledMail(const DataPaths& paths) {
    ProcessSender& process = processSender();
    const std::lock_guard guard(process.mutex);
    if (process.sender == nullptr || process.dataDirectory != paths.root) {
        process.sender =
            std::make_unique<MailSender>(MailSenderOptions{paths.root, paths.mainSettings});
        process.dataDirectory = paths.root;
    }
    process.sender->wake();
}

void resumeSpooledMail(const DataPaths& paths) {
    if (!Spool(paths.root).empty()) sendSpooledMail(paths);
}

MailSenderEnd::MailSenderEnd() {
    // What is made first goes last when the process ends: what the thread uses must outlive it.
    MailSettings::read({});
    processSender();
}

MailSenderEnd::~MailSenderEnd() {
    ProcessSender& process = processSender();
    const std::lock_guard guard(process.mutex);
    process.sender.reset();
}

}  // namespace groupware
