// One request and its answer: what has come of the one, what is still to go of the other.
//
// It never waits, and reads and sends nothing itself: that is for whoever has the connection, a
// worker that has just accepted it or the session that waits for its client on the event loop. It
// may pass from one to the other between any two of its steps, and each finds it as it was left.
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include <boost/asio/buffer.hpp>
#include <boost/beast/core/flat_buffer.hpp>

#include "host/BodyReader.h"
#include "host/Exchange.h"
#include "host/ExtensionCall.h"
#include "host/HostAnswer.h"
#include "host/RequestHead.h"
#include "host/Routes.h"
#include "host/SessionServices.h"

namespace host {

class Transaction {
  public:
    Transaction(ConnectionInfo connection, SessionServices& services);
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;

    /// Where to put what comes, and to be told how much it was.
    boost::asio::mutable_buffer room(size_t size);
    void came(size_t size) { buffer_.commit(size); }
    /// Lets go of the room that nothing has come to.
    void giveBackRoom() { buffer_.shrink_to_fit(); }

    /// Nothing until the head is whole; then 0, or the status to refuse the request with.
    std::optional<unsigned> readHead();
    /// Takes what has come of the body; the status to refuse the request with, or 0.
    unsigned readBody();
    bool bodyIsWhole() const { return body_->isWhole(); }
    /// For what is likely to come of the body at once; none when the request leads nowhere.
    boost::asio::mutable_buffer roomForBody();
    /// Has something to send when the client waits for that before it sends its body.
    void welcomeBody();
    /// To be told why the connection broke when whoever goes on cannot find out.
    void hasBroken(uint32_t error) { brokenBy_ = error; }
    /// No more of the body comes, for this system error; 0 when the client closed.
    void bodyIsCutShort(uint32_t error);

    bool isForExtension() const;
    bool hasRoom() const { return exchange_.hasRoom(); }
    /// Whether the login has nothing to suffer for those that failed before.
    bool admitsLogin();
    /// What it has to suffer; to be asked for again after the wait when it says so.
    PenaltyBox::Verdict judgeLogin();

    /// Each gives the answer.
    void callExtension();
    void answerItself();
    void refuse(unsigned status) { answerWith(makeHostAnswer(status)); }
    void answerWith(HostAnswer answer);
    bool isAnswered() const { return isAnswered_; }

    using Pieces = std::array<std::string_view, 2>;
    /// What is still to be sent, the first piece empty only when all of it has been.
    const Pieces& unsent() const { return unsent_; }
    void sent(size_t size);
    /// Whether nothing of the client's is left unread here, nor likely to come.
    bool hasReadAll() const;
    void dropUnread() { buffer_.clear(); }
    /// To be told when a request that had arrived is over, however it ended.
    void isOver();

  private:
    std::string_view received() const;
    bool skipEmptyLine();
    unsigned acceptHead(size_t length);

    SessionServices& services_;
    Exchange exchange_;
    Request& request_;
    boost::beast::flat_buffer buffer_;
    HeadScanner scanner_;
    bool lineBegan_ = false;
    std::optional<unsigned> headResult_;
    std::optional<BodyReader> body_;
    uint32_t brokenBy_ = 0;
    std::optional<PenaltyBox::Verdict> verdict_;
    std::optional<ExtensionCall> call_;
    HostAnswer own_;
    Pieces unsent_;
    bool isAnswered_ = false;
};

}  // namespace host
