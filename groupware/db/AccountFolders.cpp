#include "groupware/db/AccountFolders.h"

#include <algorithm>
#include <numeric>

namespace groupware {

namespace {

constexpr char lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
}

/// Names match as in the database, without regard to ASCII case.
bool comesBefore(std::string_view left, std::string_view right) {
    return std::ranges::lexicographical_compare(left, right, {}, lower, lower);
}

}  // namespace

AccountFolders::AccountFolders(int64_t count, std::vector<FolderRow> rows)
    : version_(count), rows_(std::move(rows)), byName_(rows_.size()) {
    for (const FolderRow& row : rows_) version_ += row.stampMs;
    std::iota(byName_.begin(), byName_.end(), size_t{0});
    std::ranges::sort(byName_, comesBefore,
                      [&](size_t at) -> std::string_view { return rows_[at].name; });
}

std::optional<FolderRow> AccountFolders::named(std::string_view name) const {
    const auto nameAt = [&](size_t at) -> std::string_view { return rows_[at].name; };
    const auto found = std::ranges::lower_bound(byName_, name, comesBefore, nameAt);
    if (found == byName_.end() || comesBefore(name, rows_[*found].name)) return std::nullopt;
    return rows_[*found];
}

std::optional<FolderRow> AccountFolders::defaultOf(ItemKind kind) const {
    const auto found = std::ranges::find_if(
        rows_, [&](const FolderRow& row) { return row.isDefault && row.kind == kind; });
    return found == rows_.end() ? std::nullopt : std::optional(*found);
}

void AccountFolders::setStamp(FolderKey folder, int64_t stamp) {
    const auto row = std::ranges::lower_bound(rows_, folder, {}, &FolderRow::key);
    if (row == rows_.end() || row->key != folder) return;
    version_ += stamp - row->stampMs;
    row->stampMs = stamp;
}

}  // namespace groupware
