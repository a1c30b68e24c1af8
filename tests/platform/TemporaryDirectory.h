// A new directory for one test, removed with all that is in it.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <string>

#include "platform/Files.h"

class TemporaryDirectory {
  public:
    TemporaryDirectory() {
        std::string name = (std::filesystem::temp_directory_path() / "cvtest-XXXXXX").native();
        if (::mkdtemp(name.data()) != nullptr) native_ = name;
    }
    ~TemporaryDirectory() {
        std::error_code ignored;
        std::filesystem::remove_all(native_, ignored);
    }
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

    const std::string& native() const { return native_; }
    /// The path of a name in it; the name may have several levels.
    std::string path(const std::string& name = {}) const {
        return platform::fromNativePath(native_) + (name.empty() ? "" : "\\" + name);
    }

  private:
    std::string native_;
};
