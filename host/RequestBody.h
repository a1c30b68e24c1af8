// How a request's body is kept while it arrives: a text that grows with what has come. What a
// client only announces takes no memory.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include <boost/beast/core/buffers_range.hpp>
#include <boost/beast/core/error.hpp>
#include <boost/beast/http/message.hpp>
#include <boost/optional.hpp>

namespace host {

/// A body type for the request parser.
struct RequestBody {
    using value_type = std::string;

    class reader {
      public:
        template <bool isRequest, typename Fields>
        reader(boost::beast::http::header<isRequest, Fields>&, value_type& body) : body_(body) {}

        void init(const boost::optional<uint64_t>&, boost::beast::error_code& error) { error = {}; }

        template <typename ConstBuffers>
        size_t put(const ConstBuffers& buffers, boost::beast::error_code& error) {
            error = {};
            const size_t before = body_.size();
            for (const auto part : boost::beast::buffers_range_ref(buffers)) {
                body_.append(static_cast<const char*>(part.data()), part.size());
            }
            return body_.size() - before;
        }

        void finish(boost::beast::error_code& error) { error = {}; }

      private:
        value_type& body_;
    };
};

}  // namespace host
