#include <chrono>
#include <string>

#include "groupware/engine/FailureLog.h"
#include "tests/groupware/CVCalendarFixture.h"

namespace groupware {
namespace {

class FailureLogTest : public CVCalendarFixture {};

TEST_F(FailureLogTest, AFailingDatabaseIsToldOnStandardError) {
    const std::string database = store_.paths().database;
    Engine::closeOfProcess();
    platform::replaceFile(database, std::string(8192, 'x'));
    testing::internal::CaptureStderr();
    for (int i = 0; i < 3; ++i) {
        Events item(*this);
        EXPECT_EQ(CALL(CV_CalGetCalItemEx, item.get(), 1U, events_.c_str(), 0), STORE_IO_ERROR);
    }
    const std::string told = testing::internal::GetCapturedStderr();
    EXPECT_TRUE(told.starts_with("corvane store: ")) << told;
    EXPECT_EQ(told.find('\n'), told.size() - 1) << told;
}

TEST(FailureLogLines, TellsEachFailureWhenItComesUpAndNoneTooOften) {
    FailureLog log;
    const auto at = [](int ms) { return FailureLog::Time() + std::chrono::milliseconds(ms); };
    const struct {
        int ms;
        const char* failure;
        const char* line;
    } cases[] = {
        {0, "a\nb", "corvane store: a b\n"},
        {0, "c", "corvane store: c\n"},
        {59'000, "c", ""},
        {59'000, "a\nb", ""},
        {62'000, "c", "corvane store: c\n"},
    };
    for (const auto& each : cases) EXPECT_EQ(log.lineFor(each.failure, at(each.ms)), each.line);
    size_t told = 0;
    for (int i = 0; i < 1000; ++i) {
        if (!log.lineFor(std::to_string(i), at(200'000 + i)).empty()) ++told;
    }
    EXPECT_EQ(told, FailureLog::kMostInAMinute);
}

}  // namespace
}  // namespace groupware
