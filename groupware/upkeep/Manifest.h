// What a backup holds: the last file of its archive, by which everything before it is verified.
//
// A text of lines: what it is, the data directory's path, and for each file its digest and name.
#pragma once

#include <array>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include <sodium.h>

namespace groupware {

inline constexpr const char* kManifestName = "MANIFEST";
inline constexpr size_t kLargestManifest = size_t{256} * 1024 * 1024;

/// The digest of bytes that come in pieces.
class Digest {
  public:
    Digest();
    void add(std::string_view bytes);
    /// Ends it.
    std::string hexadecimal();

  private:
    crypto_generichash_state state_;
};

struct Manifest {
    std::string root;                                         ///< by the product's path rule
    std::map<std::string, std::string, std::less<>> digests;  ///< by the file's name

    std::string text() const;
    /// Nothing when the text is no manifest.
    static std::optional<Manifest> parse(std::string_view text);
};

}  // namespace groupware
