#include "groupware/mail/ReplyDelivery.h"

#include <algorithm>
#include <array>

#include "abi/StoreTypes.h"
#include "groupware/engine/FailureLog.h"
#include "groupware/engine/Names.h"
#include "groupware/mail/KeptMessages.h"
#include "groupware/mail/MailMessage.h"
#include "groupware/mail/MailSender.h"
#include "groupware/mail/ReplyText.h"
#include "groupware/mail/Spool.h"
#include "platform/Files.h"
#include "platform/LocalTime.h"

namespace groupware {

namespace {

struct ReplyKind {
    uint32_t kind;
    uint16_t status;
    std::string_view participation;
    std::string_view title;
    std::string_view words;
};

constexpr std::array kKinds = {
    ReplyKind{STORE_REPLY_ACCEPTED, STORE_PARTSTAT_ACCEPTED, "ACCEPTED", "Accepted",
              "has accepted"},
    ReplyKind{STORE_REPLY_TENTATIVE, STORE_PARTSTAT_TENTATIVE, "TENTATIVE", "Tentative",
              "may attend"},
    ReplyKind{STORE_REPLY_DECLINED, STORE_PARTSTAT_DECLINED, "DECLINED", "Declined",
              "has declined"},
};

/// What the attendee has answered. Callers tell every answer that is neither of the other two as
/// accepted; one that has not been given yet is none to send.
const ReplyKind* kindOf(uint32_t kind, const ItemContents& item, const std::string& attendee) {
    const auto& attendees = item.parsed->facts.attendees;
    const auto self = std::ranges::find_if(attendees, [&](const CalendarUser& each) {
        return equalsIgnoringCase(each.address, attendee);
    });
    const auto found = std::ranges::find(kKinds, kind, &ReplyKind::kind);
    const bool answered =
        self != attendees.end() && found != kKinds.end() && self->status == found->status;
    return answered ? &*found : nullptr;
}

MailMessage messageOf(const AccountRow& attendee, const ReplyKind& kind, const ReplyText& reply,
                      int64_t nowMs) {
    constexpr size_t kLongestSubject = 200;
    MailMessage message;
    message.fromName = attendee.fullName;
    message.from = attendee.address;
    message.subject = std::string(kind.title) + ": " + reply.summary.substr(0, kLongestSubject);
    const std::string who = attendee.fullName.empty() ? attendee.address : attendee.fullName;
    message.words = who + " " + std::string(kind.words) + ":\r\n\r\n" + reply.summary + "\r\n" +
                    reply.start + "\r\n";
    message.calendar = reply.calendar;
    message.method = "REPLY";
    message.token = randomToken();
    message.sentMs = nowMs;
    return message;
}

/// Into the account's directory, where its scheduling inbox finds messages. Names sort by age.
void deliverHere(Engine& engine, const AccountRow& account, const MailMessage& message) {
    engine.refreshMirror(account.id);
    const std::string directory = engine.mailDirectory(account);
    removeOldMessages(directory, message.sentMs);
    const std::string path =
        directory + std::to_string(message.sentMs) + "-" + message.token + ".eml";
    if (!platform::replaceFile(path, message.text(), 0640, true)) {
        tellFailure("cannot write the reply " + platform::nativePath(path));
    }
}

void deliverByMail(Engine& engine, const MailMessage& message) {
    const Spool spool(engine.paths().root);
    if (!spool.add({message.from, message.to}, message.text(), message.sentMs)) {
        tellFailure("cannot write into the spool " + platform::nativePath(spool.directory()));
        return;
    }
    sendSpooledMail(engine.paths());
}

}  // namespace

void sendReply(Engine& engine, const ItemContents& item, std::string_view actor,
               std::string_view recipient, uint32_t replyKind) {
    if (!item.folder || item.parsed == nullptr) return;
    const auto attendee = engine.database().accountById(item.folder->account);
    if (!attendee || !isAddress(attendee->address)) return;
    const ReplyKind* kind = kindOf(replyKind, item, attendee->address);
    if (kind == nullptr) return;
    if (!isAddress(recipient)) {
        tellFailure("a reply cannot be sent: the organizer's address is none");
        return;
    }
    const bool itself = !isAddress(actor) || equalsIgnoringCase(actor, attendee->address);
    const int64_t now = platform::nowUtcMs();
    const auto reply = replyText(
        item.parsed->text, {attendee->address, kind->participation, itself ? "" : actor, now});
    if (!reply) return;
    MailMessage message = messageOf(*attendee, *kind, *reply, now);
    if (!itself) message.sender = actor;
    message.to = recipient;
    if (const auto local = engine.database().accountByAlias(lowerAscii(recipient))) {
        deliverHere(engine, *local, message);
    } else {
        deliverByMail(engine, message);
    }
}

}  // namespace groupware
