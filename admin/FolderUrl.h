// Where clients find a folder: the path of its URL, as the server hands it out.
#pragma once

#include <string>
#include <string_view>

#include "groupware/db/Database.h"

namespace admin {

/// /webdav/caldav/example.test/alice/b64=Q2FsZW5kYXI=/
std::string folderUrlPath(const groupware::AccountRow& owner, const groupware::FolderRow& folder);

/// A text as it may stand in a query.
std::string queryEncoded(std::string_view text);

}  // namespace admin
