#include "host/TlsContext.h"

#include <array>

#include <boost/system/error_code.hpp>
#include <openssl/err.h>
#include <openssl/ssl.h>

#include "platform/Error.h"

namespace host {
namespace {

namespace ssl = boost::asio::ssl;

/// Of TLS 1.2: forward secrecy and authenticated encryption only. All of TLS 1.3's have both.
constexpr const char* kCiphers = "ECDHE+AESGCM:ECDHE+CHACHA20";

/// A client that offers protocols must offer this one (RFC 7301).
constexpr std::array<unsigned char, 9> kProtocols = {8, 'h', 't', 't', 'p', '/', '1', '.', '1'};

int chooseProtocol(SSL*, const unsigned char** chosen, unsigned char* size,
                   const unsigned char* offered, unsigned offeredSize, void*) {
    unsigned char* found = nullptr;
    if (SSL_select_next_proto(&found, size, kProtocols.data(), kProtocols.size(), offered,
                              offeredSize) != OPENSSL_NPN_NEGOTIATED) {
        return SSL_TLSEXT_ERR_ALERT_FATAL;
    }
    *chosen = found;
    return SSL_TLSEXT_ERR_OK;
}

void configure(SSL_CTX* context) {
    SSL_CTX_set_min_proto_version(context, TLS1_2_VERSION);
    SSL_CTX_set_cipher_list(context, kCiphers);
    SSL_CTX_set_options(context, SSL_OP_NO_RENEGOTIATION | SSL_OP_NO_COMPRESSION |
                                     SSL_OP_CIPHER_SERVER_PREFERENCE | SSL_OP_PRIORITIZE_CHACHA);
    // An idle connection keeps no record buffers.
    SSL_CTX_set_mode(context, SSL_MODE_RELEASE_BUFFERS);
    // A connection carries one request: tickets make the next one cheap and cost no memory here.
    SSL_CTX_set_session_cache_mode(context, SSL_SESS_CACHE_OFF);
    SSL_CTX_set_alpn_select_cb(context, chooseProtocol, nullptr);
}

/// A file that cannot be read is told by the number of the system's error, which has no words of
/// its own among those of OpenSSL.
std::string reasonOf(const boost::system::error_code& error) {
    const auto code = static_cast<unsigned>(error.value());
    if (!ERR_SYSTEM_ERROR(code)) return error.message();
    return platform::describeError(static_cast<uint32_t>(ERR_GET_REASON(code)));
}

}  // namespace

std::shared_ptr<ssl::context> makeTlsContext(const std::string& certificateFile,
                                             const std::string& keyFile, std::string& problem) {
    auto context = std::make_shared<ssl::context>(ssl::context::tls_server);
    configure(context->native_handle());
    boost::system::error_code error;
    context->use_certificate_chain_file(certificateFile, error);
    if (error) {
        problem = "cannot use the certificate " + certificateFile + ": " + reasonOf(error);
        return nullptr;
    }
    context->use_private_key_file(keyFile, ssl::context::pem, error);
    if (error) {
        problem = "cannot use the private key " + keyFile + ": " + reasonOf(error);
        return nullptr;
    }
    // A key of another kind than the certificate's is taken above without a word.
    if (SSL_CTX_check_private_key(context->native_handle()) != 1) {
        ERR_clear_error();
        problem =
            "the private key " + keyFile + " is not that of the certificate " + certificateFile;
        return nullptr;
    }
    return context;
}

}  // namespace host
