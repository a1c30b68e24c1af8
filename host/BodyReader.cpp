#include "host/BodyReader.h"

#include <algorithm>
#include <utility>

#include <boost/asio/buffer.hpp>
#include <boost/beast/http/error.hpp>

namespace host {
namespace {

namespace asio = boost::asio;
namespace http = boost::beast::http;
using boost::beast::error_code;

/// The head has been read already; this one tells the parser what is left to know.
constexpr std::string_view kChunkedHead = "PUT / HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\n";

}  // namespace

BodyReader::BodyReader(const RequestHead& head, uint64_t longest)
    : missing_(head.contentLength().value_or(0)) {
    if (!head.chunked()) return;
    parser_.emplace();
    parser_->body_limit(longest);
    parser_->eager(true);
    error_code error;
    parser_->put(asio::buffer(kChunkedHead), error);
}

unsigned BodyReader::take(boost::beast::flat_buffer& received) {
    if (isChunked()) return takeChunks(received);
    const auto count = static_cast<size_t>(std::min<uint64_t>(missing_, received.size()));
    text_.append(static_cast<const char*>(received.cdata().data()), count);
    received.consume(count);
    missing_ -= count;
    return 0;
}

unsigned BodyReader::takeChunks(boost::beast::flat_buffer& received) {
    while (!parser_->is_done() && received.size() > 0) {
        error_code error;
        received.consume(parser_->put(received.data(), error));
        if (error == http::error::need_more) return 0;
        if (error) return error == http::error::body_limit ? 413 : 400;
    }
    return 0;
}

std::optional<uint64_t> BodyReader::missing() const {
    if (!isChunked()) return missing_;
    return parser_->is_done() ? std::optional<uint64_t>(0) : std::nullopt;
}

std::string BodyReader::takeText() {
    return std::move(isChunked() ? parser_->get().body() : text_);
}

}  // namespace host
