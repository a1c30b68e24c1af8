// Takes the body of a request out of what arrives: as many bytes as the head announced, or chunks.
//
// The text grows with what has come; what a client only announces takes no memory.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include <boost/beast/core/buffers_range.hpp>
#include <boost/beast/core/error.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/message.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/optional.hpp>

#include "host/RequestHead.h"

namespace host {

class BodyReader {
  public:
    /// For a head that is well formed and announces no body longer than that.
    BodyReader(const RequestHead& head, uint64_t longest);

    /// Consumes what is there of the body. The status to refuse the request with, or 0.
    unsigned take(boost::beast::flat_buffer& received);
    bool isWhole() const { return isChunked() ? parser_->is_done() : missing_ == 0; }
    /// How many bytes are still to come; nothing when the client has not told.
    std::optional<uint64_t> missing() const;
    size_t size() const { return isChunked() ? parser_->get().body().size() : text_.size(); }
    /// What has come; once.
    std::string takeText();

  private:
    /// Has the parser of chunks append to a text.
    struct Text {
        using value_type = std::string;

        class reader {
          public:
            template <bool isRequest, typename Fields>
            reader(boost::beast::http::header<isRequest, Fields>&, value_type& text)
                : text_(text) {}

            void init(const boost::optional<uint64_t>&, boost::beast::error_code& error) {
                error = {};
            }

            template <typename ConstBuffers>
            size_t put(const ConstBuffers& buffers, boost::beast::error_code& error) {
                error = {};
                const size_t before = text_.size();
                for (const auto part : boost::beast::buffers_range_ref(buffers)) {
                    text_.append(static_cast<const char*>(part.data()), part.size());
                }
                return text_.size() - before;
            }

            void finish(boost::beast::error_code& error) { error = {}; }

          private:
            value_type& text_;
        };
    };

    bool isChunked() const { return parser_.has_value(); }
    unsigned takeChunks(boost::beast::flat_buffer& received);

    std::string text_;
    uint64_t missing_ = 0;
    std::optional<boost::beast::http::request_parser<Text>> parser_;
};

}  // namespace host
