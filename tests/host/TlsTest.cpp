#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <memory>

#include <boost/asio/ssl/context.hpp>
#include <boost/asio/ssl/stream.hpp>
#include <gtest/gtest.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/ssl.h>
#include <openssl/x509.h>

#include "tests/host/TestClient.h"
#include "tests/platform/TemporaryDirectory.h"

namespace host {
namespace {

namespace asio = boost::asio;
using asio::ip::tcp;
using TlsStream = asio::ssl::stream<tcp::socket>;

template <typename T, void (*release)(T*)>
struct Release {
    void operator()(T* object) const { release(object); }
};
using Key = std::unique_ptr<EVP_PKEY, Release<EVP_PKEY, EVP_PKEY_free>>;
using Certificate = std::unique_ptr<X509, Release<X509, X509_free>>;
using Session = std::unique_ptr<SSL_SESSION, Release<SSL_SESSION, SSL_SESSION_free>>;

/// A key and a self-signed certificate in files of their own for as long as the object lives.
class TestCertificate {
  public:
    TestCertificate() { writeNew(); }

    void writeNew() const {
        const Key key(EVP_EC_gen("P-256"));
        const Certificate certificate(X509_new());
        X509_gmtime_adj(X509_getm_notBefore(certificate.get()), 0);
        X509_gmtime_adj(X509_getm_notAfter(certificate.get()), 3600);
        X509_set_pubkey(certificate.get(), key.get());
        X509_sign(certificate.get(), key.get(), EVP_sha256());
        FILE* file = std::fopen(certificateFile().c_str(), "w");
        PEM_write_X509(file, certificate.get());
        std::fclose(file);
        writeKey(*key);
    }
    void writeKey(const EVP_PKEY& key) const {
        FILE* file = std::fopen(keyFile().c_str(), "w");
        PEM_write_PrivateKey(file, &key, nullptr, nullptr, 0, nullptr, nullptr);
        std::fclose(file);
    }

    std::string certificateFile() const { return directory_.native() + "/certificate.pem"; }
    std::string keyFile() const { return directory_.native() + "/key.pem"; }

  private:
    TemporaryDirectory directory_;
};

/// What tells one certificate from another.
std::string certificateText(const X509& certificate) {
    const ASN1_BIT_STRING* signature = nullptr;
    const X509_ALGOR* algorithm = nullptr;
    X509_get0_signature(&signature, &algorithm, &certificate);
    return {reinterpret_cast<const char*>(signature->data), static_cast<size_t>(signature->length)};
}

class TlsHost : public testing::Test {
  protected:
    static ServerSettings settings(const TestCertificate& certificate) {
        ServerSettings settings;
        settings.tls.push_back({"127.0.0.1", 0});
        settings.certificateFile = certificate.certificateFile();
        settings.keyFile = certificate.keyFile();
        settings.threads = 2;
        return settings;
    }

    std::unique_ptr<TlsStream> connect(uint16_t port, SSL_SESSION* session = nullptr) {
        auto stream = std::make_unique<TlsStream>(io_, context_);
        stream->lowest_layer().connect(tcp::endpoint(asio::ip::address_v4::loopback(), port));
        if (session != nullptr) SSL_set_session(stream->native_handle(), session);
        boost::system::error_code error;
        stream->handshake(TlsStream::client, error);
        return error ? nullptr : std::move(stream);
    }

    /// Fails the test when the answer does not end as TLS ends.
    static std::string exchange(TlsStream& stream, const std::string& request) {
        boost::system::error_code error;
        asio::write(stream, asio::buffer(request), error);
        EXPECT_FALSE(error);
        std::string answer;
        asio::read(stream, asio::dynamic_buffer(answer), error);
        EXPECT_EQ(error, asio::error::eof) << error.message();
        return answer;
    }

    TestCertificate certificate_;
    asio::io_context io_;
    asio::ssl::context context_{asio::ssl::context::tls_client};
};

TEST_F(TlsHost, ServesAndResumesSessions) {
    RunningServer server(settings(certificate_));
    EXPECT_TRUE(server.server().urls().at(0).starts_with("https://127.0.0.1:"));
    for (const int version : {TLS1_2_VERSION, TLS1_3_VERSION}) {
        SSL_CTX_set_min_proto_version(context_.native_handle(), version);
        SSL_CTX_set_max_proto_version(context_.native_handle(), version);
        const auto first = connect(server.port());
        ASSERT_TRUE(first);
        const std::string answer =
            exchange(*first, "GET /webdav/variables HTTP/1.1\r\nHost: x\r\n\r\n");
        EXPECT_NE(answer.find("\nREMOTE_ADDR=127.0.0.1/10\n"), std::string::npos) << answer;
        EXPECT_NE(answer.find("HTTPS=on/3\n"), std::string::npos) << answer;
        const Session session(SSL_get1_session(first->native_handle()));

        const auto second = connect(server.port(), session.get());
        ASSERT_TRUE(second);
        EXPECT_EQ(SSL_session_reused(second->native_handle()), 1) << version;
        // Without a body there is nothing to go on with.
        const std::string large = exchange(*second,
                                           "GET /webdav/large HTTP/1.1\r\nHost: x\r\n"
                                           "Expect: 100-continue\r\nContent-Length: 0\r\n\r\n");
        EXPECT_TRUE(large.starts_with("HTTP/1.1 299 ") && large.ends_with("xxxx"));
    }
    EXPECT_TRUE(server.stop());
}

TEST_F(TlsHost, RefusesOldVersionsAndPlainText) {
    RunningServer server(settings(certificate_));
    SSL_CTX_set_min_proto_version(context_.native_handle(), TLS1_VERSION);
    SSL_CTX_set_max_proto_version(context_.native_handle(), TLS1_1_VERSION);
    EXPECT_FALSE(connect(server.port()));
    const std::string answer = host::exchange(server.port(), "GET / HTTP/1.1\r\nHost: x\r\n\r\n");
    EXPECT_EQ(answer.find("HTTP/1.1"), std::string::npos);
    EXPECT_TRUE(server.stop());
}

TEST_F(TlsHost, ReloadsItsCertificateUnlessTheNewOneIsBad) {
    RunningServer server(settings(certificate_));
    const auto shown = [&] {
        const auto stream = connect(server.port());
        if (!stream) return std::string();
        const Certificate seen(SSL_get1_peer_certificate(stream->native_handle()));
        return certificateText(*seen);
    };
    const std::string first = shown();
    EXPECT_FALSE(first.empty());
    const auto early = connect(server.port());

    certificate_.writeNew();
    server.server().reload();
    const std::string second = shown();
    EXPECT_NE(second, first);
    const std::string request = "GET /webdav/echo HTTP/1.1\r\nHost: x\r\n\r\n";
    EXPECT_TRUE(exchange(*early, request).starts_with("HTTP/1.1 299 "));

    testing::internal::CaptureStderr();
    certificate_.writeKey(*Key(EVP_PKEY_Q_keygen(nullptr, nullptr, "ED25519")));
    server.server().reload();
    EXPECT_EQ(shown(), second);
    std::filesystem::remove(certificate_.keyFile());
    server.server().reload();
    EXPECT_EQ(shown(), second);
    const std::string said = testing::internal::GetCapturedStderr();
    const std::string key = "private key " + certificate_.keyFile();
    EXPECT_NE(said.find(key + " is not that of"), std::string::npos) << said;
    EXPECT_NE(said.find(key + ": No such file or directory"), std::string::npos) << said;
    EXPECT_EQ(std::ranges::count(said, '\n'), 2) << said;
    EXPECT_TRUE(server.stop());
}

TEST_F(TlsHost, AgreesOnHttp11OrNothing) {
    RunningServer server(settings(certificate_));
    const std::pair<std::string, bool> cases[] = {
        {"\x08http/1.1", true}, {"\x02h2\x08http/1.1", true}, {"\x02h2", false}};
    for (const auto& [offered, agreed] : cases) {
        SSL_CTX_set_alpn_protos(context_.native_handle(),
                                reinterpret_cast<const unsigned char*>(offered.data()),
                                static_cast<unsigned>(offered.size()));
        const auto stream = connect(server.port());
        ASSERT_EQ(stream != nullptr, agreed) << offered;
        if (!stream) continue;
        const unsigned char* chosen = nullptr;
        unsigned size = 0;
        SSL_get0_alpn_selected(stream->native_handle(), &chosen, &size);
        EXPECT_EQ(std::string(reinterpret_cast<const char*>(chosen), size), "http/1.1");
    }
    EXPECT_TRUE(server.stop());
}

TEST_F(TlsHost, SpeaksModernCiphersOnly) {
    RunningServer server(settings(certificate_));
    SSL_CTX_set_max_proto_version(context_.native_handle(), TLS1_2_VERSION);
    for (const auto& [ciphers, agreed] :
         {std::pair("ECDHE-ECDSA-CHACHA20-POLY1305", true), std::pair("ECDHE+AESGCM", true),
          std::pair("ECDHE-ECDSA-AES128-SHA256", false), std::pair("AES128-GCM-SHA256", false)}) {
        SSL_CTX_set_cipher_list(context_.native_handle(), ciphers);
        EXPECT_EQ(connect(server.port()) != nullptr, agreed) << ciphers;
    }
    EXPECT_TRUE(server.stop());
}

TEST_F(TlsHost, SaysWhichFileCannotBeUsed) {
    ExtensionModule module = TestExtension::module();
    ServerSettings wrong = settings(certificate_);
    wrong.keyFile = certificate_.certificateFile();
    const auto key = Server(wrong, module).open();
    ASSERT_TRUE(key);
    EXPECT_NE(key->find("private key " + wrong.keyFile), std::string::npos) << *key;
    wrong.certificateFile += ".missing";
    const auto certificate = Server(wrong, module).open();
    ASSERT_TRUE(certificate);
    EXPECT_NE(certificate->find("certificate " + wrong.certificateFile), std::string::npos);
}

}  // namespace
}  // namespace host
