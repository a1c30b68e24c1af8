// The hrefs that answers hand out; each is a valid URI reference (RFC 3986).
#pragma once

#include <string>
#include <string_view>

#include "webdav/store/ItemKind.h"

namespace DAV {

/// A principal, without a closing slash.
std::string PrincipalHref(std::string_view address);

/// A user's home, inbox or outbox below its keyword ("caldav", "carddav", "caldav-inbox", ...).
std::string UserHref(std::string_view keyword, std::string_view address);

/// A collection below a home. Its name is the folder's display name, with its "~shared/..." or
/// "~public/" in front where it is not the user's own.
std::string CollectionHref(std::string_view homeKeyword, std::string_view address,
                           std::string_view name);

/// Items of one collection: its href as it stands, the UID, the kind's extension.
class ItemHref {
  public:
    ItemHref(std::string collectionHref, const webdav::ItemKind& kind);

    /// Stays until the next is asked for.
    const std::string& of(const StoreItem& item);

  private:
    std::string href_;
    size_t collectionSize_;
    std::string_view extension_;
};

/// A URL, as the web server decoded it, as an href; and that with a closing slash.
std::string HrefOfUrl(std::string_view url);
std::string HrefWithSlash(std::string_view url);

/// An href as a client sent it, with what may stand in no URI reference escaped.
std::string RepairedHref(std::string_view href);

/// The name that the last segment of an href gives, decoded, extension included.
std::string NameOfHref(std::string_view href);

/// A collection's URL with one slash at its end.
std::string UrlWithSlash(std::string url);

/// What the href names below such a URL, decoded, slashes and extension included; empty when it
/// does not lead there.
std::string NameBelowUrl(std::string_view href, std::string_view collectionUrl);

/// The name that a URL gives to an item, as the web server decoded it: of all escapes it leaves
/// that of a slash. It is the last segment, or all that follows the base64 name of a folder when
/// that shows where it ends, for clients that write the slash within a name as it is.
std::string NameOfUrl(std::string_view url);

/// A name without everything from its last "." on.
std::string WithoutExtension(std::string name);

/// The part of an address before and after its first "@"; the whole address when it has none.
std::string_view MailboxOf(std::string_view address);
std::string_view DomainOf(std::string_view address);

}  // namespace DAV
