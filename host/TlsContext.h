// The TLS side of a listener: certificate, key and what the server agrees to speak.
#pragma once

#include <memory>
#include <string>

#include <boost/asio/ssl/context.hpp>

namespace host {

/// Reads certificate chain and private key (PEM). Null when one cannot be used; the problem then
/// says which and why.
std::shared_ptr<boost::asio::ssl::context> makeTlsContext(const std::string& certificateFile,
                                                          const std::string& keyFile,
                                                          std::string& problem);

}  // namespace host
