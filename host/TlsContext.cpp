#include "host/TlsContext.h"

#include <boost/system/error_code.hpp>
#include <openssl/ssl.h>

namespace host {

namespace ssl = boost::asio::ssl;

std::shared_ptr<ssl::context> makeTlsContext(const std::string& certificateFile,
                                             const std::string& keyFile, std::string& problem) {
    auto context = std::make_shared<ssl::context>(ssl::context::tls_server);
    SSL_CTX* native = context->native_handle();
    SSL_CTX_set_min_proto_version(native, TLS1_2_VERSION);
    SSL_CTX_set_options(native, SSL_OP_NO_RENEGOTIATION | SSL_OP_NO_COMPRESSION);
    // An idle connection keeps no record buffers.
    SSL_CTX_set_mode(native, SSL_MODE_RELEASE_BUFFERS);
    // A connection carries one request: tickets make the next one cheap and cost no memory here.
    SSL_CTX_set_session_cache_mode(native, SSL_SESS_CACHE_OFF);

    boost::system::error_code error;
    context->use_certificate_chain_file(certificateFile, error);
    if (error) {
        problem = "cannot use the certificate " + certificateFile + ": " + error.message();
        return nullptr;
    }
    context->use_private_key_file(keyFile, ssl::context::pem, error);
    if (error) {
        problem = "cannot use the private key " + keyFile + ": " + error.message();
        return nullptr;
    }
    return context;
}

}  // namespace host
