// A library loaded by its path while the program runs.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace platform {

class DynamicLibrary {
  public:
    DynamicLibrary() = default;
    ~DynamicLibrary();
    DynamicLibrary(DynamicLibrary&& other) noexcept;
    DynamicLibrary& operator=(DynamicLibrary&& other) noexcept;
    DynamicLibrary(const DynamicLibrary&) = delete;
    DynamicLibrary& operator=(const DynamicLibrary&) = delete;

    /// Loads the library of that path without extension: "\a\CVUser" is CVUser.dll or CVUser.so as
    /// the platform names its libraries; a path that already ends so is taken as it is. All its
    /// symbols are resolved at once. Result: 0 or the system's error code.
    uint32_t load(std::string_view path);
    void unload();
    bool loaded() const { return handle_ != nullptr; }
    /// What the system said of the last failed load, for people.
    const std::string& problem() const { return problem_; }

    /// The address of a name, or null when the library lacks it.
    void* symbol(const char* name) const;

    template <typename Function>
    Function function(const char* name) const {
        return reinterpret_cast<Function>(symbol(name));
    }

  private:
    void* handle_ = nullptr;
    std::string problem_;
};

/// The directory of the libraries that came with the program, with a closing backslash: where they
/// are installed below its prefix, or lib beside bin, as they were built.
std::string libraryDirectory();

}  // namespace platform
