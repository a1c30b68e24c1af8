// Messages that wait for the mail server: one durable file each, in a directory of their own.
//
// A file begins with the envelope, X-Sender and X-Receiver, as pickup directories of mail servers
// know it, and goes on with the message. Its name tells when it was made, how often it was tried
// and when it is due. Whoever sends holds the spool's lock, so that each message goes out once;
// adding needs no lock. Safe from every thread and process.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Files.h"

namespace groupware {

struct Envelope {
    std::string sender;
    std::string recipient;
};

struct SpooledMessage {
    Envelope envelope;
    std::string text;
};

/// What a file's name tells.
struct SpoolEntry {
    int64_t createdMs = 0;
    int64_t attempts = 0;
    int64_t dueMs = 0;
    std::string token;

    std::string fileName() const;
    /// Nothing for a file that is not the spool's.
    static std::optional<SpoolEntry> fromName(std::string_view name);
};

class Spool {
  public:
    explicit Spool(std::string_view dataDirectory)
        : directory_(std::string(dataDirectory) + "\\Spool") {}

    const std::string& directory() const { return directory_; }

    /// True when the message is on disk.
    bool add(const Envelope& envelope, std::string_view message, int64_t nowMs) const;
    bool empty() const;

    static constexpr const char* kLockName = "spool.lock";
    /// Null when another sender is at work for longer than that.
    std::unique_ptr<platform::FileLock> tryLock(std::chrono::milliseconds limit = {}) const;
    /// All, the one due first in front.
    std::vector<SpoolEntry> entries() const;
    /// Nothing when the file is gone or is no message.
    std::optional<SpooledMessage> read(const SpoolEntry& entry) const;
    void remove(const SpoolEntry& entry) const;
    /// After an attempt that failed; false when the file cannot be renamed.
    bool putOff(const SpoolEntry& entry, int64_t dueMs) const;
    /// Puts the message aside, with the reason as a field in front, into the directory "failed".
    void giveUp(const SpoolEntry& entry, std::string_view reason) const;

  private:
    std::string path(const SpoolEntry& entry) const { return directory_ + "\\" + entry.fileName(); }

    std::string directory_;
};

}  // namespace groupware
