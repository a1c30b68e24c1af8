// The head of a request: the request line and the header lines, as they were received.
//
// The session feeds what arrives to a HeadScanner until the head is whole, then has RequestHead
// take it apart. Both are strict: where two servers could read a head differently, it is refused.
// A refusal is a status number; 0 is none.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/Limits.h"

namespace host {

/// Finds the end of a head that arrives in pieces; looks at every byte once.
class HeadScanner {
  public:
    explicit HeadScanner(const Limits& limits) : limits_(limits) {}

    struct Result {
        size_t length = 0;     ///< of the whole head, once it is there
        unsigned refusal = 0;  /// 400, 414 or 431
    };
    /// Everything received so far; what was given before must stand unchanged at its start.
    Result scan(std::string_view received);

  private:
    unsigned checkLine(std::string_view line) const;

    Limits limits_;
    size_t seen_ = 0;
    size_t lineStart_ = 0;
    size_t lines_ = 0;
};

struct HeaderField {
    std::string_view name;
    std::string_view value;
};

/// Not copied or moved: the fields point into its text.
class RequestHead {
  public:
    RequestHead() = default;
    RequestHead(const RequestHead&) = delete;
    RequestHead& operator=(const RequestHead&) = delete;

    /// Takes a whole head. A result other than 0 is the status to refuse the request with.
    unsigned parse(std::string text);

    std::string_view method() const { return method_; }
    std::string_view target() const { return target_; }
    std::string_view version() const { return version_; }
    /// The header lines as they came, each with its CR LF.
    std::string_view lines() const { return lines_; }
    const std::vector<HeaderField>& fields() const { return fields_; }

    /// The values of all fields of a name, joined by ", "; nothing when there is none.
    std::optional<std::string> value(std::string_view name) const;

    std::optional<uint64_t> contentLength() const { return contentLength_; }
    bool chunked() const { return chunked_; }
    bool expectsContinue() const { return expectsContinue_; }

  private:
    unsigned parseRequestLine(std::string_view line);
    bool parseFields(std::string_view lines);
    unsigned checkHost() const;
    unsigned readFraming();
    unsigned readExpectation();
    size_t count(std::string_view name) const;

    std::string text_;
    std::string_view method_;
    std::string_view target_;
    std::string_view version_;
    std::string_view lines_;
    std::vector<HeaderField> fields_;
    std::optional<uint64_t> contentLength_;
    bool chunked_ = false;
    bool expectsContinue_ = false;
};

}  // namespace host
