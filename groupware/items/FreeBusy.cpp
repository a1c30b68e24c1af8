#include "groupware/items/FreeBusy.h"

#include <algorithm>
#include <array>

#include "abi/StoreTypes.h"
#include "groupware/engine/Names.h"
#include "groupware/ical/AsciiText.h"
#include "groupware/ical/ContentLines.h"
#include "groupware/ical/TextEdit.h"

namespace groupware {

namespace {

using Step = ComponentReader::Step;

constexpr std::string_view kLineEnd = "\r\n";
constexpr int64_t kReplySteps = 20'000'000;
constexpr int64_t kEventSteps = 20'000;
/// A range that no person means costs a server dearly.
constexpr int64_t kLongestRangeMs = int64_t{1000} * 86400 * 800;

struct BusyTime {
    int64_t startMs = 0;
    int64_t endMs = 0;
};

/// The request's times are UTC, as they must be; others are read on the server's clock.
int64_t msOf(const ContentLine& line, int64_t otherwise) {
    const auto time = parseIcalTime(line.value, {});
    if (!time) return otherwise;
    const bool utc = time->kind == IcalTime::Kind::kUtc;
    return (utc ? time->wall : utcSecondsOfServerWall(time->wall)) * 1000;
}

/// Busy times by how firm they are: 0 confirmed, 1 tentative.
using BusyTimes = std::array<std::vector<BusyTime>, 2>;

/// All that an account is known by.
using Addresses = std::vector<std::string>;

bool isAmong(const Addresses& addresses, const CalendarUser& user) {
    return std::ranges::any_of(
        addresses, [&](const std::string& each) { return equalNames(each, user.address); });
}

/// Which of them an event's component belongs to; nothing when it takes nobody's time. What the
/// account has not answered yet, or not for sure, counts as tentative, but for its own meetings.
std::optional<size_t> firmness(const CalendarComponent& component, const Addresses& addresses) {
    if (component.transparent || component.status == "CANCELLED") return std::nullopt;
    const size_t told = component.status == "TENTATIVE" ? 1 : 0;
    const auto self = std::ranges::find_if(
        component.attendees, [&](const CalendarUser& user) { return isAmong(addresses, user); });
    if (self == component.attendees.end() || self->status == STORE_PARTSTAT_ACCEPTED) return told;
    if (self->status == STORE_PARTSTAT_DECLINED) return std::nullopt;
    const bool own = component.organizer && isAmong(addresses, *component.organizer);
    return own && self->status != STORE_PARTSTAT_TENTATIVE ? told : 1;
}

void addEvent(const CalendarObject& event, const Addresses& addresses, TimeRange range,
              int64_t& steps, BusyTimes& times) {
    const int64_t given = std::min(steps, kEventSteps);
    StepBudget budget(given);
    eachOccurrence(event, range, budget, [&](const Occurrence& occurrence) {
        const auto list = firmness(*occurrence.component, addresses);
        if (!list) return true;
        const int64_t start = std::max(occurrence.startMs, range.fromMs);
        const int64_t end = std::min(occurrence.endMs, range.toMs);
        if (start < end) times[*list].push_back({start, end});
        return budget.take();
    });
    steps -= given - budget.left();
}

/// In order, without overlaps.
void merge(std::vector<BusyTime>& times) {
    std::ranges::sort(times, {}, &BusyTime::startMs);
    std::vector<BusyTime> merged;
    for (const BusyTime& time : times) {
        if (!merged.empty() && time.startMs <= merged.back().endMs) {
            merged.back().endMs = std::max(merged.back().endMs, time.endMs);
        } else {
            merged.push_back(time);
        }
    }
    times = std::move(merged);
}

BusyTimes busyTimes(Database& database, FolderKey folder, const Addresses& addresses,
                    TimeRange range) {
    BusyTimes times;
    int64_t steps = kReplySteps;
    std::vector<int64_t> numbers;
    database.itemsInSpan(folder, range.fromMs, range.toMs,
                         [&](StoredItem&& item) { numbers.push_back(item.row.number); });
    for (const int64_t number : numbers) {
        const auto item = database.item(folder, number);
        if (!item) continue;
        std::string problem;
        const auto event = CalendarObject::parse(ItemKind::kEvent, item->text, problem);
        if (event) addEvent(*event, addresses, range, steps, times);
    }
    for (auto& list : times) merge(list);
    return times;
}

std::string replyText(const FreeBusyRequest& request, const std::string& attendeeLine,
                      const BusyTimes& times) {
    constexpr std::array<std::string_view, 2> kTypes = {"BUSY", "BUSY-TENTATIVE"};
    std::string text =
        "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nPRODID:-//Corvane//CVWebDAV//EN\r\n"
        "METHOD:REPLY\r\nBEGIN:VFREEBUSY\r\n";
    const auto add = [&](const std::string& line) { text += foldedLine(line, kLineEnd); };
    if (!request.uid.empty()) add("UID:" + request.uid);
    add("DTSTAMP:" + utcText(platform::nowUtcMs()));
    add("DTSTART:" + utcText(request.range.fromMs));
    add("DTEND:" + utcText(request.range.toMs));
    if (!request.organizerLine.empty()) add(request.organizerLine);
    add(attendeeLine);
    for (size_t type = 0; type < kTypes.size(); ++type) {
        for (const BusyTime& time : times[type]) {
            add("FREEBUSY;FBTYPE=" + std::string(kTypes[type]) + ":" + utcText(time.startMs) + "/" +
                utcText(time.endMs));
        }
    }
    return text + "END:VFREEBUSY\r\nEND:VCALENDAR\r\n";
}

}  // namespace

std::optional<FreeBusyRequest> FreeBusyRequest::parse(std::string_view text) {
    FreeBusyRequest request;
    ComponentReader reader(text);
    for (Step step = reader.next(); step != Step::kFinished; step = reader.next()) {
        if (step == Step::kProblem) return std::nullopt;
        if (step != Step::kProperty || reader.depth() != 2) continue;
        if (reader.component(1) != "VFREEBUSY") continue;
        const ContentLine& line = reader.line();
        if (line.is("DTSTART")) request.range.fromMs = msOf(line, INT64_MIN);
        if (line.is("DTEND")) request.range.toMs = msOf(line, INT64_MAX);
        if (line.is("UID")) request.uid = trimmed(line.value);
        if (line.is("ORGANIZER")) request.organizerLine = wholeLine(line);
        if (!line.is("ATTENDEE")) continue;
        const std::string_view recipient = addressOf(line);
        // Recipients are handed on as one text, divided by bars.
        if (recipient.empty() || recipient.find('|') != recipient.npos) continue;
        request.recipients.emplace_back(recipient);
        request.attendeeLines.push_back(wholeLine(line));
    }
    const TimeRange& range = request.range;
    const bool bounded = range.fromMs != INT64_MIN && range.toMs != INT64_MAX;
    if (!bounded || range.toMs <= range.fromMs || request.recipients.empty()) return std::nullopt;
    if (range.toMs - range.fromMs > kLongestRangeMs) return std::nullopt;
    return request;
}

int32_t freeBusyReply(Engine& engine, const FreeBusyRequest& request, std::string_view recipient,
                      std::string& reply) {
    const auto found = std::ranges::find_if(
        request.recipients, [&](const std::string& each) { return equalNames(each, recipient); });
    if (found == request.recipients.end()) return STORE_NOT_FOUND;
    const auto account = engine.database().accountByAlias(lowerAscii(recipient));
    if (!account) return STORE_NOT_LOCAL;
    if (!account->publishesBusyTime) return STORE_NOT_PUBLISHING;
    const auto folder = engine.database().defaultFolder(account->id, ItemKind::kEvent);
    BusyTimes times;
    if (folder) {
        Addresses addresses = engine.database().aliases(account->id);
        addresses.push_back(account->address);
        times = busyTimes(engine.database(), folder->key, addresses, request.range);
    }
    const auto index = static_cast<size_t>(found - request.recipients.begin());
    reply = replyText(request, request.attendeeLines[index], times);
    return STORE_OK;
}

}  // namespace groupware
