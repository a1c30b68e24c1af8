// A data directory for one test, with its engine.
#pragma once

#include <gtest/gtest.h>

#include "groupware/engine/Accounts.h"
#include "groupware/engine/Engine.h"
#include "platform/Files.h"
#include "tests/platform/TemporaryDirectory.h"

/// Stand-ins for the libraries, which init only links to.
inline std::string libraryStandIns(const TemporaryDirectory& directory) {
    const std::string libraries = directory.path("libraries");
    platform::createDirectories(libraries);
    for (const char* name : {"CVUser.so", "CVCalendar.so", "libcvgroupware.so"}) {
        platform::replaceFile(libraries + "\\" + name, "");
    }
    return libraries;
}

class StoreDirectory {
  public:
    StoreDirectory() : paths_(groupware::DataPaths::below(directory_.path("data"))) {
        const auto problem =
            groupware::initDataDirectory(paths_, "example.test", libraryStandIns(directory_));
        EXPECT_FALSE(problem) << *problem;
    }

    const groupware::DataPaths& paths() const { return paths_; }
    std::string native(const std::string& name) const {
        return directory_.native() + "/data/" + name;
    }
    /// A name beside the data directory.
    std::string beside(const std::string& name) const { return directory_.path(name); }
    std::string libraries() const { return directory_.path("libraries"); }
    std::unique_ptr<groupware::Engine> open() const {
        return std::make_unique<groupware::Engine>(paths_);
    }

  private:
    TemporaryDirectory directory_;
    groupware::DataPaths paths_;
};
