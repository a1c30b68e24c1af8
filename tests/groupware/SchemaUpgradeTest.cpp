#include <gtest/gtest.h>

#include "groupware/db/Database.h"
#include "groupware/db/SqliteConnection.h"
#include "tests/groupware/FormerSchemas.h"
#include "tests/platform/TemporaryDirectory.h"

using namespace groupware;

namespace {

/// Every table and index as the database describes it.
std::string schemaOf(const std::string& path) {
    SqliteConnection connection(path);
    auto query = connection.statement("SELECT type, name, sql FROM sqlite_master ORDER BY name");
    std::string schema;
    while (query.step()) {
        schema += query.text(0) + " " + query.text(1) + ": " + query.text(2) + "\n";
    }
    return schema;
}

int64_t versionOf(const std::string& path) {
    SqliteConnection connection(path);
    auto query = connection.statement("PRAGMA user_version");
    return query.step() ? query.integer(0) : -1;
}

/// The parameter is the version that the database was made by.
class SchemaUpgradeTest : public ::testing::TestWithParam<int> {
  protected:
    SchemaUpgradeTest() {
        platform::replaceFile(path(), "");
        SqliteConnection connection(path());
        connection.execute("PRAGMA journal_mode=WAL");
        connection.execute(kSchemaVersion1);
        connection.execute(kContentsVersion1);
        if (GetParam() >= 2) {
            connection.execute(kSchemaVersion2);
            connection.execute(kContentsVersion2);
        }
        if (GetParam() >= 3) connection.execute(kSchemaVersion3);
        connection.execute(("PRAGMA user_version=" + std::to_string(GetParam())).c_str());
    }

    std::string path() const { return directory_.path("corvane.db"); }

    TemporaryDirectory directory_;
};

TEST_P(SchemaUpgradeTest, BecomesWhatANewDatabaseIs) {
    const std::string fresh = directory_.path("fresh.db");
    openSqliteDatabase(fresh, true);
    openSqliteDatabase(path(), false);
    EXPECT_EQ(schemaOf(path()), schemaOf(fresh));
    EXPECT_EQ(versionOf(path()), versionOf(fresh));
    EXPECT_GT(versionOf(path()), GetParam());
    openSqliteDatabase(path(), false);  // once is enough
}

TEST_P(SchemaUpgradeTest, KeepsWhatWasThere) {
    const auto database = openSqliteDatabase(path(), false);
    const auto alice = database->account("alice@example.test");
    ASSERT_TRUE(alice);
    const auto version = database->accountVersion(alice->id);
    ASSERT_TRUE(version);
    EXPECT_TRUE(alice->publishesBusyTime);
    EXPECT_EQ(database->aliases(alice->id), std::vector<std::string>{"info@example.test"});
    const auto calendar = database->folder(alice->id, "Calendar");
    ASSERT_TRUE(calendar);
    EXPECT_EQ(calendar->stampMs, 1'700'000'000'123);
    EXPECT_FALSE(calendar->token);
    ASSERT_EQ(database->itemCount(calendar->key), 1U);
    EXPECT_EQ(database->item(calendar->key, 3)->text, "BEGIN:VCALENDAR");
    EXPECT_EQ(database->grantsOn(alice->id).size(), GetParam() >= 2 ? 1U : 0U);

    const auto change = database->begin();
    change->setGrant(calendar->key, database->account("bob@example.test")->id, 2);
    EXPECT_EQ(change->insertItem(calendar->key, {"later", "text", "", {}}).number, 4);
    change->setToken(calendar->key, "token");
    change->commit();
    EXPECT_GT(*database->accountVersion(alice->id), *version);
}

INSTANTIATE_TEST_SUITE_P(EveryVersion, SchemaUpgradeTest, ::testing::Values(1, 2, 3));

}  // namespace
