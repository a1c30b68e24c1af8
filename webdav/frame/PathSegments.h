// The segments of a request's path, and what those behind a keyword say of a folder and an item.
//
// Pure functions over text that a client sent; linear in it, safe from every thread.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace webdav {

/// Divides a path at its slashes; nothing stands between two that follow each other. A "/" within a
/// base64 folder name does not divide.
std::vector<std::string> SplitPath(std::string path);

/// Divides a text at its slashes, leaving out what is empty.
std::vector<std::string> SplitAtSlashes(std::string_view text);

/// True for a name that ends in ".ics" or ".vcf".
bool IsItemName(std::string_view segment);

/// One way to read the segments behind a keyword, or behind the mailbox in the forms that name one.
struct FolderReading {
    std::vector<std::string> folder;  ///< one name a level; none for the default folder
    std::string item;
};

enum class SegmentForm {
    kNames,       ///< the names of folders as they are
    kCollection,  ///< below a home, where a folder may stand as one "b64=" segment
};

/// How the segments are to be read.
FolderReading ReadSegments(std::span<const std::string> segments, SegmentForm form);

/// How they may be read for DELETE, which takes a last segment without extension for an item when
/// it names no folder: the first reading whose folder exists holds.
std::vector<FolderReading> ReadSegmentsForDelete(std::span<const std::string> segments,
                                                 SegmentForm form);

}  // namespace webdav
