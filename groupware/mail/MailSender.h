// Hands spooled messages to the mail server, in a thread of its own.
//
// The thread starts when there is something to send and a mail server to send it to. What cannot be
// sent is tried again with growing delays and put aside after some days. Several processes may send
// from one spool: one is at work at a time.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace groupware {

struct DataPaths;

struct MailSenderOptions {
    std::string dataDirectory;
    std::string settingsFile;
    /// How long to wait after the first, second, ... failure; the last counts for all further ones.
    std::vector<int64_t> delaysMs = {60'000,    300'000,   900'000,   1'800'000,
                                     3'600'000, 7'200'000, 14'400'000};
};

class MailSender {
  public:
    explicit MailSender(MailSenderOptions options);
    /// Ends the thread: at once, unless the system keeps it longer than it can be waited for; then
    /// it ends by itself.
    ~MailSender();
    MailSender(const MailSender&) = delete;
    MailSender& operator=(const MailSender&) = delete;

    /// Looks at the spool now. Tells one clear line when there is no mail server to send to.
    void wake();

  private:
    class Work;
    std::shared_ptr<Work> work_;
};

/// The sender of this process looks at the spool of that data directory.
void sendSpooledMail(const DataPaths& paths);
/// The same, unless nothing waits there.
void resumeSpooledMail(const DataPaths& paths);

/// Stands as a static object in each library that is loaded by name: ends the process's sender
/// when the library goes.
struct MailSenderEnd {
    MailSenderEnd();
    ~MailSenderEnd();
};

}  // namespace groupware
