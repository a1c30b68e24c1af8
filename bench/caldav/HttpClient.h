// A client for one connection at a time over plain sockets: what it costs is small beside any
// server and no part of the figures for the server. It opens a connection when none is kept alive.
//
// One thread each. Failures are told in the answer; a server that is silent for a minute has
// failed.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace bench {

struct HttpAnswer {
    int status = 0;       ///< 0 when there was no answer
    size_t received = 0;  ///< bytes, head included
    std::string body;
    std::string problem;  ///< empty when the answer came whole
};

class HttpClient {
  public:
    /// @param host an IPv4 address in digits
    HttpClient(std::string host, uint16_t port) : host_(std::move(host)), port_(port) {}
    ~HttpClient() { close(); }
    HttpClient(const HttpClient&) = delete;
    HttpClient& operator=(const HttpClient&) = delete;

    /// Sends a whole request in one write and reads its answer.
    HttpAnswer ask(std::string_view request);

  private:
    static constexpr size_t kPiece = size_t{256} * 1024;

    bool connect();
    bool send(std::string_view bytes) const;
    bool receive();
    void close();
    bool readHead(HttpAnswer& answer);
    bool readBody(HttpAnswer& answer);
    bool readChunks(HttpAnswer& answer);
    bool readUpTo(size_t length);
    std::string_view header(std::string_view name) const;

    std::string host_;
    uint16_t port_;
    int socket_ = -1;
    std::vector<char> piece_ = std::vector<char>(kPiece);
    std::string input_;  ///< what has come of the answer so far
    size_t headEnd_ = 0;
};

}  // namespace bench
