// Sends an attendee's answer to the organizer of an event.
//
// Called from any thread when a client has stored an answer and left it to the server to tell. What
// cannot be sent is told on standard error; the stored event is good without it.
#pragma once

#include <cstdint>
#include <string_view>

#include "groupware/engine/Engine.h"
#include "groupware/items/ItemContents.h"

namespace groupware {

/// The answer of the one in whose calendar the item stands, written by the actor; the kind is one
/// of STORE_REPLY_... To an account of this store it goes as a message file, to others by mail.
void sendReply(Engine& engine, const ItemContents& item, std::string_view actor,
               std::string_view recipient, uint32_t replyKind);

}  // namespace groupware
