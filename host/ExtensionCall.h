// One request on its way through the extension: the control block and the answer it collects.
//
// Made and run once on a worker thread, read by whoever sends the answer after that; the request
// must outlive it. Nothing is sent here: the answer is kept in memory, so that a worker never waits
// for a client.
#pragma once

#include <string>

#include "abi/Isapi.h"
#include "host/ExtensionModule.h"
#include "host/Request.h"

namespace host {

class ExtensionCall {
  public:
    explicit ExtensionCall(Request& request);
    ExtensionCall(const ExtensionCall&) = delete;
    ExtensionCall& operator=(const ExtensionCall&) = delete;

    void run(const ExtensionModule& module);

    /// Status line and headers, byte for byte as the extension gave them; empty when it gave none.
    const std::string& answerHead() const { return answerHead_; }
    const std::string& answerBody() const { return answerBody_; }

  private:
    static ExtensionCall& of(HCONN connection) { return *static_cast<ExtensionCall*>(connection); }
    static BOOL WINAPI getServerVariable(HCONN connection, LPSTR name, LPVOID buffer, LPDWORD size);
    static BOOL WINAPI writeClient(HCONN connection, LPVOID data, LPDWORD size, DWORD flags);
    static BOOL WINAPI readClient(HCONN connection, LPVOID buffer, LPDWORD size);
    static BOOL WINAPI serverSupport(HCONN connection, DWORD request, LPVOID buffer, LPDWORD size,
                                     LPDWORD type);
    EXTENSION_CONTROL_BLOCK makeBlock();

    Request& request_;
    std::string method_;
    std::string contentType_;
    std::string pathTranslated_;
    std::string answerHead_;
    std::string answerBody_;
};

}  // namespace host
