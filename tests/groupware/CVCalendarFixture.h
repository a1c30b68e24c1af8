// The calendar library as the extension module sees it, over a store with one account.
#pragma once

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "abi/CVCalendar.h"
#include "platform/DynamicLibrary.h"
#include "tests/groupware/StoreDirectory.h"

namespace groupware {

#define CALL(operation, ...) bound<decltype(operation)>(#operation)(__VA_ARGS__)

inline constexpr const char* kActor = "alice@example.test";

inline std::string event(const std::string& uid, const std::string& more = "") {
    return "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nPRODID:-//a//b//EN\r\nBEGIN:VEVENT\r\nUID:" + uid +
           "\r\nDTSTART:20250601T100000Z\r\nDTEND:20250601T110000Z\r\n" + more +
           "END:VEVENT\r\nEND:VCALENDAR\r\n";
}

inline bool same(const StoreDateTime& a, const StoreDateTime& b) {
    return std::memcmp(&a, &b, sizeof a) == 0;
}

/// Calls the operations as the extension module does: by name, from the loaded library.
class CVCalendarFixture : public ::testing::Test {
  protected:
    CVCalendarFixture() : engine_(store_.open()) {
        EXPECT_FALSE(addUser(*engine_, kActor, "Alice A.", "secret"));
        setenv("CORVANE_REGISTRY", store_.native("registry.ini").c_str(), 1);
        Engine::closeOfProcess();
        EXPECT_EQ(library_.load(platform::libraryDirectory() + "CVCalendar"), 0U)
            << library_.problem();
        events_ = pathOf(ItemKind::kEvent);
        tasks_ = pathOf(ItemKind::kTask);
        contacts_ = pathOf(ItemKind::kContact);
    }
    ~CVCalendarFixture() override {
        unsetenv("CORVANE_REGISTRY");
        Engine::closeOfProcess();
    }

    template <typename Operation>
    Operation* bound(const char* name) {
        return library_.function<Operation*>(name);
    }
    /// Records of events, given back in the end; a pointer to the first for what takes one.
    class Events {
      public:
        explicit Events(CVCalendarFixture& test, size_t count = 1) : test_(test) { resize(count); }
        ~Events() {
            for (StoreCalItem& item : items_) test_.CALL(CV_CalFreeCalItemEx, &item);
        }
        Events(const Events&) = delete;
        Events& operator=(const Events&) = delete;

        void resize(size_t count) {
            const size_t former = items_.size();
            items_.resize(count);
            for (size_t i = former; i < count; ++i) test_.CALL(CV_CalInitCalItemEx, &items_[i]);
        }
        StoreCalItem* get() { return items_.data(); }
        StoreCalItem* operator->() { return get(); }
        StoreCalItem& operator[](size_t i) { return items_[i]; }

      private:
        CVCalendarFixture& test_;
        std::vector<StoreCalItem> items_;
    };
    std::optional<FolderRow> folderOf(ItemKind kind) {
        const auto account = engine_->database().account(kActor);
        return engine_->database().defaultFolder(account->id, kind);
    }
    std::string pathOf(ItemKind kind) {
        const auto account = engine_->database().account(kActor);
        return engine_->folderDirectory(*account, *folderOf(kind));
    }
    std::string taken(char* text) {
        const std::string copy = text != nullptr ? text : "(null)";
        CALL(CV_GWDeletePointer, text);
        return copy;
    }
    /// Stores an event the way a PUT does; the record's statuses of every step must be good.
    void put(const std::string& text) {
        const char* folder = events_.c_str();
        Events item(*this);
        ASSERT_EQ(CALL(CV_CalReadFromICalendarString, item.get(), text.c_str(), kActor), STORE_OK);
        const bool found = CALL(CV_CalGetIDFromiCalUid, folder, item->uid, &item->itemNumber) != 0;
        ASSERT_EQ(found ? CALL(CV_CalEditCalItem, item.get(), item->itemNumber, folder, kActor)
                        : CALL(CV_CalWriteCalItem, item.get(), folder, kActor),
                  STORE_OK);
        ASSERT_EQ(CALL(CV_CalSetRelatedDAVData, item->itemNumber, folder, text.c_str(),
                       static_cast<uint32_t>(text.size())),
                  STORE_OK);
        Events stored(*this);
        ASSERT_EQ(CALL(CV_CalGetCalItemEx, stored.get(), item->itemNumber, folder, 0), STORE_OK);
        EXPECT_TRUE(same(item->lastModified, stored->lastModified));
    }
    std::string get(const std::string& uid) {
        uint32_t number = 0;
        if (CALL(CV_CalGetIDFromiCalUid, events_.c_str(), uid.c_str(), &number) == 0) return "none";
        Events item(*this);
        EXPECT_EQ(CALL(CV_CalGetCalItemEx, item.get(), number, events_.c_str(), 0), STORE_OK);
        return textOf(*item.get());
    }
    std::string textOf(StoreCalItem& item) {
        char* text = nullptr;
        EXPECT_EQ(CALL(CV_CalItemToICalendarStringEx, &item, events_.c_str(), kActor, &text),
                  STORE_OK);
        return taken(text);
    }

    StoreDirectory store_;
    std::unique_ptr<Engine> engine_;
    platform::DynamicLibrary library_;
    std::string events_;
    std::string tasks_;
    std::string contacts_;
};

}  // namespace groupware
